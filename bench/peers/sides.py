"""The sides of a workload, and how they are run."""

import os
import shlex
import shutil
import statistics
import subprocess
import time
from pathlib import Path
from typing import Callable, NamedTuple, Optional

import workloads

ROUNDS = 3       # at the least,
MOST_ROUNDS = 9  # and at the most: while they take
ENOUGH = 10      # less than so many seconds
BUILD = Path(__file__).resolve().parents[2] / "build" / "release"
PLACES = {
    "driver": BUILD / "bin" / "talmo_test",
    "talmo": BUILD / "bin" / "talmo",
    "bench": BUILD / "bench",
    "peers": Path(__file__).resolve().parent,
    "columns": workloads.COLUMNS,
    "tolerance": workloads.TOLERANCE,
}


class Side(NamedTuple):
    """One program that does the job, in the workload's folder."""
    name: str
    command: str        # words; "<FILE" at the end is its standard input
    bar: float = 0      # at least so many times our time; 0 for none
    result: str = ""    # the file with its result, if not its standard output; "-" for none that
                        # is checked: its standard output is thrown away
    share: int = 1      # it does one part in so many, and its time is multiplied: it is slow
    once: bool = False  # it takes part in the first round only, for the same reason
    folder: str = ""    # where it runs, in the workload's folder
    environment: dict = {}


class Growth(NamedTuple):
    """The same amount of work in pieces of growing size."""
    sizes: tuple
    commands: tuple
    bar: float  # of the exponent


class Workload(NamedTuple):
    name: str
    count: int        # at scale 1
    make: Callable    # the files, in a folder
    check: Callable   # takes the workload, a side, the folder and the count; raises Broken
    ours: Side
    peers: tuple
    growth: Optional[Growth] = None
    divided: bool = False  # the times are for one of the count


class Broken(Exception):
    """Something has failed, or has given another result than ours."""


def sides_of(workload):
    yield workload.ours
    yield from workload.peers
    if workload.growth:
        for size, command in zip(workload.growth.sizes, workload.growth.commands):
            yield Side(f"size {size}", command, result="-")


def words_of(side, count):
    """The words of the command, and what is its standard input."""
    places = dict(PLACES, count=count, tenth=count // 10, hundredth=count // 100)
    words = shlex.split(side.command.format(**places))
    source = words.pop()[1:] if words[-1].startswith("<") else os.devnull
    return words, source


def is_installed(side):
    words, _ = words_of(side, 100)
    wrapper = Path(words[0]).name  # the program stands behind it
    program = words[{"repeat": 2, "differs": 1}.get(wrapper, 0)]
    return side.name == "ours" or shutil.which(program) is not None


def result_of(side, folder):
    return folder / (side.result or f"{side.name}.out")


def run(side, folder, count, output):
    """The exit status."""
    words, source = words_of(side, count)
    place = folder / side.folder
    with open(place / source) as standard_input:
        return subprocess.run(words, cwd=place, stdin=standard_input, stdout=output,
                              env=dict(os.environ, **side.environment), check=False).returncode


def seconds(side, folder, count):
    """The wall time of one run."""
    result_of(side, folder).unlink(missing_ok=True)
    with open(os.devnull if side.result == "-" else folder / f"{side.name}.out", "w") as output:
        begin = time.perf_counter()
        status = run(side, folder, count, output)
        end = time.perf_counter()
    if status != 0:
        raise Broken(f"exit status {status}")
    return (end - begin) * side.share


def measure(workload, folder, count):
    """The median time of each side, by name. One that fails has no time but an exception, and takes
    no further part; one that is not installed is not there."""
    times = {}
    sides = [side for side in sides_of(workload) if is_installed(side)]
    begin = time.monotonic()
    for turn in range(MOST_ROUNDS):
        if turn >= ROUNDS and time.monotonic() - begin > ENOUGH:
            break
        for side in [side for side in sides if turn == 0 or not side.once]:
            try:
                times.setdefault(side.name, []).append(seconds(side, folder, count))
                if turn == 0 and side.result != "-":
                    workload.check(workload, side, folder, count)
            except (Broken, OSError) as reason:
                times[side.name] = reason
                sides = [other for other in sides if other is not side]
    parts = count if workload.divided else 1
    return {name: samples if isinstance(samples, Exception) else statistics.median(samples) / parts
            for name, samples in times.items()}
