#include "WorkingText.h"
#include "Printing.h"
#include "RegExp.h"

#include <random>

#include <gtest/gtest.h>

using Talmo::RE;
using Talmo::RegExp;
using Talmo::WorkingText;

namespace
{

/// All that is left of \a text, which is consumed.
QString consumed(WorkingText &text)
{
    QString whole;
    while (!text.isEmpty()) {
        whole += text.nextToken()[0];
        text.drop(1);
    }
    return whole;
}

const char *const patterns[] = {
    R"(^([A-Za-z_][A-Za-z_0-9]*)\()",
    R"(^([A-Za-z_][A-Za-z_0-9]*))",
    R"(^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?)",
    R"(^>=)",
    R"(^\|\|)",
    R"(^\()",
};

QString randomText(std::mt19937 &random, int length, const QString &letters)
{
    QString text;
    for (; length > 0; --length)
        text += letters[static_cast<int>(random() % static_cast<unsigned>(letters.size()))];
    return text;
}

} // namespace

TEST(WorkingText, TheNextTokenShowsWhatThePatternsFindInTheWhole)
{
    std::mt19937 random(1);
    for (int n = 0; n < 20000; ++n) {
        const QString whole = randomText(random, 1 + n % 30, "01eEm_.+-(>=|");
        const QString ahead = WorkingText(whole).nextToken();
        ASSERT_TRUE(whole.startsWith(ahead));
        for (const char *pattern : patterns) {
            const bool found = RE.match(pattern, whole);
            const QStringList captures = RegExp::prev->capturedTexts();
            ASSERT_EQ(RE.match(pattern, ahead), found) << whole.toStdString();
            ASSERT_EQ(RegExp::prev->capturedTexts(), captures) << whole.toStdString();
        }
    }
}

TEST(WorkingText, TheNextTokenIsNoLongerThanItMustBe)
{
    EXPECT_EQ(WorkingText("1+1+1+1+1").nextToken(), "1+1");
    EXPECT_EQ(WorkingText("1.1.1.1.1").nextToken(), "1.1.1");
    EXPECT_EQ(WorkingText("name(1,2)").nextToken(), "name(1");
    EXPECT_EQ(WorkingText("12.5e-3mm*2").nextToken(), "12.5e-3mm*2");
    EXPECT_EQ(WorkingText("((((").nextToken(), "((");
    EXPECT_EQ(WorkingText("x").nextToken(), "x");
    // A name is soon replaced; whatever long word follows is not looked at again and again.
    EXPECT_EQ(WorkingText("m0+" + QString(1000, '2')).nextToken(), "m0+2");
    EXPECT_EQ(WorkingText("1e+" + QString(5, '2') + "mm+3").nextToken(), "1e+22222mm+3");
    EXPECT_EQ(WorkingText("1f+" + QString(5, '2') + "mm+3").nextToken(), "1f+2");
}

TEST(WorkingText, ReplacesItsFrontLikeAPlainText)
{
    std::mt19937 random(2);
    for (int n = 0; n < 300; ++n) {
        QString plain = randomText(random, 20, "abc");
        WorkingText text(plain);
        for (int step = 0; step < 20 && !plain.isEmpty(); ++step) {
            const int length = static_cast<int>(random() % static_cast<unsigned>(plain.size() + 1));
            const QString replacement = randomText(random, static_cast<int>(random() % 12), "xyz");
            if (step % 3 == 0) {
                text.drop(length);
                plain.remove(0, length);
            } else {
                text.replaceFront(length, replacement);
                plain.replace(0, length, replacement);
            }
            ASSERT_EQ(text.isEmpty(), plain.isEmpty());
            WorkingText copy = text;
            ASSERT_EQ(consumed(copy), plain);
        }
    }
}
