#include "lineText.h"

#include "Printing.h"

#include <gtest/gtest.h>

#include <random>

using Talmo::appendBytes;
using Talmo::columnAt;
using Talmo::textOf;

namespace
{

std::string bytesOf(const QString &text)
{
    std::string bytes = "before ";
    appendBytes(bytes, text);
    return bytes.substr(7);
}

} // namespace

TEST(LineText, IsThatOfUtf8)
{
    for (const char *const text : {"", "plain", "\xC3\xA4",
             "a\xE2\x82\xAC"
             "b",
             "\xF0\x9F\x98\x80", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(textOf(text), QString::fromUtf8(text));
        EXPECT_EQ(bytesOf(QString::fromUtf8(text)), text);
    }
    EXPECT_EQ(textOf(std::string_view("a\0b", 3)).size(), 3);
}

TEST(LineText, GivesItsBytesBack)
{
    std::mt19937 random(11);
    const std::string pieces[] = {"a", "$x", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
        "\xED\xB2\x80", "\xED\xA0\x80", "\xC0\x80", "\xE0\x80\x80", "\xF4\x90\x80\x80",
        "\xF0\x80\x80\x80"};
    for (int count = 0; count < 20000; ++count) {
        std::string bytes;
        for (auto left = random() % 12; left > 0; --left)
            bytes += random() % 2 == 0 ? pieces[random() % std::size(pieces)]
                                       : std::string(1, static_cast<char>(random()));
        const QString text = textOf(bytes);
        ASSERT_EQ(bytesOf(text), bytes);
        // In parts, too, wherever it is cut.
        const auto cut =
            text.isEmpty() ? 0 : static_cast<int>(random() % static_cast<unsigned>(text.size()));
        if (cut > 0 && text[cut].isLowSurrogate() && text[cut - 1].isHighSurrogate())
            continue;
        ASSERT_EQ(bytesOf(text.left(cut)) + bytesOf(text.mid(cut)), bytes);
    }
}

TEST(LineText, CountsCharactersAsColumns)
{
    const QString text = textOf("a\xC3\xA4\xFF\xF0\x9F\x98\x80z");
    ASSERT_EQ(text.size(), 6);
    EXPECT_EQ(columnAt(text, 0), 1);
    EXPECT_EQ(columnAt(text, 1), 2);
    EXPECT_EQ(columnAt(text, 2), 3);
    EXPECT_EQ(columnAt(text, 3), 4);
    EXPECT_EQ(columnAt(text, 5), 5);
    EXPECT_EQ(columnAt(text, 6), 6);
    EXPECT_EQ(columnAt(text, 100), 6);
    EXPECT_EQ(columnAt(std::string_view("a\xC3\xA4\xFFz"), 4), 4);
}
