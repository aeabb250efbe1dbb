"""Ours and its peers side by side; bench/compare-peers starts this.

Every side of a workload does the same job on the same files, and what comes out is checked. The
sides take turns, three rounds or more, and the medians of the wall times of whole processes count.
"""

import argparse
import math
import os
import random
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import workloads
from checks import all_passed, nothing, same_body, same_numbers, same_particles, same_verdict
from sides import BUILD, Growth, Side, Workload, is_installed, measure, run


def installation(folder, count, rng):
    """The driver as users have it, but without the scripts that it would run."""
    subprocess.run(["cmake", "--install", BUILD, "--prefix", folder], check=True,
                   stdout=subprocess.DEVNULL)
    shutil.rmtree(folder / "test")
    workloads.start(folder, count, rng)


def numdiff(bar):
    return Side("numdiff", "numdiff -q -a {tolerance} first.dat agree.dat", bar, once=True)


def awk(name, bar=0):
    return Side(name, name + " -v file=first.dat -v columns={columns} -v tolerance={tolerance}"
                " -f {peers}/compare.awk agree.dat", bar)


JOBS = "{bench}/jobs"


def library(job):
    """What the shell's part of the work costs: the library alone, in a program that does no more."""
    return Side("library", JOBS + " " + job, 1 / 1.3)


def diff(name, make):
    """All differences to the end: how many, where, and how large. Numdiff tells that with -S only;
    the bar is for what takes it less time, the verdict alone."""
    files = "first.dat agree.dat"
    zeros = " 0" * workloads.COLUMNS
    return Workload(
        name, 1_000_000, make, nothing,
        Side("ours", "{peers}/differs {talmo} diff " + files + zeros),
        (Side("numdiff", "{peers}/differs numdiff -q -a 0 " + files, 40, once=True),
         Side("numdiff -S", "{peers}/differs numdiff -q -S -a 0 " + files, once=True),
         Side("walk", JOBS + " walk " + files + " 0 {columns}", 1 / 2)))


# The floor: programs that only read or write the same files, or only start.
CAT = Side("cat", "cat first.dat agree.dat", result="-")
GRID = "-10 10 1000 -10 10 {count} 0 -13 200"
BC = {"BC_LINE_LENGTH": "0"}
LIT = "/usr/lib/llvm-14/build/utils/lit/lit.py"

WORKLOADS = (
    Workload(
        "compare-tolerant", 1_000_000, workloads.tolerant, same_verdict,
        Side("ours", "{driver} agree"),
        (numdiff(100), awk("gawk"), awk("mawk", 40), CAT)),
    Workload(
        "compare-digits", 1_000_000, workloads.digits, same_verdict,
        Side("ours", "{driver} agree"),
        (numdiff(80), awk("gawk"), awk("mawk"), CAT)),
    Workload(
        "compare-exact", 1_000_000, workloads.exact, same_verdict,
        Side("ours", "{driver} agree"),
        (Side("cmp", "cmp first.dat agree.dat", 1),
         Side("diff", "diff -q first.dat agree.dat"))),
    diff("diff-some", workloads.tolerant),
    diff("diff-every", workloads.digits),
    Workload(
        "testbeam", 1000, workloads.beam, same_particles,
        Side("ours", "{driver} grid", result="ours.dat"),
        (Side("python3", "python3 {peers}/testbeam.py =testbeam FILE " + GRID, 10),
         Side("mawk", "mawk -v 'command==testbeam FILE " + GRID + "' -f {peers}/testbeam.awk", 10),
         Side("cp", "cp ours.dat copy.dat", result="copy.dat"))),
    Workload(
        "scripts", 2000, workloads.five_commands, all_passed,
        Side("ours", "{driver} test*", folder="ours"),
        (Side("sh", "{peers}/shell-loop shell"),
         Side("bats", "bats bats", 80, share=10, once=True))),
    Workload(
        "runs", 300, workloads.one_run, all_passed,
        Side("ours", "{driver} test*", folder="ours"),
        (Side("sh", "{peers}/shell-loop shell", 1),
         Side("bats", "bats bats", 1, share=10))),
    Workload(
        "suite", 2000, workloads.suite_of_five_commands, all_passed,
        Side("ours", "{talmo} run -j2", folder="ours"),
        (Side("talmo_test", "{driver} test*", 1, folder="ours"),
         Side("ctest", "ctest -j2 --no-tests=error", 10, folder="ctest", once=True),
         Side("lit", f"python3 {LIT} -v -j2 .", 10, folder="lit", once=True))),
    Workload(
        "suite-runs", 300, workloads.one_run, all_passed,
        Side("ours", "{talmo} run -j2", folder="ours"),
        (Side("talmo_test", "{driver} test*", 1.6, folder="ours"),)),
    Workload(
        "suite-sleeps", 200, workloads.sleeping, nothing,
        Side("ours", "{talmo} run -j8", folder="ours"),
        (Side("ideal", "sh -c 'sleep $(({count} / 8 / 10)).$(({count} / 8 % 10))'", 1 / 1.1),)),
    Workload(
        "list", 10_000, workloads.five_commands, nothing,
        Side("ours", "{talmo} list", folder="ours"),
        (Side("head", "sh -c 'head -qn2 *'", 1 / 6, folder="ours"),)),
    Workload(
        "file", 100_000_000, workloads.body, same_body,
        Side("ours", "{driver} long", result="ours.dat"),
        (Side("cp", "cp long copy.dat", 1 / 1.5, result="-"),
         Side("sed", "sed -n 3,$p long"))),
    Workload(
        "start", 200, installation, nothing,
        Side("ours", "{peers}/repeat {count} bin/talmo_test"),
        (Side("m4", "{peers}/repeat {count} m4 /dev/null"),
         Side("perl", "{peers}/repeat {count} perl -e 1"),
         Side("bats", "{peers}/repeat {tenth} bats one.bats", share=10, once=True),
         Side("nothing", "{peers}/repeat {count} {bench}/nothing", 1 / 1.4)),
        divided=True),
    Workload(
        "evaluate", 100_000, workloads.expressions, same_numbers,
        Side("ours", JOBS + " evaluate ours.txt"),
        (Side("muparser", "{bench}/muparser ours.txt", 4),
         Side("bc", "bc -q bc.txt </dev/null", 2.5, environment=BC))),
    Workload(
        "evaluate-long", 100_000, workloads.long_expressions, same_numbers,
        Side("ours", JOBS + " evaluate long.txt"),
        (Side("bc", "bc -q bc.txt </dev/null", environment=BC),),
        growth=Growth((1000, 10_000, 100_000),
                      tuple(JOBS + f" evaluate {name}.txt" for name in ("short", "medium", "long")),
                      1.1)),
    Workload(
        "convert", 10_000_000, workloads.prose, same_numbers,
        Side("ours", JOBS + " convert prose.txt {count}"),
        (Side("perl", "perl {peers}/convert.pl prose.txt", 2),),
        growth=Growth((1, 10, 100),
                      tuple(JOBS + " convert prose.txt " + size
                            for size in ("{hundredth}", "{tenth}", "{count}")),
                      1.1)),
    Workload(
        "expand-lines", 100_000, workloads.lines_with_references, same_body,
        Side("ours", JOBS + " expand macros lines.txt"),
        (Side("m4", "m4 macros.m4 lines.m4", 1.5),
         Side("perl", "perl {peers}/expand.pl macros lines.txt"),
         Side("envsubst", "envsubst <lines.txt", environment=workloads.MACROS))),
    Workload(
        "expand-long", 10_000, workloads.long_lines, same_body,
        Side("ours", JOBS + " expand macros lines.txt"),
        (Side("m4", "m4 macros.m4 lines.m4", 1),
         Side("perl", "perl {peers}/expand.pl macros lines.txt")),
        growth=Growth((1000, 10_000, 100_000),
                      tuple(JOBS + f" expand macros {name}.txt"
                            for name in ("short", "lines", "long")),
                      1.1)),
    Workload(
        "expand-expressions", 100_000, workloads.lines_with_expressions, same_numbers,
        Side("ours", JOBS + " expand macros lines.txt"),
        (Side("perl", "perl {peers}/expressions.pl lines.txt", 4),)),
    Workload(
        "shell-eval", 100_000, workloads.shell_expressions, same_numbers,
        Side("ours", "{talmo} eval -u * <ours.txt"),
        (library("evaluate library.txt"),
         Side("bc", "bc -q bc.txt </dev/null", 1, environment=BC),
         Side("units", "units -q -t -o %.12g <units.txt", 20),
         Side("qalc", "qalc -t -set 'precision 14' -set 'unicode 0' -f qalc.txt", 50,
              share=workloads.QALC_SHARE, once=True))),
    Workload(
        "shell-convert", 100_000_000, workloads.prose, same_numbers,
        Side("ours", "{talmo} convert prose.txt"),
        (library("convert prose.txt {hundredth}"),
         Side("perl", "perl {peers}/convert.pl prose.txt", 2, once=True))),
    Workload(
        "shell-expand", 100_000, workloads.lines_with_references, same_body,
        Side("ours", "{talmo} expand --definitions definitions lines.txt"),
        (library("expand macros lines.txt"),
         Side("m4", "m4 macros.m4 lines.m4", 1.5))),
)


# The report.

def fill(workload, folder, count, seed):
    """Makes the files of a workload; small ones, too, for the check that looks for a difference."""
    workload.make(folder, count, random.Random(f"{workload.name} {seed}"))
    if workload.check is same_verdict:
        (folder / "small").mkdir()
        workload.make(folder / "small", 200, random.Random(seed))
    os.sync()  # what is still to be written to the disk would disturb the first round


def row(workload, other, ours, theirs, ratio, bar, met):
    verdict = "" if met is None else "met" if met else "missed"
    print(f"| {workload:18} | {other:26} | {ours:>10} | {theirs:>10} | {ratio:>9} | {bar:>8} |"
          f" {verdict:6} |", flush=True)


def row_of(workload, side, times):
    ours, theirs = times["ours"], times[side.name]
    ratio = theirs / ours
    notes = [f"1 in {side.share}"] * (side.share > 1) + ["once"] * side.once
    name = side.name + (f" ({', '.join(notes)})" if notes else "")
    row(workload.name, name, f"{ours:.4g} s", f"{theirs:.4g} s", f"{ratio:.3g}",
        f">= {side.bar:.3g}" if side.bar else "", ratio >= side.bar if side.bar else None)


def growth_row(workload, times):
    """The exponent over the whole range: the times are for the same number of characters."""
    sizes = workload.growth.sizes
    small, large = (times[f"size {size}"] for size in (sizes[0], sizes[-1]))
    exponent = 1 + math.log(large / small) / math.log(sizes[-1] / sizes[0])
    row(workload.name, f"{sizes[-1] // sizes[0]} times as long: growth", f"{small:.4g} s",
        f"{large:.4g} s", f"{exponent:.3f}", f"<= {workload.growth.bar:g}",
        exponent <= workload.growth.bar)


def report(workload, times):
    """Prints the rows of a workload; true if nothing has failed."""
    for name, reason in times.items():
        if isinstance(reason, Exception):
            print(f"{workload.name}, {name}: {reason}", file=sys.stderr)
    good = {name for name, time in times.items() if not isinstance(time, Exception)}
    if "ours" in good:
        for side in workload.peers:
            if side.name in good:
                row_of(workload, side, times)
            elif not is_installed(side):
                row(workload.name, side.name, "", "not there", "", "", None)
    if workload.growth and all(f"size {size}" in good for size in workload.growth.sizes):
        growth_row(workload, times)
    return len(good) == len(times)


def arguments():
    parser = argparse.ArgumentParser(prog="bench/compare-peers", description=__doc__)
    parser.add_argument("--seed", type=int, default=1, help="of the files that are made")
    parser.add_argument("--scale", type=float, default=1, help="of their size")
    names = [workload.name for workload in WORKLOADS]
    parser.add_argument("workload", nargs="*", metavar="WORKLOAD", help=", ".join(names))
    options = parser.parse_args()
    for name in set(options.workload).difference(names):
        parser.error(f"no such workload: {name}")
    return options


def main():
    options = arguments()
    passed = True
    with tempfile.TemporaryDirectory() as scratch:
        home = Path(scratch)
        os.environ.update(HOME=scratch, XDG_CONFIG_HOME=f"{scratch}/config", TMPDIR=scratch,
                          LC_ALL="C")
        (home / "first").write_text("=passed\n")
        run(Side("ours", "{driver} first"), home, 1, subprocess.DEVNULL)  # writes the settings
        row("workload", "against", "ours", "theirs", "ratio", "bar", None)
        print("|---|---|--:|--:|--:|--:|---|")
        for workload in WORKLOADS:
            if options.workload and workload.name not in options.workload:
                continue
            folder = home / workload.name
            folder.mkdir()
            count = max(int(workload.count * options.scale), 100)
            fill(workload, folder, count, options.seed)
            passed = report(workload, measure(workload, folder, count)) and passed
            shutil.rmtree(folder)
    print("\nThe ratio is theirs to ours. Of a growth it is the exponent; its times are for the same"
          "\namount of text in short and in long pieces.")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
