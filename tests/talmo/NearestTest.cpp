#include "nearest.h"

#include "knownUnit.h"
#include "knownUnits.h"
#include "talmo/Units.h"

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

struct Row {
    const char *name;
    const char *nearest; ///< null for none
};

void check(const Row &row, const QStringList &names)
{
    SCOPED_TRACE(row.name);
    EXPECT_EQ(nearestName(row.name, names), QString(row.nearest));
}

} // namespace

TEST(Nearest, IsTheNameThatDiffersInFewCharacters)
{
    const QStringList names = {"alpha", "beta", "gamma", "be", "", "unfinished"};
    const Row rows[] = {
        {"alpha", "alpha"},
        {"ALPHA", "alpha"},
        {"BE", "be"},
        {"bx", nullptr}, // in two characters each tells too much
        {"bet", "beta"},
        {"betaa", "beta"},
        {"btea", "beta"}, // two exchanged
        {"bxxa", nullptr},
        {"alfa", nullptr}, // two would have to change in four
        {"alph", "alpha"},
        {"gamme", "gamma"},
        {"unfinishd", "unfinished"},
        {"unfinshd", "unfinished"},
        {"unfnshd", nullptr},
        {"", nullptr},
        {"x", nullptr},
    };
    for (const Row &row : rows)
        check(row, names);
    check({"alpha", nullptr}, {});
}

TEST(Nearest, IsTheFirstOfSeveral)
{
    check({"abcd", "abcx"}, {"abcx", "abcy"});
    check({"abcd", "ABCD"}, {"abcx", "ABCD"}); // the same letters are nearer
}

TEST(Nearest, IsSuggestedForUnits)
{
    const Row rows[] = {
        {"Mev", "MeV"},
        {"MM", "mm"},
        {"Tesla", "tesla"},
        {"metre", "meter"},
        {"microns", "micron"},
        {"parsec", nullptr},
        {"q", nullptr},
    };
    for (const Row &row : rows)
        check(row, knownUnits());
    EXPECT_EQ(suggestion("Mev", knownUnits()), " (did you mean MeV?)");
    EXPECT_EQ(suggestion("parsec", knownUnits()), "");
}

TEST(Nearest, ALongNameTakesNoLongTime)
{
    check({QByteArray(10000000, 'm').constData(), nullptr}, knownUnits());
}

TEST(KnownUnits, AreThoseOfTheTableAlone)
{
    const auto count = knownUnits().size();
    EXPECT_EQ(count, 69);
    EXPECT_FALSE(knownUnits().contains(QString()));
    Units::value("3parsec", "", nullptr); // the library remembers it
    EXPECT_EQ(knownUnits().size(), count);
    QString problem;
    EXPECT_FALSE(areUnits("parsec", problem));
    EXPECT_EQ(problem, "unknown unit 'parsec'");
}

TEST(KnownUnits, AreNotRememberedWhenTheyAreUnknown)
{
    const auto kinds = Units::typeHash.size();
    const auto factors = Units::factorHash.size();
    QString problem;
    EXPECT_FALSE(areUnits("furlong", problem));
    EXPECT_FALSE(isKnownUnit("furlong"));
    for (const char *const units : {"", "-", "*", "mm"})
        EXPECT_TRUE(areUnits(units, problem)) << units;
    EXPECT_EQ(Units::typeHash.size(), kinds);
    EXPECT_EQ(Units::factorHash.size(), factors);
}
