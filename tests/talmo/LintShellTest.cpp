// talmo lint: lines for the shell.

#include "LintFixture.h"

namespace
{

using LintShellTest = LintFixture;

} // namespace

TEST_F(LintShellTest, KnowsWhereTheShellLosesSomething)
{
    const struct {
        QByteArray line;
        QStringList found;
    } rows[] = {
        {"a | b", {"2:8 lost-status"}},
        {"a | b | c", {"2:8 lost-status", "2:12 lost-status"}},
        {"cat x | a | c", {"2:16 lost-status"}},
        {"a;b", {"2:7 lost-status"}},
        {"a b;", {"2:9 lost-status"}},
        {"a &", {"2:8 lost-status"}},
        {"a &>log", {}},
        {"a > log 2>&1", {}},
        {"a >&2", {}},
        {"a 2>&1 | b >c", {"2:13 lost-status"}},
        {"a && b || c", {}},
        {"a \";\" '|' \\; b", {}},
        {"a \"$(b | c)\" `d; e`", {}},
        {"a $(b; c)", {}},
        {"(a; b)", {}},
        {"{ a; b; }", {}},
        {"for a in b; do c; done", {}},
        {"x=1; a $x", {}},
        {"set -e; a; b", {}},
        {"a # b; c", {"2:8 lost-capture"}},
        {"a '#' b#c", {}},
        {"a >|/dev/stdout", {"2:8 emptied-report"}},
        {"a >/dev/fd/1", {"2:8 emptied-report"}},
        {"echo >/dev/stdout | cat", {}},
        {"a </dev/stdin >x", {}},
        {"sh -c 'a >/dev/stdout'", {}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(foundIn("=run " + row.line + '\n'), row.found) << row.line.toStdString();
    }
}
