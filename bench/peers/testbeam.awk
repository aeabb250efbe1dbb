# usage: awk -v command="=testbeam FILE X0 X1 NX Y0 Y1 NY Z PDGID PZ" -f testbeam.awk

BEGIN {
    split(command, words)
    x0 = words[3]; nx = words[5]; y0 = words[6]; ny = words[8]
    dx = (words[4] - x0) / (nx - 1)
    dy = (words[7] - y0) / (ny - 1)
    middle = sprintf("%.6g 0 0 %.6g 0 %d", words[9], words[11], words[10])
    print "#QXTrackFile " command
    print "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight"
    for (i = 0; i < nx; ++i) {
        x = sprintf("%.6g", i * dx + x0)
        for (j = 0; j < ny; ++j)
            printf "%s %.6g %s %d 1 0 1\n", x, j * dy + y0, middle, ++event
    }
}
