#include "talmo/RegExp.h"
#include "Printing.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <QRegExp>

#include <gtest/gtest.h>

using Talmo::RE;
using Talmo::RegExp;

TEST(RegExp, FindGivesThePositionOfTheFirstMatch)
{
    const struct {
        const char *pattern;
        const char *text;
        int position;
    } rows[] = {
        {"b+", "abbcb", 1},
        {"x", "abc", -1},
        {"", "abc", 0},
        {"^a", "aa", 0},
        {"^b", "ab", -1}, // a caret stands for the start of the text
        {"A", "a", -1},   // case counts
        {"[", "[", -1},   // an invalid pattern matches nothing
        {"a", "", -1},
        {"^$", "", 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern);
        EXPECT_EQ(RE.find(row.pattern, row.text), row.position);
        EXPECT_EQ(RE.match(row.pattern, row.text), row.position >= 0);
    }
}

TEST(RegExp, APatternThatCostsTooMuchMatchesNothing)
{
    const auto nested = [](const QString &open, int depth) {
        return open.repeated(depth) + 'a' + QString(")").repeated(depth);
    };
    const struct {
        QString pattern;
        int position; // in "ba"
    } rows[] = {
        {nested("(", 50), 1},
        {nested("(", 51), -1},
        {nested("(?:", 50), 1},
        {nested("(?:", 51), -1},
        {nested("(", 1000000), -1}, // would need more than the whole stack
        {QString("(").repeated(1000000), -1},
        {nested("(?=", 2), 1},
        {nested("(?=", 3), -1},
        {nested("(?=", 30), -1},
        {QString(".*").repeated(138) + 'a', 0},
        {QString(".*").repeated(139) + 'a', -1},
        {"(?:b?){138}a", 0},
        {"(?:b?){139}a", -1},
        {"([a-z]{0,1000}){0,1000}", -1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern.left(70).toStdString());
        EXPECT_EQ(RE.find(row.pattern, "ba"), row.position);
        EXPECT_EQ(RE.find(row.pattern, "ba"), row.position); // from the cache
        EXPECT_EQ(RegExp::prev->isValid(), row.position >= 0);
    }
    EXPECT_EQ(RE.replaceAll(nested("(", 51), "ba", "x"), "ba");
    // Only nested groups count: no parentheses that open no group, and no groups side by side.
    EXPECT_EQ(RE.find(QString("\\(").repeated(2000), QString("(").repeated(2000)), 0);
    EXPECT_EQ(RE.find("[" + QString("(").repeated(2000) + "]", "a("), 1);
    EXPECT_EQ(RE.find(QString("(?:a)").repeated(2000), QString("a").repeated(2000)), 0);
}

TEST(RegExp, ForgetsAPattern)
{
    const auto before = RegExp::hash.size();
    ASSERT_TRUE(RE.match("forgotten", "forgotten"));
    RE.forget("forgotten");
    EXPECT_EQ(RegExp::hash.size(), before);
    EXPECT_EQ(RegExp::prev, nullptr);
    EXPECT_TRUE(RE.match("forgotten", "forgotten"));
    ASSERT_TRUE(RE.match("(k)ept", "kept"));
    RE.forget("forgotten");
    RE.forget("unknown");
    EXPECT_EQ(RegExp::prev->cap(1), "k");
    EXPECT_EQ(RegExp::hash.size(), before + 1);
}

TEST(RegExp, FindAtSearchesFromAnOffsetWhereACaretMatches)
{
    const struct {
        const char *pattern;
        int offset;
        int position;
    } rows[] = {
        {"b", 0, 1},
        {"b", 1, 1},
        {"b", 2, 3},
        {"b", 4, -1},
        {"^b", 0, -1},
        {"^b", 1, 1}, // a caret stands only for the offset
        {"^b", 2, -1},
        {"^b*", 4, 4},
        {"b$", 1, 3},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern);
        EXPECT_EQ(RE.findAt(row.pattern, "abab", row.offset), row.position);
    }
    ASSERT_EQ(RE.findAt("^([a-z])[a-z]", "x = 12mm", 6), 6);
    EXPECT_EQ(RegExp::prev->cap(0), "mm");
    EXPECT_EQ(RegExp::prev->pos(1), 6);
}

TEST(RegExp, CompilesAPatternOnceAndRemembersTheLatest)
{
    RE.find("once", "text");
    const QRegExp *const first = RegExp::prev;
    RE.find("other", "text");
    EXPECT_NE(RegExp::prev, first);
    RE.find("once", "another text");
    EXPECT_EQ(RegExp::prev, first);
    EXPECT_EQ(RegExp::hash.value("once"), first);
}

TEST(RegExp, AnEmptySlotCountsAsAMiss)
{
    RegExp::hash["slot"] = nullptr;
    EXPECT_TRUE(RE.match("slot", "a slot"));
    EXPECT_NE(RegExp::hash.value("slot"), nullptr);
}

TEST(RegExp, PrevHoldsTheCapturesOfTheLatestMatch)
{
    ASSERT_EQ(RE.find("(\\d+)([a-z]*)", "x = 12mm"), 4);
    EXPECT_EQ(RegExp::prev->captureCount(), 2);
    EXPECT_EQ(RegExp::prev->cap(0), "12mm");
    EXPECT_EQ(RegExp::prev->cap(1), "12");
    EXPECT_EQ(RegExp::prev->pos(2), 6);
}

TEST(RegExp, ReplaceChangesTheFirstMatchOnly)
{
    EXPECT_EQ(RE.replace("a+", "baab a", "x"), "bxb a");
    EXPECT_EQ(RE.replace("z", "baab", "x"), "baab");
    EXPECT_EQ(RE.replace("^", "b", "x"), "xb");
    EXPECT_EQ(RE.replace("a", "a", ""), "");
}

TEST(RegExp, ReplacementsAreLiteral)
{
    EXPECT_EQ(RE.replace("(a)", "a", "\\1\\0"), "\\1\\0");
    EXPECT_EQ(RE.replaceAll("(a)", "aba", "\\1"), "\\1b\\1");
}

TEST(RegExp, CapturesOutliveEvaluationConversionAndExpansion)
{
    ASSERT_TRUE(RE.match("b(.)", "abc"));
    const auto patterns = RegExp::hash.size();
    EXPECT_EQ(Talmo::Units::evaluate("%.3f", "2*3mm", "mm"), "6.000");
    EXPECT_EQ(Talmo::Units::convertAll("1in", "mm"), "25.4");
    EXPECT_EQ(Talmo::Macro::expand("${%g;1+1;}"), "2");
    EXPECT_EQ(RegExp::prev->cap(1), "c");
    EXPECT_EQ(RegExp::hash.size(), patterns);
}

TEST(RegExp, SubstituteSaysWhetherItReplaced)
{
    QString text = "one two";
    EXPECT_TRUE(RE.substitute("o", text, "0"));
    EXPECT_EQ(text, "0ne two");
    EXPECT_FALSE(RE.substitute("z", text, "0"));
    EXPECT_EQ(text, "0ne two");
}

TEST(RegExp, ReplaceAllGoesOnUntilNothingMatches)
{
    EXPECT_EQ(RE.replaceAll("b", "abcb", "x"), "axcx");
    EXPECT_EQ(RE.replaceAll("aa", "aaaa", "a"), "a"); // the replacement matches again
    EXPECT_EQ(RE.replaceAll("", "abc", "x"), "abc");
    EXPECT_EQ(RE.replaceAll(QString(), "abc", "x"), "abc");
}

TEST(RegExp, AllOperationsFindTheSameMatchAndKeepOnePattern)
{
    const struct {
        const char *pattern;
        const char *replacement;
        QString text;
        QString first; // with its first match replaced
        QString all;
    } rows[] = {
        {"^a|b$", "", "aab", "ab", ""},
        {"a{2,3}", "-", "aaaaaaa", "-aaaa", "--a"},
        {"[a-c]+", "", "abcxabc", "xabc", "x"},
        {"x*", "", "axx", "axx", "axx"}, // matches the empty text in front
        {R"(\d\s\w)", "", "1 a2 b", "2 b", ""},
        {".*/", "", "/opt/sim/beam", "beam", "beam"},
        {R"((a|b)(c)\2)", "x", "accbccac", "xbccac", "xxac"},
        {"[a", "x", "[a", "[a", "[a"}, // does not compile
        {"a", "b", "banana", "bbnana", "bbnbnb"},
        {"a(?=b)", "c", "abaa", "cbaa", "cbaa"},
        {"a(?!b)", "c", "abaa", "abca", "abcc"},
        {R"(\D+)", "", "a1b", "1b", "1"},
        {"\xC3\xA9", "e", QString::fromUtf8("caf\xC3\xA9"), "cafe", "cafe"},
        {R"(\bx\b)", "y", "x xx x", "y xx x", "y xx y"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern);
        RE.forget(row.pattern);
        const auto before = RegExp::hash.size();
        const bool found = RE.find(row.pattern, row.text) >= 0;
        EXPECT_EQ(RE.match(row.pattern, row.text), found);
        QString changed = row.text;
        EXPECT_EQ(RE.substitute(row.pattern, changed, row.replacement), found);
        EXPECT_EQ(changed, row.first);
        EXPECT_EQ(RE.replace(row.pattern, row.text, row.replacement), row.first);
        EXPECT_EQ(RE.replaceAll(row.pattern, row.text, row.replacement), row.all);
        EXPECT_EQ(RegExp::hash.size(), before + 1);
    }
}

TEST(RegExp, ReplaceAllStopsAfter10001Replacements)
{
    EXPECT_EQ(RE.replaceAll("a", "a", "aa"), QString(10002, 'a'));
    EXPECT_EQ(RE.replaceAll("^", "", "x"), QString(10001, 'x')); // matches the empty text
    const QString many(10002, 'b');
    EXPECT_EQ(RE.replaceAll("b", many, "c"), QString(10001, 'c') + 'b');
    EXPECT_EQ(RE.replaceAll("b", many.mid(1), "c"), QString(10001, 'c'));
}
