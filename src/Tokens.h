#pragma once

#include <QStringView>

/// Recognises numbers and names in expressions and texts. Each function finds what the regular
/// expression in its comment matches at the front of a text. It does so by hand, for speed, because
/// every number of every text passes through here. Letters and digits are those of ASCII.
///
/// A token is as long as its pattern allows. Of the text behind it, the functions look only at the
/// few characters that could have made it longer.
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
    QStringView exponent; ///< the part of the number from its "e" on; empty if there is none
    QStringView unit;     ///< empty if there is none

    bool isNumber() const { return !number.isEmpty(); }
    bool hasUnit() const { return !unit.isEmpty(); }
    int size() const { return static_cast<int>(number.size() + unit.size()); }
};

/// The number at the front of \a text, with its unit if there is one:
/// ^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?
NumberToken numberAhead(QStringView text);

/// Like numberAhead, but if no unit follows an exponent, the unit begins at the exponent's letter:
/// "1e5" is 1 with the unit "e5". A token that has a unit is the match of
/// ^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)
NumberToken numberAndUnitAhead(QStringView text);

/// Reads the whole of \a text as a number that may have a sign and a unit. Returns a token without
/// a number if it is anything else.
/// ^([-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?$
NumberToken wholeNumber(QStringView text);

/// The double nearest to \a number, the number of a token. It is infinite if that is too large.
double toDouble(QStringView number);

/// The length of the name at the front of \a text; 0 if there is none.
/// ^[A-Za-z_][A-Za-z_0-9]*
int nameAhead(QStringView text);

} // namespace Talmo
