#include "PatternCost.h"
#include "Printing.h"

#include <QRegExp>

#include <gtest/gtest.h>

using Talmo::isAffordable;
using Talmo::isAffordableWildcard;

namespace
{

QString nested(const QString &open, const QString &inside, const QString &close, int depth)
{
    return open.repeated(depth) + inside + close.repeated(depth);
}

} // namespace

TEST(PatternCost, WhatPeopleWriteIsAffordable)
{
    const QString rows[] = {
        "",
        "^running 'sim1' failed$",
        "^(running '(sim1|sim2)' failed|Cannot read file '.*\\.out')$",
        QString(".*x").repeated(20),
        QString("(.*)").repeated(20),
        QString("word|").repeated(500) + "word",
        QString("[a-zA-Z0-9_.-]* ").repeated(50),
        QString("a message of thirty characters").repeated(600) + '$',
        "^[-+]?\\d{1,100}(\\.\\d{0,100})?([eE][-+]?\\d{1,3})?$",
        "(?:\\s*[-+]?\\d+\\.?\\d*(?:[eE][-+]?\\d+)?){0,8}",
        "^(?!.*(?:warning|error|failed|cannot|differ|syntax|interrupted))",
        "^(?=.*one)(?=.*two)(?=.*three).*$",
        "^(?!.*x(?!y))",
        "^(.+)-(.+) \\1 \\2$",
        "(?:(?:(?:(?:a*)*)*)*)*b",
        "[^]abc[]*[]]",
    };
    for (const QString &row : rows) {
        SCOPED_TRACE(row.left(70).toStdString());
        EXPECT_TRUE(isAffordable(row));
        EXPECT_TRUE(QRegExp(row).isValid());
    }
}

TEST(PatternCost, APieceMayOccurUpToABound)
{
    const struct {
        const char *before;
        const char *piece;
        const char *after;
        int most;
    } rows[] = {
        {"", "x", "", 24697}, // beyond the length of a line, a link takes only memory
        {"(?:", "abcd|", "abcd)", 1998},
        {"", ".*", "x", 138},
        {"", "x?", "", 139},
        {"(?:", ".|", ".)*", 97},
        {"(?:", ".", ")+", 24692},
        {"", "(.*)", "", 21},
        {"", "(a)", "", 57},
        {"", "(?:a)", "", 7056},
        {"(.*)", "\\1", "", 17},
        {"(.*)", "\\11", "", 17}, // this is one back-reference, without a character behind it
        {"", "^", "", 9999},
        {"", "\\b", "", 9999},
        {"", "()", "", 80},
        {"", "(?:^|$)", "x", 13}, // each doubles the ways to all that follows
        {"", "(?=x)", "x", 66},
        {"", "(?!x)", "x", 66},
        {"^(?!.*", "x", ")", 194},
        {"", "[a-z]*", "", 138},
        {"", "[a-zA-Z]*", "", 138}, // seven characters cost as much as one
        {"", "[a-zA-Z0]*", "", 138},
        {"", "[a-zA-Z01]*", "", 98},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.before) + row.piece);
        const QString piece = row.piece;
        EXPECT_TRUE(isAffordable(row.before + piece.repeated(row.most) + row.after));
        EXPECT_FALSE(isAffordable(row.before + piece.repeated(row.most + 1) + row.after));
    }
}

TEST(PatternCost, ARepetitionCostsAllItsCopies)
{
    const struct {
        const char *pattern;
        int most; // the largest number for %1
    } rows[] = {
        {"(?:a?){%1}", 138},
        {"(?:a*){0,%1}", 137},
        {"(?:a{%1}){100}", 98},
        {"(?:a{%1,}){100}", 97},
        {"(?:a{,%1}b){100}", 32},
        {"(?:a{0,%1}b){100}", 32},
        {"(?:a{3,%1}b){100}", 50},
        {"(?:[a-z]{0,%1}){0,20}b", 22},
        {"(?:(?:ab){100}){%1}", 33},
        {"(?:(?:){%1}){100}", 98}, // even what is empty is repeated
        {"(?:(?:^){%1}){100}", 49},
        {"((a){%1}b){20}", 61}, // only one of the copies captures
        {"(.*)(?:\\1a){%1}", 30},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern);
        EXPECT_TRUE(isAffordable(QString(row.pattern).arg(row.most)));
        EXPECT_FALSE(isAffordable(QString(row.pattern).arg(row.most + 1)));
    }
}

TEST(PatternCost, WhatIsEscapedOrInASetIsACharacter)
{
    const char *const characters[] = {"\\(", "\\)", "\\[", "\\\\", "\\{", "\\*", "\\.", "\\d",
        "[(]", "[]]", "[^]]", "[*{9}]", "[\\]]", "[])(]", "[\\]()]", "\xC3\xB6", "-", ","};
    for (const QString character : characters) {
        SCOPED_TRACE(character.toStdString());
        ASSERT_TRUE(QRegExp(character).isValid());
        EXPECT_TRUE(isAffordable(character.repeated(24697)));
        EXPECT_FALSE(isAffordable(character.repeated(24698)));
    }
    EXPECT_TRUE(isAffordable("\\x0041\\0101{20}"));
}

TEST(PatternCost, FiftyGroupsMayBeOpenAtOnce)
{
    for (const QString open : {"(", "(?:", "(?:a|"}) {
        SCOPED_TRACE(open.toStdString());
        EXPECT_TRUE(isAffordable(nested(open, "a", ")", 50)));
        EXPECT_FALSE(isAffordable(nested(open, "a", ")", 51)));
        EXPECT_FALSE(isAffordable(nested(open, "a", ")", 1000000)));
        EXPECT_FALSE(isAffordable(open.repeated(1000000)));
    }
    EXPECT_TRUE(isAffordable(nested("(?:", "a", ")", 50).repeated(2)));
    EXPECT_FALSE(isAffordable("(?=" + nested("(?:", "a", ")", 50) + ')'));
}

TEST(PatternCost, WhatTakesAllThereIsIsNotAffordable)
{
    const QString rows[] = {
        nested("(?=", "a", ")", 30),
        nested("(?=a", "a", ")", 3),
        nested("(?!.*", "a", ")", 30),
        "([a-z]{0,1000}){0,1000}b",
        "((((a{1000}){1000}){1000}){1000}",
        "(((){1000}){1000}){1000}",
        "(((?:^){1000}){1000}){1000}",
        QString(".*").repeated(200),
        QString("(.*)").repeated(100) + 'x',
        QString("(^|$|\\b|\\B)").repeated(20),
        QString("(.)").repeated(7) + QString("(\\1|\\2|\\3|\\4|\\5|\\6|\\7)").repeated(9),
        "(.*)(?:" + QString("\\1|").repeated(100) + ".)*Z",
        QString("(?=.*Z).*").repeated(13),
        QString("x").repeated(1000000) + '*',
        // These are not valid, but QRegExp finds that out only after compiling them.
        "((((a{1000})]{1000}){1000}",
        "(?<(a{1000}){1000})",
        "(a{1000,5}){1000,5}",
        "(a{99999999999999999999}){1000}",
    };
    for (const QString &row : rows) {
        SCOPED_TRACE(row.left(70).toStdString());
        EXPECT_FALSE(isAffordable(row));
    }
}

TEST(PatternCost, APatternMayEndAnywhere)
{
    for (const QString row : {"\\", "[", "[^", "[]", "[\\", "(", "(?", "(?=", "a{", "a{1", "a{1,",
             "a{1,2", "a)b", ")", "|", "*", "{", "a**"}) {
        SCOPED_TRACE(row.toStdString());
        EXPECT_TRUE(isAffordable(row));
    }
}

TEST(PatternCost, AWildcardPatternIsBoundedByItsStars)
{
    EXPECT_TRUE(isAffordableWildcard(""));
    EXPECT_TRUE(isAffordableWildcard("sim[1-9]_*.?"));
    EXPECT_TRUE(isAffordableWildcard(QString("(").repeated(1000)));
    EXPECT_TRUE(isAffordableWildcard(QString("*").repeated(138) + 'x'));
    EXPECT_FALSE(isAffordableWildcard(QString("*").repeated(139) + 'x'));
    EXPECT_FALSE(isAffordableWildcard(QString("*?[*]").repeated(10000)));
}
