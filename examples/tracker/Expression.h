#pragma once

#include <string>

/// The numbers of a deck: expressions with units, as the library evaluates them, but stricter.
namespace tracker
{

/// A kind of number in a deck.
struct Quantity {
    const char *name; ///< as messages call it, "a length"
    const char *unit; ///< its own unit, a name of the library's table
};

/// Reads \a word, an expression, as a \a number in the own unit of \a quantity. A result without a
/// unit is in that unit already, one with a unit is converted. Returns false, and says in \a what
/// is wrong, if it is no expression, another kind of quantity, or not finite. A problem
/// that the library reports (see Talmo::Error::reported) does not count here.
bool readQuantity(
    const std::string &word, const Quantity &quantity, double &number, std::string &what);

/// Whether \a unit is in the library's table; so is "", no unit.
bool isKnownUnit(const std::string &unit);

/// What is wrong in \a expression that the library may pass over in silence, or nothing: operands
/// and operators that do not take turns, parentheses that are not closed, a minus sign behind
/// another; a name that is no macro, which it takes for an empty text; an unknown unit, which it
/// takes for 0; a macro that refers to itself, with which it would never end.
std::string silentFlaw(const std::string &expression);

} // namespace tracker
