#include "Deck.h"

#include "Numbers.h"
#include "Text.h"

#include <algorithm>
#include <cstring>

namespace tracker
{

namespace
{

struct Command {
    const char *word;
    Action action;
    const char *parameters; ///< one letter each: File, Strength of the field, Length
    const char *usage;
};

// clang-format off
constexpr Command commands[] = {
    { "beam",     Action::ReadBeam,  "F",  "beam FILE"             },
    { "drift",    Action::Drift,     "L",  "drift LENGTH"          },
    { "quad",     Action::Quad,      "SL", "quad GRADIENT LENGTH"  },
    { "solenoid", Action::Solenoid,  "SL", "solenoid FIELD LENGTH" },
    { "reverse",  Action::Reverse,   "",   "reverse"               },
    { "output",   Action::WriteBeam, "F",  "output FILE"           },
};
// clang-format on

const Command *findCommand(const std::string &word)
{
    const auto *found = std::find_if(std::begin(commands), std::end(commands),
        [&](const Command &command) { return command.word == word; });
    return found == std::end(commands) ? nullptr : found;
}

bool parseParameter(char kind, const std::string &word, Step &step, std::string &what)
{
    if (kind == 'F') {
        step.file = word;
        return true;
    }
    double &number = kind == 'L' ? step.length : step.field;
    if (!Talmo::toNumber(word, number)) {
        what = quoted(word) + " is not a number";
        return false;
    }
    if (kind == 'L' && number < 0) {
        what = "negative length " + quoted(word);
        return false;
    }
    return true;
}

/// What is wrong with adding \a step to \a steps, or nothing.
std::string misplaced(const Step &step, const std::vector<Step> &steps)
{
    const bool first = steps.empty();
    if (first && step.action != Action::ReadBeam)
        return "the first command must be 'beam FILE', found " + quoted(commandWord(step.action));
    if (!first && step.action == Action::ReadBeam)
        return "'beam' may only be the first command";
    return {};
}

/// Takes line number \a line of the deck, which may be blank or a comment.
bool readLine(const std::string &text, std::size_t line, Deck &deck, std::string &what)
{
    const std::vector<std::string> words = splitWords(text);
    if (words.empty() || words.front().front() == '#')
        return true;
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
        std::string found;
        for (const std::string &word : words)
            found += (found.empty() ? "" : " ") + word;
        what = "expected " + quoted(command->usage) + ", found " + quoted(found);
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
