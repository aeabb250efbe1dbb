#include "Definitions.h"

#include "LibraryTest.h"

#include <QByteArray>

using Talmo::defineByAssignment;
using Talmo::defineByText;
using Talmo::FilterLine;
using Talmo::isDefinition;
using Talmo::Macro;
using Talmo::performDefinition;

namespace
{

class DefinitionsTest : public LibraryTest
{
protected:
    /// Performs \a line and returns what is said of it.
    static QByteArray perform(const QString &line, const QSet<QString> &kept = {})
    {
        std::FILE *const stream = std::tmpfile();
        const QString file = "deck";
        FilterLine input(file, 7, {}, stream);
        performDefinition(input, line, kept);
        std::rewind(stream);
        char said[200] = "";
        const bool isSaid = std::fgets(said, sizeof said, stream) != nullptr;
        std::fclose(stream);
        EXPECT_EQ(isSaid, input.isWrong());
        return said;
    }
};

} // namespace

TEST_F(DefinitionsTest, AreLinesWhoseFirstWordIsDefine)
{
    for (const char *line : {"define x 1", "define", "  define\tx", "define x"})
        EXPECT_TRUE(isDefinition(line)) << line;
    for (const char *line : {"", "defines x 1", "x define", "Define x 1", "$define", "#define x"})
        EXPECT_FALSE(isDefinition(line)) << line;
}

TEST_F(DefinitionsTest, ExpandTheirTextWhenTheyAreMade)
{
    EXPECT_EQ(perform("define n 9"), "");
    EXPECT_EQ(perform("\tdefine  cell \t 600mm  2 \t"), "");
    EXPECT_EQ(perform("define half ${0.5*300mm}"), "");
    EXPECT_EQ(perform("define both $n and $cell"), "");
    EXPECT_EQ(perform("define count ${n++}"), "");
    EXPECT_EQ(perform("define n${n++} x"), "");
    EXPECT_EQ(perform("define empty"), "");
    EXPECT_EQ(perform("define half 0.5*cell"), ""); // replaces the first
    const Macro::Table expected = {{"n", "11"}, {"cell", "600mm  2"}, {"half", "0.5*cell"},
        {"both", "9 and 600mm  2"}, {"count", "9"}, {"n10", "x"}, {"empty", ""}};
    EXPECT_EQ(Macro::hash, expected);
}

TEST_F(DefinitionsTest, DefineNothingIfSomethingIsWrong)
{
    Macro::hash = {{"n", "9"}};
    EXPECT_EQ(perform("define"), "deck:7:7: no definition, 'define NAME TEXT'\n");
    EXPECT_EQ(perform("define  a-b 1"), "deck:7:9: 'a-b' is no name of a macro\n");
    EXPECT_EQ(perform("define \xC3\xA4 1"), "deck:7:8: '\xC3\xA4' is no name of a macro\n");
    EXPECT_EQ(perform("define x 1 $y"), "deck:7:12: undefined macro 'y'\n");
    EXPECT_EQ(
        perform("define x ${n++} ${1m+1s}"), "deck:7:17: Units Conversion Error from s to m\n");
    EXPECT_EQ(perform("define ${n++} ${n++} $y"), "deck:7:22: undefined macro 'y'\n");
    const Macro::Table expected = {{"n", "12"}}; // counters count, as they will once it is mended
    EXPECT_EQ(Macro::hash, expected);
}

TEST_F(DefinitionsTest, KeepWhatHasToBeKept)
{
    Macro::hash = {{"x", "1"}, {"n", "9"}};
    perform("define x ${n++}", {"x"});
    perform("define y $x", {"x"});
    EXPECT_EQ(perform("define x $nosuch", {"x"}), "deck:7:10: undefined macro 'nosuch'\n");
    const Macro::Table expected = {{"x", "1"}, {"y", "1"}, {"n", "10"}};
    EXPECT_EQ(Macro::hash, expected);
}

TEST_F(DefinitionsTest, StandInArguments)
{
    QString problem;
    for (const char *text : {"x=1", "x=a=$b ", "empty=", "5=five", "_=u"})
        EXPECT_TRUE(defineByText(text, problem)) << text;
    const Macro::Table expected = {{"x", "a=$b "}, {"empty", ""}, {"5", "five"}, {"_", "u"}};
    EXPECT_EQ(Macro::hash, expected);
    for (const char *text : {"", "x", "=1", "x =1", "a-b=1", "$x=1", "x\n=1"})
        EXPECT_FALSE(defineByText(text, problem)) << text;
    EXPECT_EQ(Macro::hash, expected);
}

TEST_F(DefinitionsTest, StandInLinesOfACalculator)
{
    for (const char *text : {"x=1", " y = 2 3", "z\t=", "w = =1"})
        EXPECT_TRUE(defineByAssignment(text)) << text;
    const Macro::Table expected = {{"x", "1"}, {"y", "2 3"}, {"z", ""}, {"w", "=1"}};
    EXPECT_EQ(Macro::hash, expected);
    for (const char *text : {"", "x", "x==1", "x ==1", "1=x", "2x=1", "x<=1", "a b=1", "(x)=1"})
        EXPECT_FALSE(defineByAssignment(text)) << text;
    EXPECT_EQ(Macro::hash, expected);
}
