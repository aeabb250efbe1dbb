# usage: python3 testbeam.py =testbeam FILE X0 X1 NX Y0 Y1 NY Z PDGID PZ

import sys


def grid(first, last, count):
    step = (float(last) - float(first)) / (int(count) - 1)
    return [b"%.6g" % (index * step + float(first)) for index in range(int(count))]


words = sys.argv[1:]
xs = grid(*words[2:5])
ys = grid(*words[5:8])
middle = b"%.6g 0 0 %.6g 0 %d" % (float(words[8]), float(words[10]), int(words[9]))
write = sys.stdout.buffer.write
write(b"#QXTrackFile %s\n" % " ".join(words).encode())
write(b"#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n")
event = 0
for x in xs:
    for y in ys:
        event += 1
        write(b"%s %s %s %d 1 0 1\n" % (x, y, middle, event))
