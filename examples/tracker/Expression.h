#pragma once

#include "talmo/Flaw.h"

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
/// is wrong, if it is no expression, another kind of quantity, or not finite. A problem that the
/// library reports (see Talmo::Error::reported) does not count here.
bool readQuantity(
    const std::string &word, const Quantity &quantity, double &number, std::string &what);

/// What the tracker says of \a flaw; nothing if there is none, or if the library reports it itself.
std::string messageAbout(const Talmo::Flaw &flaw);

} // namespace tracker
