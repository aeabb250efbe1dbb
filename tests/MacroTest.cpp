#include "talmo/Macro.h"
#include "LibraryTest.h"

using Talmo::Macro;

namespace
{

class MacroTable : public LibraryTest
{
};

} // namespace

TEST_F(MacroTable, ALocalMacroHidesAGlobalOne)
{
    Macro::hash["x"] = "1";
    Macro::globalHash["x"] = "2";
    Macro::globalHash["y"] = "3";
    EXPECT_EQ(Macro::value("x"), "1");
    EXPECT_EQ(Macro::value("y"), "3");
    Macro::deleteName("x");
    EXPECT_EQ(Macro::value("x"), "2");
    EXPECT_TRUE(Macro::isDefined("x"));
    Macro::deleteName("x"); // the global one stays
    EXPECT_EQ(Macro::value("x"), "2");
}

TEST_F(MacroTable, AnEmptyMacroIsDefined)
{
    Macro::hash["local"] = "";
    Macro::globalHash["global"] = "";
    EXPECT_EQ(Macro::value("local"), "");
    EXPECT_EQ(Macro::value("none"), "");
    EXPECT_TRUE(Macro::isDefined("local"));
    EXPECT_TRUE(Macro::isDefined("global"));
    EXPECT_FALSE(Macro::isDefined("none"));
    EXPECT_FALSE(Macro::isDefined(""));
    EXPECT_EQ(Macro::hash.size() + Macro::globalHash.size(), 2); // asking defines nothing
}

TEST_F(MacroTable, AnEmptyLocalMacroHidesAGlobalOne)
{
    Macro::hash["x"] = "";
    Macro::globalHash["x"] = "2";
    EXPECT_EQ(Macro::value("x"), "");
}

TEST_F(MacroTable, NamesAreExact)
{
    Macro::hash["x"] = "1";
    EXPECT_FALSE(Macro::isDefined("X"));
    EXPECT_FALSE(Macro::isDefined(" x"));
    EXPECT_EQ(Macro::value("X"), "");
}

TEST_F(MacroTable, DeletingAMissingNameIsNoError)
{
    Macro::hash["x"] = "1";
    Macro::deleteName("y");
    EXPECT_EQ(Macro::hash.keys(), QStringList{"x"});
    EXPECT_EQ(printed(), "");
}

TEST_F(MacroTable, AClearedScopeStartsEmptyAndIsLeftAgain)
{
    Macro::hash["x"] = "1";
    Macro::globalHash["g"] = "2";
    Macro::pushDefinitions(/*clear=*/true);
    EXPECT_EQ(Macro::value("x"), "");
    EXPECT_FALSE(Macro::isDefined("x"));
    EXPECT_EQ(Macro::value("g"), "2"); // every scope sees global macros
    Macro::hash["x"] = "inner";
    Macro::hash["y"] = "inner";
    Macro::popDefinitions();
    EXPECT_EQ(Macro::value("x"), "1");
    EXPECT_FALSE(Macro::isDefined("y"));
}

TEST_F(MacroTable, ACopiedScopeUndoesItsChanges)
{
    Macro::hash["x"] = "1";
    Macro::pushDefinitions(/*clear=*/false);
    EXPECT_EQ(Macro::value("x"), "1");
    Macro::hash["x"] = "2";
    Macro::hash["y"] = "3";
    Macro::popDefinitions();
    EXPECT_EQ(Macro::value("x"), "1");
    EXPECT_FALSE(Macro::isDefined("y"));
}

TEST_F(MacroTable, ScopesNest)
{
    for (int depth = 0; depth < 100; ++depth) {
        Macro::hash["depth"] = QString::number(depth);
        Macro::pushDefinitions(depth % 2 == 0);
    }
    EXPECT_EQ(Macro::stack.size(), 100);
    for (int depth = 99; depth >= 0; --depth) {
        Macro::popDefinitions();
        EXPECT_EQ(Macro::value("depth"), QString::number(depth));
    }
    EXPECT_TRUE(Macro::stack.isEmpty());
}

TEST_F(MacroTable, AnUnmatchedPopIsIgnored)
{
    Macro::hash["x"] = "1";
    Macro::popDefinitions();
    EXPECT_EQ(Macro::value("x"), "1");
}

TEST_F(MacroTable, PushAndDefineMakesAScopeOfExactlyThose)
{
    Macro::hash["x"] = "1";
    Macro::pushAndDefine({{"a", "2"}, {"b", ""}});
    EXPECT_EQ(Macro::inspect(), "{\n  a=>2\n  b=>\n}\n");
    Macro::pushAndDefine({});
    EXPECT_EQ(Macro::inspect(), "{\n}\n");
    Macro::popDefinitions();
    EXPECT_EQ(Macro::value("a"), "2");
    Macro::popDefinitions();
    EXPECT_EQ(Macro::inspect(), "{\n  x=>1\n}\n");
}

TEST_F(MacroTable, InspectListsLocalMacrosThenGlobalOnes)
{
    EXPECT_EQ(Macro::inspect(), "{\n}\n");
    Macro::globalHash["a"] = "1";
    EXPECT_EQ(Macro::inspect(), "{\nGlobals:\n  a=>1\n}\n");
    Macro::hash["b"] = "2 => 3";
    EXPECT_EQ(Macro::inspect(), "{\n  b=>2 => 3\nGlobals:\n  a=>1\n}\n");
    Macro::globalHash["Z"] = "4"; // upper case before lower case
    Macro::globalHash["_"] = "5";
    Macro::hash["B"] = "";
    Macro::hash["b1"] = "6";
    EXPECT_EQ(
        Macro::inspect(), "{\n  B=>\n  b=>2 => 3\n  b1=>6\nGlobals:\n  Z=>4\n  _=>5\n  a=>1\n}\n");
}

namespace
{

class MacroExpansion : public LibraryTest
{
protected:
    /// Expands \a text and expects that nothing is printed.
    static QString expanded(const QString &text)
    {
        QString result = Macro::expand(text);
        EXPECT_EQ(printed(), "");
        return result;
    }

    /// Expands \a text, expects that this fails, and returns what was printed.
    static QString failure(const QString &text)
    {
        EXPECT_EQ(Macro::expand(text), "");
        return printed();
    }
};

} // namespace

TEST_F(MacroExpansion, NamesAreReplaced)
{
    Macro::hash["a"] = "5";
    Macro::globalHash["a"] = "hidden by the local one";
    Macro::globalHash["g_1"] = "global";
    Macro::hash["empty"] = "";
    Macro::hash["7"] = "seven";
    const struct {
        const char *text;
        const char *expanded;
    } rows[] = {
        {"", ""}, {"no reference at all {}", "no reference at all {}"}, {"$a", "5"}, {"${a}", "5"},
        {"x$a.y", "x5.y"}, {"$a$a ${a}${a}", "55 55"}, {"${a}_y", "5_y"},
        {"$g_1 ${g_1}", "global global"}, {"<$empty${empty}>", "<>"},
        {"$7", "seven"}, // digits may begin a name
        {"100$ and a lone $ stay", "100$ and a lone $ stay"}, {"$-a $", "$-a $"}, {"a}", "a}"},
        {"{$a}", "{5}"}, {"$aé", "5é"}, // a name has ASCII letters only
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(expanded(QString::fromUtf8(row.text)), QString::fromUtf8(row.expanded));
    }
}

TEST_F(MacroExpansion, ANameIsAsLongAsItCanBe)
{
    Macro::hash["a"] = "5";
    EXPECT_EQ(failure("x$a_y"), reported("Undefined macro 'a_y'"));
    Macro::hash["a_y"] = "6";
    EXPECT_EQ(expanded("x$a_y"), "x6");
}

TEST_F(MacroExpansion, AMacroThatRefersToItselfIsExpandedForEver)
{
    Macro::hash["a"] = "$a";
    Macro::hash["b"] = "${b}";
    expectEndless([] { Macro::expand("$a"); });
    expectEndless([] { Macro::expand("${b}"); });
}

TEST_F(MacroExpansion, ValuesOfPlainNamesAreExpandedInTurn)
{
    Macro::hash["a"] = "1";
    Macro::hash["b"] = "$a";
    Macro::hash["c"] = "$b$b";
    EXPECT_EQ(expanded("$c"), "11");
    // A plain name that braces insert comes too late to be replaced.
    EXPECT_EQ(expanded("${b}"), "$a");
    Macro::hash["d"] = "${a}";
    EXPECT_EQ(expanded("$d ${d}"), "1 1");
}

TEST_F(MacroExpansion, ADollarSignJoinsWhatWasInsertedBehindIt)
{
    Macro::hash["a"] = "5";
    EXPECT_EQ(failure("$$a"), reported("Undefined macro '5'"));
    Macro::hash["5"] = "five";
    EXPECT_EQ(expanded("$$a"), "five");
}

TEST_F(MacroExpansion, BracedNamesMayBeBuiltFromOthers)
{
    Macro::hash["i"] = "2";
    Macro::hash["x2"] = "second";
    EXPECT_EQ(expanded("${x$i}"), "second");
    EXPECT_EQ(expanded("${x${i}}"), "second");
}

TEST_F(MacroExpansion, UndefinedNamesAreReportedWithTheLine)
{
    Talmo::Error::line = "drift $x";
    Talmo::Error::lineNumber = 3;
    EXPECT_EQ(failure("drift $x"),
        "Error: Syntax Error Undefined macro 'x', at line 3\n       line: drift $x\n");
    Talmo::Error::line.clear();
    Talmo::Error::lineNumber = 0;
    EXPECT_EQ(failure("${x}"), reported("Undefined macro 'x'"));
    EXPECT_EQ(failure("${}"), reported("Undefined macro ''"));
    Macro::hash[""] = "nameless";
    EXPECT_EQ(expanded("${}"), "nameless");
}

TEST_F(MacroExpansion, OnlyTheFirstErrorIsReported)
{
    EXPECT_EQ(failure("$x $y ${z ${1+}"), reported("Undefined macro 'x'"));
}

TEST_F(MacroExpansion, CountersAreReplacedAndAdvanced)
{
    Macro::hash["n"] = "1";
    EXPECT_EQ(expanded("${n++} ${n++} ${n++}"), "1 2 3");
    EXPECT_EQ(Macro::value("n"), "4");
    Macro::hash["n"] = "9";
    EXPECT_EQ(expanded("${n++}"), "9");
    EXPECT_EQ(Macro::value("n"), "10");
    Macro::hash["n"] = "z";
    EXPECT_EQ(expanded("f_${n++}.dat"), "f_z.dat");
    EXPECT_EQ(Macro::value("n"), "aa");
    Macro::hash["n"] = "1";
    EXPECT_EQ(expanded("${n++} $n ${n}"), "1 1 1") << "names come first, in braces too";
    Macro::hash["a"] = "1+2";
    Macro::hash["m"] = "${a}";
    EXPECT_EQ(expanded("${m++}"), "3") << "what a counter inserts is an expression by now";
}

TEST_F(MacroExpansion, OnlyALocalMacroCounts)
{
    Macro::globalHash["g"] = "1";
    EXPECT_EQ(failure("${g++}"), reported("Undefined macro 'g'"));
    EXPECT_EQ(failure("${++}"), reported("Undefined macro ''"));
    EXPECT_EQ(Macro::globalHash["g"], "1");
    Macro::hash["empty"] = "";
    EXPECT_EQ(expanded("<${empty++}>"), "<>");
    EXPECT_EQ(Macro::value("empty"), "");
}

TEST_F(MacroExpansion, CountersThatCameBeforeAnErrorHaveCounted)
{
    Macro::hash["n"] = "1";
    EXPECT_EQ(failure("${n++} ${m++}"), reported("Undefined macro 'm'"));
    EXPECT_EQ(Macro::value("n"), "2");
}

TEST_F(MacroExpansion, ExpressionsAreEvaluated)
{
    Macro::hash["x"] = "1.5mm";
    Macro::hash["half"] = "0.5*$x";
    const struct {
        const char *text;
        const char *expanded;
    } rows[] = {
        {"${1+2}", "3"}, {"${1/3}", "0.333333"}, {"${2*$x}", "3mm"}, // with its units
        {"${2*x}", "3mm"}, // a name in an expression is a macro
        {"${2*$x;mm}", "3"}, {"${2*$x;um}", "3000"}, {"${1+2;}", "3"}, // empty units mean no unit
        {"${%.2f;1/3}", "0.33"}, {"${%.2f;1/3} and ${%.3e;2}", "0.33 and 2.000e+00"},
        {"${%.3f;2*x;mm}", "3.000"}, {"${%.3f;2*x}", "3.000mm"}, {"${%.1f;$half;um}", "750.0"},
        {"${%g ;1+1}", "2 "}, {"${%%%g;1+1}", "%2"}, {"a${1+1}b${2*2}c", "a2b4c"},
        {"${1+1}${1+1}", "22"}, {"{${1+1}}", "{2}"}, {"${2Tpm2;Tpm2}", "2"},
        {"${%g${1+1;1+1}}", "22"}, // the format prints "2${1+1}", which is a reference again
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(expanded(row.text), row.expanded);
    }
}

TEST_F(MacroExpansion, WhatAnExpressionReportsItsTextIsInserted)
{
    EXPECT_EQ(Macro::expand("a${1+}b"), "a1b");
    EXPECT_EQ(printed(), reported("X:Syntax error in '1+'"));
    EXPECT_EQ(Macro::expand("a${sin(1mm)}b"), "a1mmb");
    EXPECT_EQ(printed(), reported("H:Units conversion error in 'sin(1mm)'"));
    EXPECT_EQ(Macro::expand("${1 + 2}"), "1");
    EXPECT_EQ(printed(), reported("D:Syntax Error in '1 + 2'"));
    EXPECT_EQ(Macro::expand("${3kg+1;mm}"), "4");
    EXPECT_EQ(printed(), reported("Units Conversion Error from (none) to kg") +
                             reported("Units Conversion Error from kg to mm"));
}

TEST_F(MacroExpansion, FormatAndUnitsHaveTheirCharacters)
{
    EXPECT_EQ(Macro::expand("${1in;*}"), "1in"); // ";*" belongs to the expression
    EXPECT_EQ(printed(), reported("D:Syntax Error in '1in;*'"));
    EXPECT_EQ(Macro::expand("${1in;-}"), "1in");
    EXPECT_EQ(printed(), reported("D:Syntax Error in '1in;-'"));
    EXPECT_EQ(Macro::expand("${%;mm}"), "0"); // "%" alone is no format
    EXPECT_EQ(printed(), reported("D:Syntax Error in '%'"));
    EXPECT_EQ(expanded("${%g${;1}}"), "11"); // "1${}" comes first: "${}" has the result before
}

TEST_F(MacroExpansion, FormatsOfUsersCannotHarm)
{
    for (const QString format : {"%s", "%n", "%d", "%*d", "%*g", "%.*g", "%g %g", "%%", "%lld",
             "%Lg", "%hg", "%llg", "%g%", "%g %", "%999999999g", "%4096g", "%.4096f",
             "%99999999999999999999g", "%-5", "% +", "%g%s", "%m%g", "%c", "%p"}) {
        SCOPED_TRACE(format.toStdString());
        EXPECT_EQ(Macro::expand("a${" + format + ";1}b"), "ab");
        EXPECT_EQ(printed(), reported("Invalid format '" + format + "'"));
    }
}

TEST_F(MacroExpansion, AnOpenBraceIsReportedWithTheWholeInput)
{
    Macro::hash["a"] = "5";
    EXPECT_EQ(failure("$a ${x"), reported("unbalanced ${ in '$a ${x'"));
    EXPECT_EQ(failure("${"), reported("unbalanced ${ in '${'"));
    EXPECT_EQ(failure("%1 %2 ${"), reported("unbalanced ${ in '%1 %2 ${'"));
    const QString many = "}" + QString("${").repeated(50000); // to try all would take minutes
    EXPECT_EQ(failure(many), reported("unbalanced ${ in '" + many + "'"));
    Macro::hash["open"] = "${";
    EXPECT_EQ(failure("${open}"), reported("unbalanced ${ in '${open}'"));
}

TEST_F(MacroExpansion, ALineMayHoldThousandsOfReferences)
{
    Macro::hash["a"] = "5";
    EXPECT_EQ(expanded(QString("$a ").repeated(2000)), QString("5 ").repeated(2000));
}

TEST_F(MacroExpansion, SuccessorsCountLikeAnOdometer)
{
    const struct {
        const char *text;
        const char *successor;
    } rows[] = {
        {"", ""}, {"0", "1"}, {"8", "9"}, {"9", "10"}, {"19", "20"}, {"999", "1000"}, {"a", "b"},
        {"z", "aa"}, {"zz", "aaa"}, {"Z", "AA"}, {"Az", "Ba"}, {"Zz", "AAa"}, {"zZ", "aaA"},
        {"a9", "b0"}, {"z9", "aa0"}, {"9z", "10a"}, {"9Z", "10A"},
        {"x_9", "x`0"}, // any other character ends the carry
        {"1.9", "1/0"}, // decimal numbers are not known,
        {"-9", ".0"},   // and negative ones neither
        {"-1", "-2"}, {"/", "0"}, {"@", "A"}, {"`", "a"}, {"~", "\x7F"}, {" ", "!"},
        {"\xC3\xA9", "\xC3\xAA"}, // e acute, e circumflex
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Macro::successor(QString::fromUtf8(row.text)), QString::fromUtf8(row.successor));
    }
}

TEST_F(MacroExpansion, ACounterTurnsAnyOtherCharacterIntoTheNextOne)
{
    EXPECT_EQ(Macro::successor("1.9"), "1/0");
    EXPECT_EQ(Macro::successor("n-"), "n.");
    EXPECT_EQ(Macro::successor("{"), "|");
}

TEST_F(MacroExpansion, TheSuccessorOfTheLastCharacterIsTheFirst)
{
    EXPECT_EQ(Macro::successor(QString(QChar(0xFFFF))), QString(QChar(0)));
}

TEST_F(MacroExpansion, SuccessorsOfNumbersAreTheNextNumbers)
{
    QString counter = "0";
    for (int number = 0; number <= 12345; ++number) {
        ASSERT_EQ(counter, QString::number(number));
        counter = Macro::successor(counter);
    }
}

TEST_F(MacroExpansion, SuccessorsOfLettersRunThroughAllWordsByLength)
{
    for (const QChar first : {'a', 'A'}) {
        QStringList words{""}; // all words of one length, in alphabetical order
        QString counter = QString(first);
        for (int length = 1; length <= 3; ++length) {
            QStringList longer;
            for (const QString &word : words) {
                for (int letter = 0; letter < 26; ++letter)
                    longer.append(word + QChar(first.unicode() + letter));
            }
            words = longer;
            for (const QString &word : words) {
                ASSERT_EQ(counter, word);
                counter = Macro::successor(counter);
            }
        }
    }
}
