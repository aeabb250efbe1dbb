#pragma once

#include "strict.h"

#include <QString>
#include <QtGlobal>

namespace Talmo
{

class CommandLine;

/// Adds --lenient to \a line.
void addLenientOption(CommandLine &line);

/// The library's own behaviour, if \a line, which was read, asks for it by --lenient: it carries on
/// after a report, and what it reports goes to standard error in its own words.
class Leniency
{
public:
    explicit Leniency(const CommandLine &line);
    Leniency(const Leniency &) = delete;
    Leniency &operator=(const Leniency &) = delete;
    ~Leniency();

    bool isWanted() const { return wanted; }

    /// Tells the library the line that it works on, for its reports.
    void setLine(const QString &text, qint64 number) const;

    /// What is wrong with \a flaw (see Walks.h), with which the library would go on without end, or
    /// until memory runs out.
    static Problem endlessness(const Flaw &flaw);

    /// Whether the library has reported anything since.
    bool wasUsed() const;

private:
    bool wanted;
    qint64 reportsBefore;
};

} // namespace Talmo
