#pragma once

#include <cstddef>
#include <string>

/// The macros of a deck: the library's, as far as one deck reaches.
namespace tracker
{

/// As long as it lives a deck is read: with macros of its own, and the library's reports name its
/// lines.
class DeckScope
{
public:
    DeckScope();
    ~DeckScope();
    DeckScope(const DeckScope &) = delete;
    DeckScope &operator=(const DeckScope &) = delete;

    /// From now on \a line, whose number is \a number, is the one that reports name.
    static void setLine(const std::string &line, std::size_t number);
};

/// Replaces the macros and expressions in \a line (see Talmo::Macro::expand). Returns false, and
/// says in \a what is wrong, if the library would pass over a flaw (see Talmo::Flaw). A problem
/// that the library reports (see Talmo::Error::reported) does not count here, and may leave nothing
/// of the line.
bool expandLine(std::string &line, std::string &what);

/// Makes \a text the macro \a name, whatever that was. Returns false, and says in \a what is wrong,
/// if \a name is no name, or \a text holds a "$": that would be taken for a reference wherever the
/// macro is used, and could refer to itself for ever.
bool defineMacro(const std::string &name, const std::string &text, std::string &what);

} // namespace tracker
