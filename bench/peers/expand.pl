# usage: perl expand.pl MACROS FILE
# MACROS has a line NAME=VALUE for each macro; $NAME and ${NAME} in FILE become VALUE.

use strict;
use warnings;

my ($macros, $file) = @ARGV;
open(my $definitions, '<', $macros) or die "$macros: $!";
my %value = map { /^(\w+)=(.*)$/ } <$definitions>;
open(my $lines, '<', $file) or die "$file: $!";
while (my $line = <$lines>) {
    $line =~ s/\$(?:(\w+)|\{(\w+)\})/$value{$1 \/\/ $2}/ge;
    print $line;
}
