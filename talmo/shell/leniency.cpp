#include "leniency.h"

#include "CommandLine.h"
#include "talmo/Console.h"
#include "talmo/Error.h"
#include "talmo/Flaw.h"

#include <cstdio>
#include <limits>

namespace Talmo
{

namespace
{

const QString lenientOption = QStringLiteral("lenient");

} // namespace

void addLenientOption(CommandLine &line)
{
    line.addOption({lenientOption,
        QStringLiteral("Goes on after errors as the library does, with numbers that may be wrong, "
                       "and reports only what the library reports.")});
}

Leniency::Leniency(const CommandLine &line)
    : wanted(line.isSet(lenientOption))
    , reportsBefore(Error::reported())
{
    if (wanted)
        Console::stream = stderr;
}

Leniency::~Leniency()
{
    Console::stream = nullptr;
    Error::line.clear();
    Error::lineNumber = 0;
}

void Leniency::setLine(const QString &text, qint64 number) const
{
    if (!wanted)
        return;
    Error::line = text;
    Error::lineNumber = number > std::numeric_limits<int>::max() ? 0 : static_cast<int>(number);
}

Problem Leniency::endlessness(const Flaw &flaw)
{
    return flaw.what.isEmpty() ? Problem() : Problem{messageOf(flaw), flaw.position};
}

bool Leniency::wasUsed() const
{
    return wanted && Error::reported() != reportsBefore;
}

} // namespace Talmo
