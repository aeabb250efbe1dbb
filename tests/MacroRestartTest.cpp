#include "LibraryTest.h"
#include "RegExp.h"

#include <optional>
#include <random>

// Expansion by its definition, on random texts and tables: while there is a reference of a kind,
// the first one is replaced, and the search starts again at the beginning of the text.

using Talmo::Error;
using Talmo::Macro;
using Talmo::RE;
using Talmo::RegExp;
using Talmo::Units;

namespace
{

class PlainExpansion
{
public:
    /// The expansion of \a text; nothing if it takes more than a few hundred steps.
    std::optional<QString> expand(QString text)
    {
        const QString whole = text;
        if (!replaceNames(R"(\$([A-Za-z0-9_]+))", text) ||
            !replaceNames(R"(\$\{([A-Za-z0-9_]*)\})", text) || !replaceCounters(text))
            return failed();
        while (find(R"(\$\{([^}]*)\})", text))
            text.replace(position, length, evaluated(inside));
        if (endless)
            return std::nullopt;
        if (RE.match(R"(\$\{)", text)) {
            Error::syntax("unbalanced ${ in '" + whole + "'");
            return "";
        }
        return text;
    }

private:
    std::optional<QString> failed() const
    {
        if (endless)
            return std::nullopt;
        return "";
    }

    bool find(const QString &pattern, const QString &text)
    {
        endless = endless || ++steps > 300;
        if (endless || !RE.match(pattern, text))
            return false;
        position = RegExp::prev->pos(0);
        length = RegExp::prev->matchedLength();
        inside = RegExp::prev->cap(1);
        return true;
    }

    bool undefined()
    {
        Error::syntax("Undefined macro '" + inside + "'");
        return false;
    }

    bool replaceNames(const QString &pattern, QString &text)
    {
        while (find(pattern, text)) {
            if (!Macro::isDefined(inside))
                return undefined();
            text.replace(position, length, Macro::value(inside));
        }
        return !endless;
    }

    bool replaceCounters(QString &text)
    {
        while (find(R"(\$\{([A-Za-z0-9_]*)\+\+\})", text)) {
            if (!Macro::hash.contains(inside))
                return undefined();
            text.replace(position, length, Macro::hash[inside]);
            Macro::hash[inside] = Macro::successor(Macro::hash[inside]);
        }
        return !endless;
    }

    static QString evaluated(QString expression)
    {
        QString format = "%g";
        QString units = "-";
        if (RE.match("^(%[^;]+);", expression)) {
            format = RegExp::prev->cap(1);
            expression.remove(0, RegExp::prev->matchedLength());
        }
        if (RE.match(";([A-Za-z0-9]*)$", expression)) {
            units = RegExp::prev->cap(1);
            expression.chop(RegExp::prev->matchedLength());
        }
        return Units::evaluate(format, expression, units);
    }

    int steps = 0;
    bool endless = false;
    int position = 0;
    int length = 0;
    QString inside;
};

class MacroRestart : public LibraryTest
{
protected:
    /// Up to \a count pieces of what references are made of, with the names from index \a first on:
    /// the evaluator, too, would go on for ever with a macro that refers to itself.
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
        const QString text = QString(n % 5 * 70, '-') + randomText(12, 0); // up to a long line

        const std::optional<QString> expected = PlainExpansion().expand(text);
        const QString report = printed();
        const Macro::Table after = Macro::hash;
        if (!expected.has_value()) // goes on for ever
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
