#include "Words.h"
#include "Printing.h"

#include <random>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

using Texts = std::vector<std::string>;

Texts textsOf(const Words &words)
{
    Texts texts;
    for (size_t index = 0; index < words.count(); ++index)
        texts.emplace_back(words[index]);
    return texts;
}

Texts wordsOf(std::string_view line)
{
    Words words;
    words.split(line);
    return textsOf(words);
}

} // namespace

TEST(Words, AreSeparatedByRunsOfBlanks)
{
    const struct {
        const char *line;
        Texts words;
    } rows[] = {
        {"a", {"a"}},
        {"1 2", {"1", "2"}},
        {"  1   2  ", {"1", "2"}},
        {"1\t2", {"1", "2"}},
        {"\t1 \v\f 2\n", {"1", "2"}},
        {"1\r2", {"1", "2"}},
        {"# a  b", {"#", "a", "b"}},
        {"a,b;c", {"a,b;c"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(wordsOf(row.line), row.words);
    }
}

TEST(Words, ABlankLineIsOneEmptyWord)
{
    for (const char *line : {"", " ", " \t\v\f\r\n ", "\xC2\xA0", " \xE3\x80\x80 "}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(wordsOf(line), Texts({""}));
    }
    EXPECT_EQ(wordsOf(std::string_view()), Texts({""}));
}

TEST(Words, UnicodeHasBlanksOfItsOwn)
{
    const char16_t blanks[] = {
        0x0085, 0x00A0, 0x1680, 0x2000, 0x2003, 0x200A, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
    for (const char16_t blank : blanks) {
        const QString line = QLatin1Char('1') + QString(2, QChar(blank)) + QLatin1Char('2');
        SCOPED_TRACE(line.toStdString());
        EXPECT_EQ(wordsOf(line.toStdString()), Texts({"1", "2"}));
    }
}

TEST(Words, OtherInvisibleCharactersBelongToTheWord)
{
    const char16_t characters[] = {
        0x0001, 0x0008, 0x000E, 0x001C, 0x001F, 0x007F, 0x0084, 0x200B, 0x2060, 0xFEFF};
    for (const char16_t character : characters) {
        const QString line = QChar(character) + QString::fromLatin1("1 ") + QChar(character);
        const std::string one = QString(QChar(character)).toStdString();
        SCOPED_TRACE(int(character));
        EXPECT_EQ(wordsOf(line.toStdString()), Texts({one + "1", one}));
    }
    using std::string_view_literals::operator""sv;
    EXPECT_EQ(wordsOf("\0 a\0b"sv), Texts({std::string(1, '\0'), std::string("a\0b", 3)}));
}

TEST(Words, InvalidUtf8BecomesReplacementCharacters)
{
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(wordsOf("\xFF 1"), Texts({replacement, "1"}));
    EXPECT_EQ(wordsOf("1\xC3 \xA0"), Texts({"1" + replacement, replacement}));
    EXPECT_EQ(wordsOf("a \xC3"), Texts({"a", replacement}));
}

TEST(Words, AreThoseOfQStringSimplifiedAndSplit)
{
    const QString alphabet = QString::fromUtf8("1a#-  \t\n\v\f\r\x1F\u0085\u00A0é\u2003\u2028"
                                               "\u200B\u3000\uFEFF\uFFFD");
    std::mt19937 random(3);
    Words words; // is used for all lines, as in a comparison
    for (int n = 0; n < 50000; ++n) {
        QString line;
        for (auto length = random() % 12; length > 0; --length)
            line += alphabet[static_cast<int>(random() % static_cast<unsigned>(alphabet.size()))];
        Texts expected;
        for (const QString &word : line.simplified().split(QLatin1Char(' ')))
            expected.push_back(word.toStdString());
        const std::string text = line.toStdString();
        SCOPED_TRACE(text);
        words.split(text);
        ASSERT_EQ(textsOf(words), expected);
    }
}

TEST(Words, AreReplacedByTheNextSplit)
{
    Words words;
    words.split("a b c");
    words.split("\xC3\xA4 \xC3\xB6");
    EXPECT_EQ(textsOf(words), Texts({"\xC3\xA4", "\xC3\xB6"}));
    words.split("1");
    EXPECT_EQ(textsOf(words), Texts({"1"}));
    words.split("");
    EXPECT_EQ(textsOf(words), Texts({""}));
}

TEST(Words, CanBeManyAndLong)
{
    std::string line;
    for (int n = 0; n < 100000; ++n)
        line += " w";
    EXPECT_EQ(wordsOf(line), Texts(100000, "w"));
    const std::string word(3000000, 'w');
    EXPECT_TRUE(wordsOf(' ' + word + ' ') == Texts({word}));
}
