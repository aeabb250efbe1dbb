#include "WorkingText.h"
#include "Printing.h"

#include <random>

#include <gtest/gtest.h>

using Talmo::WorkingText;

namespace
{

QString randomText(std::mt19937 &random, int length, const QString &letters)
{
    QString text;
    for (; length > 0; --length)
        text += letters[static_cast<int>(random() % static_cast<unsigned>(letters.size()))];
    return text;
}

} // namespace

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
            ASSERT_EQ(text.ahead().toString(), plain);
        }
    }
}
