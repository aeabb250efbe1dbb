"""The files of the workloads. A workload's function takes the folder to fill, how large to make it,
and the source of random numbers."""

import shutil
from pathlib import Path

COLUMNS = 12
TOLERANCE = "0.01"

# The units that occur, by kind, and how many of the first of the kind each is worth.
UNITS = (
    (("mm", "1"), ("cm", "10"), ("m", "1000"), ("in", "25.4")),
    (("MeV", "1"), ("keV", "0.001"), ("GeV", "1000")),
    (("ns", "1"), ("us", "1000"), ("ms", "1000000")),
    (("T", "1"), ("kG", "0.1")),
)

QALC_SHARE = 50  # it waits between two expressions, and gets one in so many

# An expression as we write it, and as bc has it; {u} and {v} are units of one kind.
EXPRESSIONS = (
    ("{a}{u}", "{a}*{u}"),
    ("{a}*{b}{u}+{c}{v}", "{a}*{b}*{u}+{c}*{v}"),
    ("({a}{u}+{b}{v})/{c}", "({a}*{u}+{b}*{v})/{c}"),
    ("{a}{u}-{b}{v}", "{a}*{u}-{b}*{v}"),
    ("-{a}{u}*{b}", "-{a}*{u}*{b}"),
    ("sqrt({a}^2+{b}^2)*{c}{u}", "sqrt({a}^2+{b}^2)*{c}*{u}"),
    ("sqrt({a})*{b}", "sqrt({a})*{b}"),
    ("{a}{u}/{b}{v}", "{a}*{u}/({b}*{v})"),
)
UNITLESS = 2  # so many at the end of the table give a number without a unit

MACROS = {
    "length": "500mm", "radius": "12.5mm", "gap": "3cm", "field": "1.25T", "gradient": "3.5Tpm",
    "momentum": "200", "energy": "2.5GeV", "charge": "-1", "name": "quad", "cell": "1000mm",
    "width": "2in", "height": "75mm", "angle": "30deg", "steps": "100", "seed": "12345",
    "material": "Fe", "color": "blue", "world": "hall", "empty": "none", "output": "tracks.dat",
}

# None of them is a command of a peer or the name of a macro.
WORDS = ("the beam passes a part of lattice at rest and leaves it with small losses after every "
         "turn because magnets are long while drifts stay short so most tracks survive in vacuum "
         "until they hit walls near collimators where showers begin").split()


def write(path, text):
    path.write_text(text, encoding="ascii")


# Columns of numbers. The two numbers of a pair differ in their last digits only.

def fixed(number):
    return "%.3f" % (number / 1000)


def scientific(number):
    return "%.5e" % (number / 1000)


def fraction(number):
    return "%.6f" % (number / 1e6)


def pairs(rng, form, lowest, highest):
    numbers = [rng.randint(lowest, highest) for _ in range(50_000)]
    return [(form(number), form(number + rng.choice((-7, -3, -1, 1, 2, 5, 9))))
            for number in numbers]


def columns(rng):
    """For each column, the pairs that occur in it."""
    coordinate = pairs(rng, fixed, -999_999, 999_999)
    momentum = pairs(rng, scientific, 100_010, 999_980)
    weight = pairs(rng, fraction, 10, 999_980)
    return [coordinate] * 6 + [weight] * 3 + [momentum] * 3


def line_pairs(rng, count):
    """Pairs of lines of which every number differs in its last digits."""
    table = columns(rng)
    for begin in range(0, count, 10_000):
        size = min(10_000, count - begin)
        rows = zip(*(rng.choices(column, k=size) for column in table))
        for row in rows:
            first, second = zip(*row)
            yield " ".join(first) + "\n", " ".join(second) + "\n"


def compare_scripts(folder, tolerances):
    for name in "agree", "differ":
        write(folder / name, f"=passed\n=compare ../first.dat ../{name}.dat{tolerances}\n")


def spoil(folder):
    """Makes differ.dat of agree.dat: with one number too large, in the last column of the end."""
    shutil.copyfile(folder / "agree.dat", folder / "differ.dat")
    with open(folder / "differ.dat", "r+b") as file:
        file.seek(-1, 2)
        file.write(b"1\n")  # 1.23456e+02 becomes 1.23456e+021


def number_files(folder, count, rng, choose):
    with open(folder / "first.dat", "w") as first, open(folder / "agree.dat", "w") as second:
        for line, other in line_pairs(rng, count):
            first.write(line)
            second.write(choose(line, other))
    spoil(folder)


def tolerant(folder, count, rng):
    """Files of which one line in a hundred differs, within the tolerances."""
    number_files(folder, count, rng,
                 lambda line, other: other if rng.random() < 0.01 else line)
    compare_scripts(folder, f" {TOLERANCE}" * COLUMNS)


def digits(folder, count, rng):
    """Files of which every number differs, within the tolerances."""
    number_files(folder, count, rng, lambda line, other: other)
    compare_scripts(folder, f" {TOLERANCE}" * COLUMNS)


def exact(folder, count, rng):
    number_files(folder, count, rng, lambda line, other: line)
    compare_scripts(folder, "")


# Scripts.

def beam(folder, count, _rng):
    write(folder / "grid", "=passed\n"
          f"=testbeam ../ours.dat -10 10 1000 -10 10 {count} 0 -13 200\n")


def script_files(folder, count, ours, shell):
    """Scripts of ours, of the shell, and of bats, one in ten."""
    for kind in "ours", "shell", "bats":
        (folder / kind).mkdir()
    test = '@test "passed" {\n  cd "$BATS_TEST_TMPDIR"\n' + shell + "}\n"
    for number in range(1, count + 1):
        write(folder / "ours" / f"test{number}", "=passed\n" + ours)
        write(folder / "shell" / f"test{number}.sh", "set -e\n" + shell)
        if number % 10 == 0:
            write(folder / "bats" / f"test{number}.bats", test)


def five_commands(folder, count, _rng):
    script_files(folder, count,
                 "=file a.dat\n# x y\n1.0 2.0\n=file b.dat\n# x y\n1.0 2.0\n"
                 "=compare a.dat b.dat\n=exists a.dat\n=echo done\n",
                 "printf '# x y\\n1.0 2.0\\n' >a.dat\nprintf '# x y\\n1.0 2.0\\n' >b.dat\n"
                 "cmp a.dat b.dat\n[ -e a.dat ]\necho done\n")


def one_run(folder, count, _rng):
    script_files(folder, count, "=run true\n", "sh -c true >>true.out 2>&1\n")


def for_ctest_and_lit(folder):
    """The tests of the shell once more: as tests of CTest, and as tests of lit."""
    scripts = sorted((folder / "shell").iterdir())
    peer = Path(__file__).resolve().parent / "shell-test"
    for kind in "ctest", "lit":
        (folder / kind).mkdir()
    write(folder / "ctest" / "CTestTestfile.cmake", "".join(
        f'add_test("{script.stem}" "{peer}" "../shell/{script.name}")\n' for script in scripts))
    write(folder / "lit" / "lit.cfg", "import lit.formats\nconfig.name = 'shell'\n"
          "config.suffixes = ['.sh']\nconfig.test_format = lit.formats.ShTest(True)\n")
    for script in scripts:
        write(folder / "lit" / script.name,
              "# RUN: rm -rf %t.dir && mkdir -p %t.dir && cd %t.dir && sh %s\n" +
              script.read_text())


def suite_of_five_commands(folder, count, rng):
    five_commands(folder, count, rng)
    for_ctest_and_lit(folder)


def sleeping(folder, count, _rng):
    script_files(folder, count, "=run sleep 0.1\n", "sleep 0.1\n")


def body(folder, count, rng):
    """A script with one long =file."""
    numbers = [line for line, _ in line_pairs(rng, 10_000)]
    with open(folder / "long", "w") as script:
        script.write("=passed\n=file ../ours.dat\n")
        size = 0
        while size < count:
            line = rng.choice(numbers)
            size += script.write(line)


def start(folder, _count, _rng):
    """Without scripts; our driver has its own folder of them, an empty one."""
    (folder / "test").mkdir()
    write(folder / "one.bats", '@test "passed" {\n  true\n}\n')


# Expressions and texts.

def number(rng):
    form = rng.choice(("%.0f", "%.1f", "%.3f"))
    return form % rng.uniform(1, 99)


def expression(rng):
    """An expression as we write it, as others do, and its unit."""
    template = rng.randrange(len(EXPRESSIONS))
    kind = [unit for unit, _ in rng.choice(UNITS)]
    values = {"a": number(rng), "b": number(rng), "c": number(rng),
              "u": rng.choice(kind), "v": rng.choice(kind)}
    unit = rng.choice(kind) if template < len(EXPRESSIONS) - UNITLESS else ""
    ours, _ = EXPRESSIONS[template]
    theirs = EXPRESSIONS[template][1]
    return ours.format(**values), theirs.format(**values), unit


def bc_units():
    return "scale=20\n" + "".join(
        f"{unit.lower()}={factor}\n" for kind in UNITS for unit, factor in kind)


def expressions(folder, count, rng):
    with open(folder / "ours.txt", "w") as ours, open(folder / "bc.txt", "w") as theirs:
        theirs.write(bc_units())
        for _ in range(count):
            own, other, unit = expression(rng)
            ours.write(f"{own} {unit}\n" if unit else f"{own}\n")
            theirs.write((f"({other})/{unit}\n" if unit else f"{other}\n").lower())


def standard_of(unit):
    return next(kind[0][0] for kind in UNITS if unit in dict(kind))


def shell_expressions(folder, count, rng):
    """Expressions as they are typed, a line each, with results in standard units. GNU units asks
    for the unit on a line of its own, and does not know kG."""
    with open(folder / "ours.txt", "w") as ours, open(folder / "library.txt", "w") as library, \
         open(folder / "bc.txt", "w") as bc, open(folder / "units.txt", "w") as units, \
         open(folder / "qalc.txt", "w") as qalc:
        bc.write(bc_units())
        for line in range(count):
            own, other, unit = expression(rng)
            ours.write(f"{own}\n")
            library.write(f"{own} *\n")
            bc.write(f"{other}\n".lower())
            standard = standard_of(unit) if unit else "1"
            other = other.replace("kG", "kgauss")
            units.write(f"{other}\n{standard}\n")
            if line < count // QALC_SHARE:
                qalc.write(f"({other})/{standard}\n")


def long_expressions(folder, count, rng):
    """Ten expressions of COUNT terms, and as many terms in shorter ones."""
    kind = [unit for unit, _ in UNITS[0]]
    with open(folder / "bc.txt", "w") as theirs:
        theirs.write(bc_units())
        for name, parts in ("long", 1), ("medium", 10), ("short", 100):
            with open(folder / f"{name}.txt", "w") as ours:
                for _ in range(10 * parts):
                    terms = [(rng.choice("+-"), number(rng), rng.choice(kind))
                             for _ in range(max(count // parts, 1))]
                    ours.write("0mm" + "".join(s + a + u for s, a, u in terms) + " mm\n")
                    if name == "long":
                        theirs.write("0" + "".join(f"{s}{a}*{u}" for s, a, u in terms) + "\n")


def prose_line(rng, inserts):
    words = rng.choices(WORDS, k=12 - len(inserts))
    for insert in inserts:
        words.insert(rng.randrange(len(words)), insert)
    return " ".join(words) + "\n"


def prose(folder, count, rng):
    """Text with numbers, with units and without."""
    units = [unit for kind in UNITS for unit, _ in kind] + ["kg"]
    size = 0
    with open(folder / "prose.txt", "w") as text:
        while size < count:
            size += text.write(prose_line(rng, [
                number(rng) + rng.choice(units), number(rng) + rng.choice(units), number(rng)]))


def macros(folder):
    write(folder / "macros", "".join(f"{name}={value}\n" for name, value in MACROS.items()))
    write(folder / "definitions", "".join(
        f"define {name} {value}\n" for name, value in MACROS.items()))
    write(folder / "macros.m4", "".join(
        f"define(`{name}',`{value}')" for name, value in MACROS.items()) + "dnl\n")


def lines_with_references(folder, count, rng):
    """Lines with three references each; for m4 without the dollar signs."""
    macros(folder)
    names = list(MACROS)
    with open(folder / "lines.txt", "w") as ours, open(folder / "lines.m4", "w") as theirs:
        for _ in range(count):
            references = [rng.choice(("$%s", "${%s}")) % rng.choice(names) for _ in range(3)]
            line = prose_line(rng, references)
            ours.write(line)
            theirs.write(line.translate({ord(mark): None for mark in "${}"}))


def long_lines(folder, count, rng):
    """A hundred lines of COUNT references, and as many references in lines of other lengths."""
    macros(folder)
    names = list(MACROS)
    for name, length in ("short", count // 10), ("lines", count), ("long", count * 10):
        with open(folder / f"{name}.txt", "w") as ours:
            for _ in range(100 * count // length):
                ours.write(" ".join("$" + word for word in rng.choices(names, k=length)) + "\n")
    text = (folder / "lines.txt").read_text()
    write(folder / "lines.m4", text.replace("$", ""))


def lines_with_expressions(folder, count, rng):
    write(folder / "macros", "")
    with open(folder / "lines.txt", "w") as text:
        for _ in range(count):
            ours, _, unit = expression(rng)
            text.write(prose_line(rng, ["${%%.12g;%s;%s}" % (ours, unit)]))
