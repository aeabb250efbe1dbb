# usage: awk -v file=FILE1 -v columns=N -v tolerance=T -f compare.awk FILE2
# Exit status 1 unless both files have the same number of lines, and each of the first N columns
# differs by at most T.

BEGIN { status = 0 }

{
    if ((getline line < file) <= 0) { status = 1; exit }
    count = split(line, words)
    if ($1 ~ /^#/ && words[1] ~ /^#/) next
    if (NF < columns || count < columns) { status = 1; exit }
    for (column = 1; column <= columns; ++column) {
        difference = $column - words[column]
        if (difference > tolerance || difference < -tolerance) { status = 1; exit }
    }
}

END {
    if (status == 0 && (getline line < file) > 0) status = 1
    exit status
}
