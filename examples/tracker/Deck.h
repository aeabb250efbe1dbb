#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The input deck has one command on a line. The macros of the line are expanded (expandLine), it
/// is split into words (splitWords), and these become a step (parseStep) or define a macro. Only
/// readDeck knows the order in which commands may stand.
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

/// Reads a deck: first a beam, last an output, and any commands in between. For any other file,
/// says in \a error what is wrong and where, and returns false; also if the library has reported a
/// problem with a line.
bool readDeck(const std::string &file, Deck &deck, std::string &error);

/// Turns the words of one deck line into a step, and does not set its line number. If they are no
/// command, says in \a what is wrong and returns false. A problem that the library only reports
/// does not count here.
bool parseStep(const std::vector<std::string> &words, Step &step, std::string &what);

} // namespace tracker
