// The commands and their parameters are tables. A line goes one way: its macros are expanded, it is
// split into words, and the words become a step or define a macro. The library sometimes only
// reports a problem and goes on, so a line during which it has reported one is an error.

#include "Deck.h"

#include "Expansion.h"
#include "Expression.h"
#include "Text.h"
#include "talmo/Error.h"

#include <algorithm>
#include <cstring>

namespace tracker
{

namespace
{

struct Command {
    const char *word;
    Action action;
    const char *parameters; ///< a letter for each: F for a file, others as in `quantities`
    const char *usage;
};

// clang-format off
constexpr Command commands[] = {
    { "beam",       Action::ReadBeam,   "F",  "beam FILE"             },
    { "drift",      Action::Drift,      "L",  "drift LENGTH"          },
    { "quad",       Action::Quad,       "GL", "quad GRADIENT LENGTH"  },
    { "solenoid",   Action::Solenoid,   "BL", "solenoid FIELD LENGTH" },
    { "accelerate", Action::Accelerate, "E",  "accelerate ENERGY"     },
    { "reverse",    Action::Reverse,    "",   "reverse"               },
    { "output",     Action::WriteBeam,  "F",  "output FILE"           },
};

struct Parameter {
    char letter;
    Quantity quantity;
    double Step::*number;
};

constexpr Parameter quantities[] = {
    { 'L', { "a length",   "mm"  }, &Step::length },
    { 'G', { "a gradient", "Tpm" }, &Step::field  },
    { 'B', { "a field",    "T"   }, &Step::field  },
    { 'E', { "an energy",  "MeV" }, &Step::energy },
};
// clang-format on

const Command *findCommand(const std::string &word)
{
    const auto *found = std::find_if(std::begin(commands), std::end(commands),
        [&](const Command &command) { return command.word == word; });
    return found == std::end(commands) ? nullptr : found;
}

/// The message about \a words that are not as many as \a usage shows.
std::string wrongUsage(const char *usage, const std::vector<std::string> &words)
{
    return "expected " + quoted(usage) + ", found " + quoted(joinWords(words));
}

bool parseParameter(char letter, const std::string &word, Step &step, std::string &what)
{
    if (letter == 'F') {
        step.file = word;
        return true;
    }
    const Parameter &parameter = *std::find_if(std::begin(quantities), std::end(quantities),
        [&](const Parameter &row) { return row.letter == letter; });
    double &number = step.*parameter.number;
    if (!readQuantity(word, parameter.quantity, number, what))
        return false;
    if (letter == 'L' && number < 0) {
        what = "negative length " + quoted(word);
        return false;
    }
    return true;
}

/// Why \a step must not be added to \a steps; empty if it may be.
std::string misplaced(const Step &step, const std::vector<Step> &steps)
{
    const bool first = steps.empty();
    if (first && step.action != Action::ReadBeam)
        return "the first command must be 'beam FILE', found " + quoted(commandWord(step.action));
    if (!first && step.action == Action::ReadBeam)
        return "'beam' may only be the first command";
    return {};
}

/// Takes \a text, an expanded line, which may be a definition.
bool takeCommand(const std::string &text, std::size_t line, Deck &deck, std::string &what)
{
    const std::vector<std::string> words = splitWords(text);
    if (words.empty()) // the line is blank, or an error in a macro has left nothing of it
        return true;
    if (words.front() == "define") {
        if (words.size() >= 3)
            return defineMacro(words[1], textAfterWords(text, 2), what);
        what = wrongUsage("define NAME TEXT", words);
        return false;
    }
    Step step;
    step.line = line;
    if (!parseStep(words, step, what))
        return false;
    what = misplaced(step, deck.steps);
    if (!what.empty())
        return false;
    deck.steps.push_back(step);
    return true;
}

/// Takes line number \a number of the deck, which may be blank or a comment. A line with which the
/// library has reported a problem is refused: it carries on with what it has, "sin(1mm)" comes to
/// 1mm, and a simulation that went on with that would look right and be wrong.
bool readLine(const std::string &raw, std::size_t number, Deck &deck, std::string &what)
{
    const std::string line = textAfterWords(raw, 0); // without the blanks around it
    if (line.empty() || line.front() == '#')
        return true;
    DeckScope::setLine(line, number);
    const qint64 reported = Talmo::Error::reported();
    std::string text = line;
    const bool good = expandLine(text, what) && takeCommand(text, number, deck, what);
    if (Talmo::Error::reported() == reported)
        return good;
    what = "error in " + quoted(line);
    return false;
}

} // namespace

const char *commandWord(Action action)
{
    for (const Command &command : commands) {
        if (command.action == action)
            return command.word;
    }
    return "";
}

bool parseStep(const std::vector<std::string> &words, Step &step, std::string &what)
{
    const Command *const command = findCommand(words.front());
    if (!command) {
        what = "unknown element " + quoted(words.front());
        return false;
    }
    if (words.size() != 1 + std::strlen(command->parameters)) {
        what = wrongUsage(command->usage, words);
        return false;
    }
    step.action = command->action;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (!parseParameter(command->parameters[i - 1], words[i], step, what))
            return false;
    }
    return true;
}

bool readDeck(const std::string &file, Deck &deck, std::string &error)
{
    std::vector<std::string> lines;
    if (!readLines(file, lines)) {
        error = file + ": cannot read the file";
        return false;
    }
    deck.name = file;
    const DeckScope scope;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string what;
        if (!readLine(lines[i], i + 1, deck, what)) {
            error = messageAt(file, i + 1, what);
            return false;
        }
    }
    if (deck.steps.empty()) {
        error = file + ": the deck has no commands";
        return false;
    }
    const Step &last = deck.steps.back();
    if (last.action != Action::WriteBeam) {
        error = messageAt(file, last.line,
            "the last command must be 'output FILE', found " + quoted(commandWord(last.action)));
        return false;
    }
    return true;
}

} // namespace tracker
