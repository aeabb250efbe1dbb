# usage: perl expressions.pl FILE
# ${FORMAT;EXPRESSION;UNIT} becomes the value of EXPRESSION in UNIT as FORMAT prints it.

use strict;
use warnings;

my %factor = (
    mm => 1, cm => 10, m => 1000, in => 25.4,
    MeV => 1, keV => 1e-3, GeV => 1e3,
    ns => 1, us => 1e3, ms => 1e6,
    T => 1, kG => 0.1,
);

sub evaluated {
    my ($format, $expression, $unit) = @_;
    $expression =~ s/([0-9.]+)([A-Za-z]+)/($1*$factor{$2})/g;
    $expression =~ s/\^/**/g;
    return sprintf($format, eval($expression) / ($unit eq '' ? 1 : $factor{$unit}));
}

while (my $line = <>) {
    $line =~ s/\$\{(%[^;]+);([^;}]*);(\w*)\}/evaluated($1, $2, $3)/ge;
    print $line;
}
