// A number consists of a mantissa, an exponent and a unit. For each of them a function returns
// where it ends, and the next one starts there. A part counts only if it is complete: a point or an
// "e" needs a digit behind it. Otherwise the part before it ends the number, as it does for a
// regular expression that has to go back.

#include "Tokens.h"

#include "talmo/Numbers.h"

#include <QVarLengthArray>

#include <algorithm>
#include <limits>
#include <string_view>

namespace Talmo
{

namespace
{

/// The character at \a position of \a text; null behind the end.
QChar characterAt(QStringView text, int position)
{
    return position < text.size() ? text[position] : QChar();
}

/// The first position, from \a position of \a text on, whose character is not of this \a kind.
template <typename Predicate>
int endOf(Predicate kind, QStringView text, int position)
{
    while (position < text.size() && kind(text[position]))
        ++position;
    return position;
}

bool isSign(QChar character)
{
    return character == '-' || character == '+';
}

int mantissaEnd(QStringView text)
{
    const int whole = endOf(isDigit, text, 0);
    const int fraction = whole + 1;
    if (characterAt(text, whole) != '.' || !isDigit(characterAt(text, fraction)))
        return whole; // a point without a digit behind it does not belong to the number
    return endOf(isDigit, text, fraction);
}

/// Where the exponent at \a position of \a text ends; \a position if there is none.
int exponentEnd(QStringView text, int position)
{
    const QChar letter = characterAt(text, position);
    if (letter != 'e' && letter != 'E')
        return position;
    const int sign = position + 1;
    const int digits = isSign(characterAt(text, sign)) ? sign + 1 : sign;
    return isDigit(characterAt(text, digits)) ? endOf(isDigit, text, digits) : position;
}

/// Where the unit at \a position of \a text ends; \a position if there is none.
int unitEnd(QStringView text, int position)
{
    return isLetter(characterAt(text, position)) ? endOf(isLetterOrDigit, text, position)
                                                 : position;
}

/// The part of \a text from \a begin up to \a end.
QStringView part(QStringView text, int begin, int end)
{
    return text.mid(begin, end - begin);
}

} // namespace

NumberToken numberAhead(QStringView text)
{
    const int mantissa = mantissaEnd(text);
    if (mantissa == 0)
        return {};
    const int number = exponentEnd(text, mantissa);
    const int unit = unitEnd(text, number);
    return {text.left(number), part(text, mantissa, number), part(text, number, unit)};
}

NumberToken numberAndUnitAhead(QStringView text)
{
    const NumberToken token = numberAhead(text);
    if (token.hasUnit() || token.exponent.isEmpty())
        return token;
    const int mantissa = static_cast<int>(token.number.size() - token.exponent.size());
    return {text.left(mantissa), {}, part(text, mantissa, unitEnd(text, mantissa))};
}

NumberToken wholeNumber(QStringView text)
{
    const int sign = isSign(characterAt(text, 0)) ? 1 : 0;
    NumberToken token = numberAhead(text.mid(sign));
    if (!token.isNumber() || sign + token.size() != text.size())
        return {};
    token.number = text.left(sign + token.number.size());
    return token;
}

double toDouble(QStringView number)
{
    QVarLengthArray<char, 64> digits(static_cast<int>(number.size()));
    std::transform(number.begin(), number.end(), digits.begin(),
        [](QChar character) { return character.toLatin1(); });
    const double infinity = std::numeric_limits<double>::infinity();
    double value = number.front() == '-' ? -infinity : infinity;
    // toNumber fails only if the number overflows; then value stays infinite.
    toNumber({digits.constData(), static_cast<std::size_t>(digits.size())}, value);
    return value;
}

int nameAhead(QStringView text)
{
    return isDigit(characterAt(text, 0)) ? 0 : endOf(isWordCharacter, text, 0);
}

} // namespace Talmo
