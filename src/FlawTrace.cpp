#include "FlawTrace.h"

#include "findMacro.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// How many characters macros may insert in all.
constexpr qint64 longestInsertion = 1 << 20;

} // namespace

TracedText traced(const QString &text)
{
    TracedText characters;
    characters.reserve(static_cast<int>(text.size()));
    for (const QChar character : text)
        characters.append(
            {character, static_cast<int>(characters.size()), static_cast<int>(characters.size())});
    return characters;
}

bool follows(TracedCharacter next, TracedCharacter character)
{
    const bool isOfUser = next.origin >= 0 && character.origin >= 0;
    return (isOfUser || next.origin == character.origin) && next.index == character.index + 1;
}

QString toString(const TracedCharacter *begin, qsizetype size)
{
    QString text(static_cast<int>(size), QChar());
    std::copy(begin, begin + size, text.begin());
    return text;
}

Place Trace::placeOf(TracedCharacter first, TracedCharacter last) const
{
    const auto placeOf = [this](int origin) {
        return origin < 0 ? insertions[-1 - origin].place : Place{origin, origin + 1};
    };
    return {placeOf(first.origin).begin, placeOf(last.origin).end};
}

bool Trace::find(const QString &name, QString &text) const
{
    const auto counter = counted.constFind(name);
    const bool hasCounted = counter != counted.constEnd();
    const QString *const macro = hasCounted ? &*counter : findMacro(name);
    if (macro != nullptr)
        text = *macro;
    return macro != nullptr;
}

bool Trace::allows(qsizetype size)
{
    inserted += size;
    return inserted <= longestInsertion;
}

Flaw makeFlaw(Flaw::Kind kind, Place place, const QString &what)
{
    Flaw flaw;
    flaw.what = what;
    flaw.position = place.begin;
    flaw.length = place.end - place.begin;
    flaw.kind = kind;
    return flaw;
}

} // namespace Talmo
