#pragma once

#include <QStringView>

/// What numbers and names look like in expressions and texts. Each function reads the regular
/// expression quoted with it at the front of a text, by hand, for speed: every number of every text
/// passes through here. Letters and digits are those of ASCII.
///
/// A token is as long as its pattern allows. Nothing behind it is looked at, but for the few
/// characters that could have made it longer.
namespace Talmo
{

inline bool isDigit(QChar character)
{
    return character >= '0' && character <= '9';
}

inline bool isLetter(QChar character)
{
    const int lowerCase = character.unicode() | 0x20; // the bit that tells "A" from "a"
    return lowerCase >= 'a' && lowerCase <= 'z';
}

inline bool isLetterOrDigit(QChar character)
{
    return isLetter(character) || isDigit(character);
}

/// Whether \a character belongs to names: a letter, a digit or "_".
inline bool isWordCharacter(QChar character)
{
    return isLetterOrDigit(character) || character == '_';
}

/// Whether \a character begins a number: a digit or ".".
inline bool isNumberStart(QChar character)
{
    return isDigit(character) || character == '.';
}

/// A number and the unit directly behind it, as parts of the text that was read.
struct NumberToken {
    QStringView number;   ///< sign, digits, point and exponent; empty if there is no number
    QStringView exponent; ///< of the number, from its letter on; empty if there is none
    QStringView unit;     ///< empty if there is none

    bool isNumber() const { return !number.isEmpty(); }
    bool hasUnit() const { return !unit.isEmpty(); }
    int size() const { return static_cast<int>(number.size() + unit.size()); }
};

/// The number at the front of \a text, with its unit if there is one:
/// ^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?
NumberToken numberAhead(QStringView text);

/// As numberAhead, but with a unit wherever there can be one, even at the cost of the exponent:
/// "1e5" is 1 with the unit "e5". With a unit it is the match of
/// ^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)
NumberToken numberAndUnitAhead(QStringView text);

/// The whole of \a text as a number that may have a sign and a unit; none if it is anything else.
/// ^([-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?$
NumberToken wholeNumber(QStringView text);

/// The double nearest to \a number, the number of a token: infinite if it is too large.
double toDouble(QStringView number);

/// The length of the name at the front of \a text; 0 if there is none.
/// ^[A-Za-z_][A-Za-z_0-9]*
int nameAhead(QStringView text);

} // namespace Talmo
