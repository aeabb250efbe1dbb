#include "LibraryTest.h"
#include "PlainExpansion.h"

#include <random>

// Compares expansion with its plain definition, on random texts and tables.

using Talmo::Macro;

namespace
{

class MacroRestart : public LibraryTest
{
protected:
    /// Up to \a count pieces of which references are made, with names only from index \a first on.
    /// So no macro refers to itself, with which the evaluator, too, would go on for ever.
    QString randomText(std::size_t count, std::size_t first)
    {
        const char *const pieces[] = {"$", "$", "$", "${", "${", "{", "}", "}", "}", "++}", "+",
            "3", "2mm", ";", "%g;", "%.2f;", " ", "_", "é", "(", "*"};
        QString text;
        for (std::size_t left = random() % (count + 1); left > 0; --left) {
            if (first < std::size(names) && random() % 3 == 0)
                text += names[first + random() % (std::size(names) - first)];
            else
                text += QString::fromUtf8(pieces[random() % std::size(pieces)]);
        }
        return text;
    }

    static constexpr const char *names[] = {"a", "b", "ab", "1", "n", "m"};
    std::mt19937_64 random{3};
};

} // namespace

TEST_F(MacroRestart, ExpansionIsTheSameAsByStartingAgainAfterEachReplacement)
{
    int expanded = 0;
    int failed = 0;
    for (int n = 0; n < 50000; ++n) {
        forgetMacros();
        forgetEvaluations();
        for (std::size_t index = 0; index < std::size(names); ++index) {
            Macro::Table &table = random() % 3 == 0 ? Macro::globalHash : Macro::hash;
            if (random() % 8 != 0)
                table[names[index]] = randomText(4, index + 1);
        }
        Macro::hash[""] = "3";
        const Macro::Table before = Macro::hash;
        // Up to a long line.
        const QString text = QString(70, '-').repeated(n % 5) + randomText(12, 0);

        const std::optional<QString> expected = PlainExpansion().expand(text);
        const QString report = printed();
        const Macro::Table after = Macro::hash;
        if (!expected.has_value()) // the expansion would go on for ever
            continue;

        Macro::hash = before;
        forgetEvaluations();
        ASSERT_EQ(Macro::expand(text), *expected)
            << text.toStdString() << Macro::inspect().toStdString();
        ASSERT_EQ(printed(), report) << text.toStdString();
        ASSERT_EQ(Macro::hash, after) << text.toStdString();
        (expected->isEmpty() ? failed : expanded) += 1;
    }
    EXPECT_GT(expanded, 1000);
    EXPECT_GT(failed, 1000);
}
