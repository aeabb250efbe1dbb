"""What a side gives must be what ours gives. Each check takes the workload, the side, the folder
and the count, and raises Broken."""

import math
import os
import re

from sides import Broken, result_of, run


def same_verdict(workload, side, folder, count):
    """Done on small files, once: the other file differs in one number."""
    small = folder / "small"
    for name, expected in ("agree", True), ("differ", False):
        command = side.command.replace("agree", name)
        with open(os.devnull, "w") as output:
            passed = run(side._replace(command=command), small, count, output) == 0
        if passed != expected:
            raise Broken(f"{command}: passed is {passed}")


# As ours and the shell, CTest, and lit say it.
PASS = re.compile(r"passed$| Passed |^PASS: ")


def all_passed(workload, side, folder, count):
    lines = result_of(side, folder).read_text().splitlines()
    passed = sum(PASS.search(line) is not None for line in lines)
    if passed != count // side.share:
        raise Broken(f"{passed} passed out of {count // side.share}")


def same_body(workload, side, folder, count):
    if not same_file(result_of(side, folder), result_of(workload.ours, folder)):
        raise Broken("another result")


def same_particles(workload, side, folder, count):
    """The first line holds the command as it was written."""
    if not same_file(result_of(side, folder), result_of(workload.ours, folder), skip=1):
        raise Broken("another result")


def same_file(path1, path2, skip=0):
    with open(path1, "rb") as file1, open(path2, "rb") as file2:
        for _ in range(skip):
            file1.readline()
            file2.readline()
        while True:
            block1, block2 = file1.read(1 << 20), file2.read(1 << 20)
            if block1 != block2:
                return False
            if not block1:
                return True


NUMBER = re.compile(r"(-?\d*\.?\d+(?:[eE][-+]?\d+)?)")


def close(text1, text2):
    """Whether the texts differ by rounding at most."""
    words1, words2 = NUMBER.split(text1), NUMBER.split(text2)
    return words1[::2] == words2[::2] and len(words1) == len(words2) and all(
        math.isclose(float(a), float(b), rel_tol=1e-9, abs_tol=1e-9)
        for a, b in zip(words1[1::2], words2[1::2]))


def same_numbers(workload, side, folder, count):
    with open(result_of(side, folder)) as theirs, open(result_of(workload.ours, folder)) as ours:
        lines, own_lines = theirs.readlines(), ours.readlines()
    own_lines = own_lines[:len(own_lines) // side.share]
    if len(lines) != len(own_lines) or not own_lines:
        raise Broken(f"{len(lines)} lines of results, ours are {len(own_lines)}")
    for line, own in zip(lines, own_lines):
        if line != own and not close(line, own):
            raise Broken(f"{line.strip()!r}, ours is {own.strip()!r}")


def nothing(workload, side, folder, count):
    """The exit status tells."""
