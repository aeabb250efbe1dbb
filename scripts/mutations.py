"""What scripts/mutate changes in a C++ source that clang-format has laid out.

Each change is one that somebody might get wrong: an operator, a constant, a literal, a condition
that always or never holds, another result, a statement or a row of a table that is missing.
"""
import collections
import json
import re
import subprocess

# Blanks on both sides tell a binary operator from a reference, a pointer or a template's bracket.
BINARY = {row.split()[0]: row.split()[1:] for row in """
    <  <= >=    <= < >       >  >= <=    >= > <       == != <= >=    != == < >
    && ||       || &&        +  -        -  +         *  /           /  *         %  *
    &  |        |  &         ^  &        << >>        >> <<          <<= >>=      >>= <<=
    += -= =     -= += =      *= /= =     /= *= =      &= |= =        |= &= =
""".replace("\n", "  ").split("   ") if row.strip()}
BINARY["?"] = ["|| true ?", "&& false ?"]
UNARY = {"!": [""], "-": [""], "++": ["--"], "--": ["++"]}
NAMES = {"true": ["false"], "false": ["true"], "min": ["max"], "max": ["min"]}

TOKEN = re.compile(r"""
    (?P<skipped> //[^\n]* | /\*.*?\*/ | ^[ ]*\#[^\n]* | ^static_assert\b[^;]*; | ^template[ ]<[^\n]*
      | \b__attribute__\S* | \bQ_ATTRIBUTE_FORMAT_PRINTF\([^)]*\) )
  | (?P<string> R"(?P<mark>\w*)\(.*?\)(?P=mark)" | "(?:\\.|[^"\\\n])*" )
  | (?P<char> '(?:\\.|[^'\\\n])+' )
  | (?P<number> \.?\d (?:[eE][-+] | '\w | [\w.])* )
  | (?P<name> [A-Za-z_]\w* )
  | (?P<operator> <<= | >>= | <=> | -> | \+\+ | -- | [-+*/%&|^<>=!]= | && | \|\| | << | >> | [-+*/%&|^<>=!?] )
    """, re.VERBOSE | re.MULTILINE | re.DOTALL)

STATEMENT = re.compile(r"(?<=[;{}):\n])\n[ ]+(?P<it>(?!return )[^\s{}][^\n{}]*;)(?=[ ]*(?://[^\n]*)?\n)")
DECLARATION = re.compile(r"(?!delete )[\w:<>*&, ]+ [*&]*\w+( = .*|\(.*\)|\[.*\])?;$|using |case |.* = (delete|default);")
ROW = re.compile(r"^ +(?P<it>\{.*\},)[ ]*$", re.MULTILINE)
CONDITION = re.compile(r"\b(?P<keyword>if|while) \((?P<it>(?:[^();]|\((?:[^();]|\([^();]*\))*\))*)\)")
RETURN = re.compile(r"\breturn (?P<it>[^;{}]+);")

LOCAL = re.compile(r"\n[ ]+[\w:]+ (?P<name>\w+) = (?P<it>[^\s;]+);(?=\n)")
GUARD = re.compile(r"""
    (?:\n[ ]+[\w:]+[ ]\w+[ ]=[ ][^\s;]+;)*
    \n[ ]+if[ ]\((?P<calls>CALL(?:[ ]\|\|[ ]CALL)*)\)\n[ ]+return(?P<result>[^;]*);
    """.replace("CALL", r"![\w:]+\((?:[^()]|\((?:[^()]|\([^()]*\))*\))*\)"), re.VERBOSE)


def token_changes(match, source):
    """The replacements of one token."""
    text = match.group()
    if match["string"]:
        return ['""'] if not text.endswith('""') else ['"mutant"']
    if match["char"]:
        return [r"'\1'"]
    if match["number"]:
        return number_changes(text)
    if match["name"]:
        return NAMES.get(text, [])
    before, after = source[match.start() - 1], source[match.end()]
    if before in " \n" and after in " \n":
        return BINARY.get(text, [])
    is_prefix = not (before.isalnum() or before in "_)]") and not after.isspace()
    return UNARY.get(text, []) if is_prefix or text in ("++", "--") else []


def number_changes(text):
    """One more and one less of a whole number; a hundredth more and less of another."""
    if re.fullmatch(r"\d+|0[xX][\da-fA-F]+", text):
        value = int(text, 8 if re.fullmatch(r"0\d+", text) else 0)
        return [str(value + 1), str(value - 1)]
    if re.fullmatch(r"[\d.]+(?:[eE][-+]?\d+)?", text):
        value = float(text)
        return [repr(value * 1.01), repr(value * 0.99)] if value != 0 else ["1.0", "-1.0"]
    return []


def masked(source):
    """The source with blanks for what is skipped, and no structure in its literals."""
    def mask(match):
        if match["skipped"]:
            return re.sub(r"[^\n]", " ", match.group())
        literal = match["string"] or match["char"]
        return re.sub(r"[^\n]", "_", literal) if literal else match.group()
    return TOKEN.sub(mask, source)


def unread(source):
    """The spans of initialisers that nothing reads, such as that of

        double tolerance = 0;
        if (!toNumber(word, tolerance))
            return false;

    It is taken on trust that such a call sets its last argument where it says true.
    """
    code = masked(source)
    for match in LOCAL.finditer(code):
        guard = GUARD.match(code, match.end())
        name = re.compile(rf"\b{match['name']}\b")
        if guard and not name.search(guard["result"]) and len(name.findall(guard["calls"])) == 1:
            if re.search(rf", {match['name']}\)(?: \|\||$)", guard["calls"]):
                yield match.span("it")


def changes(source):
    """All changes of a source as (start, end, replacement), possibly one of them twice."""
    for match in TOKEN.finditer(source):
        if not match["skipped"]:
            for replacement in token_changes(match, source):
                yield match.start(), match.end(), replacement
    code = masked(source)
    for match in STATEMENT.finditer(code):
        if not DECLARATION.match(match["it"]):
            yield *match.span("it"), ";"
    for match in ROW.finditer(code):
        yield *match.span("it"), ""
    for match in CONDITION.finditer(code):
        for replacement in ["true", "false"] if match["keyword"] == "if" else ["false"]:
            yield *match.span("it"), replacement
    for match in RETURN.finditer(code):
        if match["it"] not in ("true", "false", "0", "nullptr", "std::nullopt"):
            yield *match.span("it"), "{}"
            yield *match.span("it"), f"!({source[slice(*match.span('it'))]})"


def definitions(root, files):
    """What each of the files below root defines: lists of (first line, last line, name)."""
    command = ["ctags-universal", "--languages=C++", "--kinds-C++=cfgmpstuv", "--fields=+neZ",
               "--output-format=json", "-D", "Q_COREAPP_STARTUP_FUNCTION(function)=", "-f-",
               *files]
    tags = subprocess.run(command, cwd=root, check=True, capture_output=True, text=True).stdout
    defined = collections.defaultdict(list)
    for tag in map(json.loads, tags.splitlines()):
        if not tag["name"].startswith("__anon"):  # as ctags calls a lambda
            defined[tag["path"]].append((tag["line"], tag.get("end", tag["line"]), name_of(tag)))
    return defined


def name_of(tag):
    """The qualified name of a definition, with "()" for a function. The namespace Talmo and those
    without a name, to which ctags gives one, do not show."""
    scopes = [scope for scope in tag.get("scope", "").split("::")
              if scope not in ("", "Talmo") and not scope.startswith("__anon")]
    return "::".join([*scopes, tag["name"]]) + ("()" if tag["kind"] in ("function", "prototype") else "")
