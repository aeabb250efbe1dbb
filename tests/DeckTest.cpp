#include "Deck.h"
#include "Text.h"
#include "TrackerFiles.h"
#include "talmo/Console.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace tracker;

namespace
{

class DeckFiles : public TrackerFiles
{
protected:
    /// Reads a deck that holds \a text. Returns the error.
    static std::string readText(const std::string &text, Deck &deck)
    {
        write("deck", text);
        std::string error;
        const bool good = readDeck("deck", deck, error);
        EXPECT_EQ(good, error.empty());
        return error;
    }
};

/// What the library has printed so far, in this process.
std::string printed()
{
    return Talmo::Console::initial ? Talmo::Console::initial->toStdString() : "";
}

} // namespace

TEST(Text, WordsAreSeparatedByBlanksOfAnyKind)
{
    using Words = std::vector<std::string>;
    EXPECT_EQ(splitWords("\t quad  4 \t300\r"), (Words{"quad", "4", "300"}));
    EXPECT_EQ(splitWords("\vdrift\f1\v\f2"), (Words{"drift", "1", "2"}));
    EXPECT_EQ(splitWords("drift"), (Words{"drift"}));
    EXPECT_EQ(splitWords(" \t\r"), Words());
    EXPECT_EQ(splitWords(""), Words());
}

TEST(Text, RestOfALineKeepsItsInnerBlanks)
{
    const std::string line = "\tdefine  x \ta  b \r";
    EXPECT_EQ(textAfterWords(line, 0), "define  x \ta  b");
    EXPECT_EQ(textAfterWords(line, 2), "a  b");
    EXPECT_EQ(textAfterWords(line, 3), "b");
    EXPECT_EQ(textAfterWords(line, 4), "");
    EXPECT_EQ(textAfterWords("x", 1), "");
    EXPECT_EQ(textAfterWords(" ", 0), "");
}

TEST(Deck, DeckLinesBecomeSteps)
{
    struct Row {
        std::vector<std::string> words;
        Action action;
        double field;
        double length;
        std::string file;
    };
    const Row rows[] = {
        {{"beam", "b.dat"}, Action::ReadBeam, 0, 0, "b.dat"},
        {{"drift", "1.5e2"}, Action::Drift, 0, 150, ""},
        {{"drift", "0"}, Action::Drift, 0, 0, ""},
        {{"quad", "-4", "300"}, Action::Quad, -4, 300, ""},
        {{"solenoid", ".5", "+10"}, Action::Solenoid, 0.5, 10, ""},
        {{"accelerate", "-5"}, Action::Accelerate, 0, 0, ""},
        {{"reverse"}, Action::Reverse, 0, 0, ""},
        {{"output", "o.dat"}, Action::WriteBeam, 0, 0, "o.dat"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.words.front());
        Step step;
        std::string what;
        ASSERT_TRUE(parseStep(row.words, step, what)) << what;
        EXPECT_EQ(step.action, row.action);
        EXPECT_EQ(step.field, row.field);
        EXPECT_EQ(step.length, row.length);
        EXPECT_EQ(step.energy, row.action == Action::Accelerate ? -5 : 0);
        EXPECT_EQ(step.file, row.file);
        EXPECT_EQ(commandWord(step.action), row.words.front());
    }
}

TEST(Deck, NumbersAreExpressionsInTheirOwnUnits)
{
    struct Row {
        std::vector<std::string> words;
        double field;
        double length;
        double energy;
    };
    const Row rows[] = {
        {{"drift", "300mm"}, 0, 300, 0},
        {{"drift", "0.5m"}, 0, 500, 0},
        {{"drift", "2*3mm+5cm"}, 0, 56, 0},
        {{"drift", "2*(3+4)"}, 0, 14, 0},
        {{"drift", "6m/2m"}, 0, 3, 0}, // the ratio has no unit, so it counts as mm
        {{"drift", "max(1in,2cm)"}, 0, 25.4, 0},
        {{"drift", "2.5e1mm"}, 0, 25, 0},
        {{"drift", "2.5E1mm"}, 0, 25, 0},
        {{"drift", "-(-5)"}, 0, 5, 0},
        {{"drift", "5--5"}, 0, 10, 0},
        {{"drift", "+5"}, 0, 5, 0}, // this is no expression, but a number
        {{"drift", "5."}, 0, 5, 0},
        {{"drift", "0*-1mm"}, 0, 0, 0},
        {{"quad", "3.5Tpm", "200mm"}, 3.5, 200, 0},
        {{"quad", "-20000Gpm", "2*10"}, -2, 20, 0},
        {{"quad", "-(1+1)", "1"}, -2, 1, 0},
        {{"solenoid", "15kG", "1ft"}, 1.5, 304.8, 0},
        {{"solenoid", "-0.5T/2", "1"}, -0.25, 1, 0},
        {{"accelerate", "2GeV"}, 0, 0, 2000},
        {{"accelerate", "-3*10"}, 0, 0, -30},
        {{"accelerate", "500keV"}, 0, 0, 0.5},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(joinWords(row.words));
        Step step;
        std::string what;
        ASSERT_TRUE(parseStep(row.words, step, what)) << what;
        EXPECT_DOUBLE_EQ(step.field, row.field);
        EXPECT_DOUBLE_EQ(step.length, row.length);
        EXPECT_DOUBLE_EQ(step.energy, row.energy);
    }
}

TEST_F(DeckFiles, MacrosStandForTheirText)
{
    struct Row {
        std::string title;
        std::string lines;
        std::string plain; ///< other lines for the same steps
    };
    const Row rows[] = {
        {"with a unit", "define cell 600mm\ndrift $cell\n", "drift 600\n"},
        {"behind a number", "define n 2\ndrift ${n}5mm\n", "drift 25\n"},
        {"as bare numbers", "define cell 600mm\ndrift ${2*$cell;mm}\n", "drift 1200\n"},
        {"named in an expression", "define cell 600mm\ndrift ${2*cell;mm}\n", "drift 1200\n"},
        {"named in a word", "define cell 600mm\ndrift cell/2\n", "drift 300\n"},
        {"through another", "define a 3mm\ndefine b 2*a\ndefine a 4mm\ndrift b\n", "drift 8\n"},
        {"evaluated first", "define a 3mm\ndefine b ${2*$a}\ndefine a 4mm\ndrift $b\n",
            "drift 6\n"},
        {"with a format", "define third ${%.3f;1/3}\nquad $third 1\n", "quad 0.333 1\n"},
        {"as a text, not a value", "define sum 1+2\ndrift 2*$sum\n", "drift 4\n"},
        {"of words", "define lens 4Tpm 30cm\nquad $lens\n", "quad 4 300\n"},
        {"for a command", "define element drift\n$element 5\n", "drift 5\n"},
        {"for a name", "define n 7\ndefine cell_$n 5mm\ndrift ${cell_${n}}\n", "drift 5\n"},
        {"in an expression, named by another",
            "define n 7\ndefine cell_7 5mm\n"
            "drift ${2*cell_${n};mm}\n",
            "drift 10\n"},
        {"replaced", "define a 1\ndefine a 2\ndrift $a\n", "drift 2\n"},
        {"from itself", "define a 1\ndefine a ${$a+1}\ndrift $a\n", "drift 2\n"},
        {"counting", "define n 9\noutput c${n++}\noutput c${n++}\ndrift $n\n",
            "output c9\noutput c10\ndrift 11\n"},
        {"without the blanks around", "define\ta \t 5 \r\noutput <$a>\n", "output <5>\n"},
        {"more than once", "define a 3\ndefine b a*a\ndrift a+b+b\n", "drift 21\n"},
        {"for a unit", "define u mm\ndrift ${2*3$u;mm}\n", "drift 6\n"},
        {"for a format", "define f %.3f\ndrift ${$f;700mm/7;mm}\n", "drift 100\n"},
        {"counting in letters", "define n az\noutput ${n++}$n\noutput $n\n",
            "output azaz\noutput ba\n"},
        {"underscores", "define _a_1 5\ndrift $_a_1\n", "drift 5\n"},
        {"in comments", " # $nothing ${\n", ""},
        {"a file beside a macro of its name", "define out x\noutput out\n", "output out\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.title);
        Deck deck;
        Deck plain;
        EXPECT_EQ(readText("beam b\n" + row.lines + "output o\n", deck), "");
        ASSERT_EQ(readText("beam b\n" + row.plain + "output o\n", plain), "");
        ASSERT_EQ(deck.steps.size(), plain.steps.size());
        for (std::size_t i = 0; i < deck.steps.size(); ++i) {
            EXPECT_EQ(deck.steps[i].action, plain.steps[i].action);
            EXPECT_DOUBLE_EQ(deck.steps[i].field, plain.steps[i].field);
            EXPECT_DOUBLE_EQ(deck.steps[i].length, plain.steps[i].length);
            EXPECT_EQ(deck.steps[i].file, plain.steps[i].file);
        }
    }
}

TEST_F(DeckFiles, DefinitionsMayStandAnywhere)
{
    Deck deck;
    EXPECT_EQ(readText("define in b\nbeam $in\ndefine out o\noutput $out\ndefine x y\n", deck), "");
    ASSERT_EQ(deck.steps.size(), 2U);
    EXPECT_EQ(deck.steps[0].file, "b");
    EXPECT_EQ(deck.steps[0].line, 2U);
    EXPECT_EQ(deck.steps[1].line, 4U);
}

TEST_F(DeckFiles, MacrosLastAsLongAsTheirDeck)
{
    Talmo::Macro::hash["outer"] = "kept";
    const std::string definition = "beam b\ndefine inner 5\n";
    for (const std::string end : {"output o\n", "unknown\n"}) { // makes a good deck or a wrong one
        Deck deck;
        const std::string error = readText(definition + end, deck);
        EXPECT_EQ(error, end == "unknown\n" ? "deck:3: unknown element 'unknown'" : "");
        EXPECT_EQ(Talmo::Macro::hash, (Talmo::Macro::Table{{"outer", "kept"}}));
        EXPECT_EQ(Talmo::Macro::stack.size(), 0);
    }
    for (const std::string name : {"inner", "outer"}) {
        Deck deck;
        EXPECT_EQ(readText("beam b\ndrift " + name + "\noutput o\n", deck),
            "deck:2: unknown name '" + name + "'");
    }
    Talmo::Macro::hash.clear();
}

TEST_F(DeckFiles, WhatTheLibraryReportsFailsTheLine)
{
    struct Row {
        std::string line;
        std::string problem; ///< in the words of the library
    };
    // clang-format off
    const Row rows[] = {
        {"drift $x", "Undefined macro 'x'"},
        {"drift ${x}", "Undefined macro 'x'"},
        {"drift \t $x", "Undefined macro 'x'"},
        {"output o${x++}", "Undefined macro 'x'"},
        {"define a ${}", "Undefined macro ''"},
        {"drift ${2*3", "unbalanced ${ in 'drift ${2*3'"},
        {"define a ${1,5}", "D:Syntax Error in '1,5'"},
        {"define a ${%d;1}", "Invalid format '%d'"},
        {"drift ${2;mm}", "Units Conversion Error from (none) to mm"},
        {"drift sin(1mm)", "H:Units conversion error in 'sin(1mm)'"},
        {"drift nosuch(3)", "Unknown function nosuch in 'nosuch(3)'"},
        {"drift 1mm+1", "Units Conversion Error from (none) to mm"},
        {"quad 1Tpm*1m 1", "U:Invalid units in '1Tpm*1m'"},
        {"drift pow(2)", "P:Syntax Error in 'pow(2)'"},
        {"output \xc3\xa9$x", "Undefined macro 'x'"},
        {"output ${x2++}", "Undefined macro 'x2'"},
        {"drift -sqrt(4mm)", "H:Units conversion error in '-sqrt(4mm)'"}, // no "negative length"
    };
    // clang-format on
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        const std::string before = printed();
        testing::internal::CaptureStdout();
        Deck deck;
        EXPECT_EQ(readText("# one\nbeam b\n\n" + row.line + "\noutput o\n", deck),
            "deck:4: error in '" + row.line + "'");
        const std::string report = "Error: Syntax Error " + row.problem + ", at line 4\n" +
                                   "       line: " + row.line + "\n";
        EXPECT_EQ(printed(), before + report);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), report);
        EXPECT_TRUE(Talmo::Error::line.isEmpty());
        EXPECT_EQ(Talmo::Error::lineNumber, 0);
    }
    // A report from before the deck does not count.
    Deck deck;
    EXPECT_EQ(readText("beam b\ndrift 1mm\noutput o\n", deck), "");
    EXPECT_TRUE(Talmo::Error::line.isEmpty());
    EXPECT_EQ(Talmo::Error::lineNumber, 0);
}

TEST_F(DeckFiles, NamesOfFilesPassInAnyEncoding)
{
    for (const std::string name : {"\xc3\xa9.dat", "\xe9.dat", "\xff\xfe"}) {
        SCOPED_TRACE(name);
        Deck deck;
        EXPECT_EQ(readText("beam b\ndefine name " + name + "\noutput $name\n", deck), "");
        ASSERT_EQ(deck.steps.size(), 2U);
        EXPECT_EQ(deck.steps[1].file, name);
    }
}

TEST_F(DeckFiles, WrongDecksAreToldByFileLineAndWord)
{
    struct Row {
        std::string deck;
        std::string message;
    };
    const Row rows[] = {
        {"beam b\nsextupole 1 2\noutput o\n", "deck:2: unknown element 'sextupole'"},
        {"beam b\n\n# note\nQuad 1 2\noutput o\n", "deck:4: unknown element 'Quad'"},
        {"beam\n", "deck:1: expected 'beam FILE', found 'beam'"},
        {"beam a b\n", "deck:1: expected 'beam FILE', found 'beam a b'"},
        {"beam b\ndrift\n", "deck:2: expected 'drift LENGTH', found 'drift'"},
        {"beam b\nquad 1\t2 3\n", "deck:2: expected 'quad GRADIENT LENGTH', found 'quad 1 2 3'"},
        {"beam b\nsolenoid 1\n", "deck:2: expected 'solenoid FIELD LENGTH', found 'solenoid 1'"},
        {"beam b\nreverse 1\n", "deck:2: expected 'reverse', found 'reverse 1'"},
        {"beam b\noutput\n", "deck:2: expected 'output FILE', found 'output'"},
        {"beam b\naccelerate 1 2\n",
            "deck:2: expected 'accelerate ENERGY', found 'accelerate 1 2'"},
        {"define a 5\n", "deck: the deck has no commands"},
        {"define a 5\ndrift $a\n", "deck:2: the first command must be 'beam FILE', found 'drift'"},
        {"output o\n", "deck:1: the first command must be 'beam FILE', found 'output'"},
        {"\nreverse\n", "deck:2: the first command must be 'beam FILE', found 'reverse'"},
        {"beam b\nbeam b\n", "deck:2: 'beam' may only be the first command"},
        {"beam b\n", "deck:1: the last command must be 'output FILE', found 'beam'"},
        {"beam b\noutput o\nreverse\n\n",
            "deck:3: the last command must be 'output FILE', found 'reverse'"},
        {"", "deck: the deck has no commands"},
        {"# nothing\n \n", "deck: the deck has no commands"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.deck);
        Deck deck;
        EXPECT_EQ(readText(row.deck, deck), row.message);
    }
}

TEST_F(DeckFiles, WhatIsNotANumberOrAMacroIsTold)
{
    struct Row {
        std::string lines; ///< the last one is wrong
        std::string message;
    };
    // clang-format off
    const Row rows[] = {
        {"quad 1,5 10", "'1,5' is not an expression"},
        {"quad 4, 10", "'4,' is not an expression"},
        {"quad ,4 10", "',4' is not an expression"},
        {"quad 1 max(2,,3)", "'max(2,,3)' is not an expression"},
        {"drift ()5", "'()5' is not an expression"},
        {"drift 1;2", "'1;2' is not an expression"},
        {"drift 3)", "'3)' is not an expression"},
        {"drift $", "'$' is not an expression"},
        {"drift 5$", "'5$' is not an expression"},
        {"define a 5,\ndrift a", "'a' is not an expression"},
        {"drift ${5,;}", "'5,' is not an expression"},
        // operands and operators that do not take turns
        {"drift 2*", "'2*' is not an expression"},
        {"drift 2*+3", "'2*+3' is not an expression"},
        {"drift 600,/2", "'600,/2' is not an expression"},
        {"drift 300mm(+2mm)", "'300mm(+2mm)' is not an expression"},
        {"drift 5()", "'5()' is not an expression"},
        {"drift (100)(200)*", "'(100)(200)*' is not an expression"},
        {"drift 1.5.5+", "'1.5.5+' is not an expression"},
        {"drift 3+(-)4", "'3+(-)4' is not an expression"},
        {"drift sqrt(4", "'sqrt(4' is not an expression"},
        {"accelerate (3", "'(3' is not an expression"},
        {"drift 3)+(4", "'3)+(4' is not an expression"},
        {"quad 2---3 300", "'2---3' is not an expression"},
        {"define d -3\nquad max(1,-d) 300", "'max(1,-d)' is not an expression"},
        {"define d -3\nquad 10+-$d 300", "'10+--3' is not an expression"},
        {"drift ${3)+(4}", "'3)+(4' is not an expression"},
        {"drift ${1.5.5}", "'1.5.5' is not an expression"},
        {"drift ${;mm}", "'' is not an expression"},
        {"drift ${$}", "'$' is not an expression"},
        {"drift ${5$}", "'5$' is not an expression"},
        // names behind another reference, or in a nested one
        {"define n 1\ndefine a a\ndrift ${${n}+a}", "macro 'a' refers to itself"},
        {"define n 1\nquad ${g_${n}-5} 300", "unknown name 'g_1'"},
        {"define n 1\nquad ${g_$n-5} 300", "unknown name 'g_1'"},
        {"define n 2\nquad ${2*${n}+3parsec} 300", "unknown unit 'parsec'"},
        {"output ${(1)}${(nosuch)5}", "unknown name 'nosuch'"},
        {"output c_${1+1}_long_name_here_${(nosuch)5}", "unknown name 'nosuch'"},
        {"define a 1\ndrift a+3parsec", "unknown unit 'parsec'"},
        {"drift 1Tpm9", "unknown unit 'Tpm9'"},
        {"drift ${3;5}", "unknown unit '5'"},
        {"drift ${3;e5}", "unknown unit 'e5'"},
        {"drift ${2%x;mm}", "'2%x' is not an expression"},
        {"quad 1 -1", "negative length '-1'"},
        {"solenoid 1 -1mm", "negative length '-1mm'"},
        {"define c #\n$c drift 5", "unknown element '#'"},
        {"drift ${5,;mm}", "'5,' is not an expression"},
        {"quad nan 10", "unknown name 'nan'"},
        {"drift (nosuch)5mm", "unknown name 'nosuch'"},
        {"drift 5_1", "unknown name '_1'"},
        {"drift ${(nosuch)5mm}", "unknown name 'nosuch'"},
        {"drift ${%.3f;2*nosuch;mm}", "unknown name 'nosuch'"},
        {"define a 2+b\ndrift a", "unknown name 'b'"},
        {"define f sin\ndrift f(1)*f", "unknown name 'sin'"},
        {"drift 3+2parsec", "unknown unit 'parsec'"},
        {"drift ${3+2parsec}", "unknown unit 'parsec'"},
        {"drift ${3mm;parsec}", "unknown unit 'parsec'"},
        {"define a 2parsec\ndrift 3+a", "unknown unit 'parsec'"},
        {"define a a/2\ndrift a", "macro 'a' refers to itself"},
        {"define a a/2\ndrift ${2*$a}", "macro 'a' refers to itself"},
        {"define a b\ndefine b 2*a\ndrift b", "macro 'b' refers to itself"},
        {"drift 3kg", "'3kg' is not a length"},
        {"quad 15kG 10", "'15kG' is not a gradient"},
        {"solenoid 2Tpm 10", "'2Tpm' is not a field"},
        {"solenoid 2 10MeV", "'10MeV' is not a length"},
        {"accelerate 1MV", "'1MV' is not an energy"},
        {"drift 1/0", "'1/0' is not finite"},
        {"drift sqrt(-1)", "'sqrt(-1)' is not finite"},
        {"accelerate 1e308GeV", "'1e308GeV' is not finite"},
        {"quad 1 1e999", "the number '1e999' is too large"},
        {"drift -1e-9", "negative length '-1e-9'"},
        {"drift 2mm-1cm", "negative length '2mm-1cm'"},
        {"define", "expected 'define NAME TEXT', found 'define'"},
        {"define a ", "expected 'define NAME TEXT', found 'define a'"},
        {"define 2x 5", "'2x' is not a name"},
        {"define a.b 5", "'a.b' is not a name"},
        {"define \xe9 5", "'\xe9' is not a name"},
        {"define a b$", "macro 'a' holds a '$'"},
        {"define a #z\noutput ${a++}", "macro 'a' cannot count"}, // "$a" would come next
        {"define k -1\nquad ${k++} 300", "macro 'k' cannot count"},
        {"define k 1.9\nquad ${k++} 300", "macro 'k' cannot count"},
        {"define k 5mm\ndrift ${k++}", "macro 'k' cannot count"},
        {"define k a9\noutput ${k++}", "macro 'k' cannot count"},
    };
    // clang-format on
    Talmo::Units::factorHash["parsec"] = 0; // so the library remembers an unknown unit
    for (const Row &row : rows) {
        SCOPED_TRACE(row.lines);
        const std::string before = printed();
        const auto number = 2 + std::count(row.lines.begin(), row.lines.end(), '\n');
        Deck deck;
        EXPECT_EQ(readText("beam b\n" + row.lines + "\noutput o\n", deck),
            "deck:" + std::to_string(number) + ": " + row.message);
        EXPECT_EQ(printed(), before); // the library has reported nothing
    }
    Talmo::Units::factorHash.remove("parsec");
}

TEST_F(DeckFiles, FlawsThatHideOneAnotherAreTold)
{
    // To the library these are 1, without a report: the comma leaves the operand that "?" lacks.
    for (const std::string word : {"5,(1?2)", "${5,(1?2)}"}) {
        Deck deck;
        EXPECT_EQ(readText("beam b\ndrift " + word + "\noutput o\n", deck),
            "deck:2: '5,(1?2)' is not an expression");
    }
}

TEST_F(DeckFiles, MacrosThatDoubleEachOtherAreTold)
{
    std::string lines = "beam b\ndefine x0 1\n";
    for (int n = 1; n <= 40; ++n) {
        const std::string half = "x" + std::to_string(n - 1);
        lines += "define x" + std::to_string(n) + " " + half + "+" + half + "\n";
    }
    Deck deck;
    EXPECT_EQ(readText(lines + "drift x9\ndrift x40\noutput o\n", deck),
        "deck:44: macro 'x40' grows too long");
    ASSERT_EQ(deck.steps.size(), 2U);
    EXPECT_EQ(deck.steps[1].length, 512);
}

TEST_F(DeckFiles, DecksThatCannotBeReadAreTold)
{
    std::filesystem::create_directory("folder");
    for (const std::string name : {"folder", "missing"}) {
        Deck deck;
        std::string error;
        EXPECT_FALSE(readDeck(name, deck, error));
        EXPECT_EQ(error, name + ": cannot read the file");
    }
}
