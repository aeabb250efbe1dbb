#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The input deck: one command on a line, which goes from a text line through its macros
/// (expandLine) to words (splitWords) to a step (parseStep), or defines a macro. Only readDeck
/// knows the order in which commands may stand.
namespace tracker
{

enum class Action { ReadBeam, Drift, Quad, Solenoid, Accelerate, Reverse, WriteBeam };

/// One command of a deck.
struct Step {
    Action action = Action::Drift;
    double field = 0;     ///< Quad: gradient, T/m. Solenoid: field, T. Otherwise 0
    double length = 0;    ///< mm, not negative
    double energy = 0;    ///< Accelerate: MeV, negative to decelerate
    std::string file;     ///< ReadBeam, WriteBeam: track file
    std::size_t line = 0; ///< where it stands in the deck, from 1
};

struct Deck {
    std::string name; ///< as given to readDeck
    std::vector<Step> steps;
};

/// The command word of \a action, for messages.
const char *commandWord(Action action);

/// Reads a deck: a beam first, an output last, any commands in between. Returns false, and says in
/// \a error where and what is wrong, for any other file, also if the library has reported a problem
/// with a line.
bool readDeck(const std::string &file, Deck &deck, std::string &error);

/// Turns the words of one deck line into a step; its line number is left alone. Returns false, and
/// says in \a what is wrong, if they are no command; what the library only reports is not told.
bool parseStep(const std::vector<std::string> &words, Step &step, std::string &what);

} // namespace tracker
