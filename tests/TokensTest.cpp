#include "Tokens.h"
#include "Printing.h"
#include "talmo/RegExp.h"

#include <QRegExp>

#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

// Tokens are what their patterns match. Each test tries that on the texts that it is named for, and
// on random texts.

using Talmo::NumberToken;
using Talmo::RE;
using Talmo::RegExp;

namespace
{

const QString unsignedNumber = R"(^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?))";
const QString signedNumber = R"(^([-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?))";
const QString unit = "([A-Za-z][A-Za-z0-9]*)";

/// The captures of \a pattern in \a text: number, exponent, and unit. They are empty if it does not
/// match.
QStringList matched(const QString &pattern, const QString &text)
{
    if (!RE.match(pattern, text))
        return {"", "", ""};
    return {RegExp::prev->cap(1), RegExp::prev->cap(2), RegExp::prev->cap(3)};
}

QStringList parts(const NumberToken &token)
{
    return {token.number.toString(), token.exponent.toString(), token.unit.toString()};
}

/// Compares all tokens at the front of \a text with their patterns.
void expectTokens(const QString &text)
{
    ASSERT_EQ(parts(Talmo::numberAhead(text)), matched(unsignedNumber + unit + '?', text));
    ASSERT_EQ(parts(Talmo::wholeNumber(text)), matched(signedNumber + unit + "?$", text));
    const NumberToken number = Talmo::numberAndUnitAhead(text);
    const QString withUnit = unsignedNumber + unit;
    ASSERT_EQ(number.hasUnit(), RE.match(withUnit, text)) << text.toStdString();
    ASSERT_EQ(parts(number), matched(number.hasUnit() ? withUnit : unsignedNumber, text));

    const bool isName = RE.match("^[A-Za-z_][A-Za-z_0-9]*", text);
    ASSERT_EQ(Talmo::nameAhead(text), isName ? RegExp::prev->matchedLength() : 0)
        << text.toStdString();
}

QString randomText(std::mt19937 &random, int length, const QString &characters)
{
    QString text;
    for (; length > 0; --length)
        text += characters[static_cast<int>(random() % static_cast<unsigned>(characters.size()))];
    return text;
}

} // namespace

TEST(Tokens, AreWhatTheirPatternsMatch)
{
    for (const char *text : {"", ".", "..", "5", "5.", ".5", "5.5", "1.2.3", "1..2", "1e", "1e+",
             "1e+5", "1e5", "1E-5", "1e5e3", "1e5.5", "1e+e", "1.e5", ".e5", "e5", "1ee5", "1mm",
             "1e5mm", "1e+5mm", "1e+mm", "1mm2", "1mm_", "1_mm", "0x10", "+1", "-1mm", "+-1", "--1",
             "-", "+", "-.", "-.5e-5ns", " 1", "1 ", "1 mm", "1\n", "\n1", "mm", "_", "_a1(", "a(",
             "A9z", "a-b", "é1", "1é", "1mmé", "aé", "٣", "1٣", "a٣", "１", "1.１", "ａ", "1ａ",
             "1µm", "1{", "1[", "1@", "1`", "1:", "1/"}) {
        expectTokens(QString::fromUtf8(text));
    }
    const QChar odd[] = {QChar(0), QChar(0xD800), QChar(0xDFFF), QChar(0xFFFF), QChar(0x0161)};
    for (const QChar character : odd) { // U+0161 differs from "a" in one bit
        for (const QString text : {"%1", "%11", "1%1", "1.%1", "1e%1", "1e5%1", "1m%1", "a%1"})
            expectTokens(QString(text).replace("%1", character));
    }
}

TEST(Tokens, AreWhatTheirPatternsMatchInRandomTexts)
{
    std::mt19937 random(1);
    for (int n = 0; n < 30000; ++n) {
        expectTokens(randomText(random, n % 12, "0019.eE+-m"));
        expectTokens(randomText(random, n % 8, QString::fromUtf8("01.eE+-mZ_ (é٣\x7F")));
    }
    if (HasFatalFailure())
        return;
    for (unsigned character = 0; character <= 0xFFFF; ++character) {
        for (const QString text : {"%1", "1%1", "1m%1"})
            expectTokens(QString(text).replace("%1", QChar(static_cast<char16_t>(character))));
    }
}

TEST(Tokens, MayBeOfAnyLength)
{
    const QString digits(100000, '1');
    expectTokens(digits + '.' + digits + 'e' + digits + 'm' + digits);
    expectTokens('m' + digits);
    EXPECT_EQ(Talmo::numberAhead(digits).size(), 100000);
}

TEST(ToDouble, IsTheNearestDoubleOrInfinite)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        QString text;
        double number;
    } rows[] = {
        {"1", 1},
        {"+1", 1},
        {"-1.5", -1.5},
        {".5e1", 5},
        {"1e999", infinity},
        {"-1e999", -infinity},
        {"+1e999", infinity},
        {"4.9e-324", 4.9e-324},
        {"1e-999", 0},
        {QString(309, '9'), infinity},
        {QString(1000, '0') + '7', 7},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        EXPECT_EQ(Talmo::toDouble(row.text), row.number);
    }
    EXPECT_TRUE(std::signbit(Talmo::toDouble(QString("-0"))));
}
