# usage: perl convert.pl FILE
# Each number with a known unit directly behind it becomes the bare number in the standard unit.

use strict;
use warnings;

my %factor = (
    mm => 1, cm => 10, m => 1000, in => 25.4,
    MeV => 1, keV => 1e-3, GeV => 1e3,
    ns => 1, us => 1e3, ms => 1e6,
    T => 1, kG => 0.1,
);

while (my $line = <>) {
    $line =~ s{(([0-9]*\.?[0-9]+(?:[eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*))}
              {exists $factor{$3} ? sprintf('%.12g', $2 * $factor{$3}) : $1}ge;
    print $line;
}
