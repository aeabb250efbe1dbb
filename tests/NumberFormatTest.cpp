#include "NumberFormat.h"
#include "Printing.h"
#include "talmo/RegExp.h"

#include <QRegExp>

#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using Talmo::printNumber;
using Talmo::RE;
using Talmo::RegExp;

namespace
{

QString plainText(QString text)
{
    return text.replace("%%", "%");
}

/// Whether \a digits are a number that is at most 4095.
bool isBounded(QString digits)
{
    while (digits.startsWith('0'))
        digits.remove(0, 1);
    return digits.size() < 4 || (digits.size() == 4 && digits <= "4095");
}

/// What printf prints for \a conversion; test programs never leave the C locale.
QString printed(const QString &conversion, double number)
{
    std::vector<char> text(10000);
    const int length =
        std::snprintf(text.data(), text.size(), conversion.toStdString().c_str(), number);
    EXPECT_TRUE(length > 0 && static_cast<std::size_t>(length) < text.size());
    return QString::fromLatin1(text.data(), length);
}

/// Compares what printNumber makes of \a format with the pattern of valid formats and with printf.
/// Returns whether the format is valid.
bool expectPrinted(const QString &format, double number)
{
    SCOPED_TRACE(format.toStdString());
    QString text = "before";
    const bool isPrinted = printNumber(format, number, text);
    const QString pattern =
        R"(^((?:[^%]|%%)*)(%[-+ #0]*([0-9]*)(?:\.([0-9]*))?l?[aAeEfFgG])((?:[^%]|%%)*)$)";
    const bool isValid = RE.match(pattern, format) && isBounded(RegExp::prev->cap(3)) &&
                         isBounded(RegExp::prev->cap(4));
    EXPECT_EQ(isPrinted, isValid);
    EXPECT_EQ(text, !isValid
                        ? "before"
                        : plainText(RegExp::prev->cap(1)) + printed(RegExp::prev->cap(2), number) +
                              plainText(RegExp::prev->cap(5)));
    return isValid;
}

class NumberFormat : public testing::Test
{
protected:
    /// A random number: one of any bits, one of everyday size, a tie of some rounding, or a special
    /// one.
    double randomNumber()
    {
        const std::uint64_t bits = random();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        switch (random() % 4) {
        case 0:
            return number;
        case 1:
            return static_cast<double>(static_cast<std::int64_t>(bits) >> (bits % 64)) / 1024;
        case 2:
            return static_cast<double>(bits % 100000) / 8;
        default:
            return special[bits % std::size(special)];
        }
    }

    template <std::size_t size>
    QString pick(const char *const (&choices)[size])
    {
        return QString::fromUtf8(choices[random() % size]);
    }

    static constexpr double infinity = std::numeric_limits<double>::infinity();
    static constexpr double special[] = {0, -0.0, infinity, -infinity,
        std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::min(),
        std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(), 0.5, 2.5, 9.5,
        999999.5, 123456.5, 0.0001, 0.000099999951, 1e15, 1e16, 1e22, 1e23};

    std::mt19937_64 random{1};
};

} // namespace

TEST_F(NumberFormat, PrintsAsPrintfDoes)
{
    int valid = 0;
    int invalid = 0;
    for (int n = 0; n < 40000; ++n) {
        const char *const plain[] = {"", "", "", "%%", "%", "x", "é", "l", "g", "5", "\n", " %%%"};
        const char *const flags[] = {"", "", "", "", "-", "+", " ", "#", "0", "00", "-+ #0", "'"};
        const char *const widths[] = {"", "", "", "5", "12", "0012", "*", "1$"};
        const char *const precisions[] = {"", "", ".", ".0", ".1", ".3", ".12", ".17", ".*", ".-1"};
        const char *const letters[] = {"g", "g", "f", "e", "F", "E", "G", "a", "A", "lg", "lf",
            "llg", "Lg", "d", "s", "n", "", "%"};
        const QString format = pick(plain) + '%' + pick(flags) + pick(widths) + pick(precisions) +
                               pick(letters) + pick(plain);
        (expectPrinted(format, randomNumber()) ? valid : invalid) += 1;
    }
    EXPECT_GT(valid, 5000);
    EXPECT_GT(invalid, 10000);
}

TEST_F(NumberFormat, TakesFormatsOfAnyCharacters)
{
    int valid = 0;
    for (int n = 0; n < 100000; ++n) {
        QString format;
        for (auto length = random() % 8; length > 0; --length)
            format += QString("%%%.-+05lg")[static_cast<int>(random() % 10)];
        valid += expectPrinted(format, 2.5);
    }
    EXPECT_GT(valid, 1000);
    const QChar odd[] = {QChar(0), QChar(0xD800), QChar(0xDFFF), QChar(0x0125), QChar(0x0667),
        QChar(0xFF05), QChar(0x2030)}; // "%" in the low bits, a digit and percent signs of Unicode
    for (const QChar character : odd) {
        for (const char *format : {"~%g", "%g~", "%~g", "%~", "~", "%.~g", "%.5~g", "%l~", "%~%g"})
            expectPrinted(QString(format).replace('~', character), 2.5);
    }
}

TEST_F(NumberFormat, PrintsAsManyDigitsAsAreAskedForUpTo4095)
{
    for (const char *precision : {"0", "1", "15", "16", "17", "40", "325", "767", "1074", "1075",
             "4094", "4095", "4096", "00004095", "40950", "2147483648", "99999999999999999999"}) {
        for (const char *letter : {"e", "f", "g"}) {
            for (const double number : special)
                expectPrinted(QString("%.") + precision + letter, number);
        }
        expectPrinted(QString("%") + precision + 'g', 0.1);
    }
}

TEST_F(NumberFormat, PrintsRandomNumbersAsPrintfDoes)
{
    for (int n = 0; n < 200000; ++n) {
        const QString format = QString("%.%1%2").arg(random() % 20).arg(QChar("efg"[n % 3]));
        const double number = randomNumber();
        QString text;
        ASSERT_TRUE(printNumber(format, number, text));
        ASSERT_EQ(text, printed(format, number)) << format.toStdString();
    }
}

TEST_F(NumberFormat, TakesLongFormats)
{
    const QString text(100000, 'x');
    expectPrinted(text + "%g" + text, 1);
    expectPrinted(QString("%%").repeated(100000) + "%g", 1);
    expectPrinted(QString("%%").repeated(100000) + 'g', 1);
    expectPrinted('%' + QString(100000, '0') + "5g", 1);
}
