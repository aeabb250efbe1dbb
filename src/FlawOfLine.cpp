// The walk over a line. References are replaced by the passes of Macro::expand (References.h), but
// in a text whose characters know where they come from, and with copies of the counters. Where
// Macro::expand evaluates an expression, the walk goes over it (Flaw.cpp).
//
// A macro refers to itself if the "$" of a reference to it comes from its own text, directly or
// through others. Each "$" that a macro inserts has come through one macro more than the "$" that
// it takes the place of, and there are so many macros, so that the passes end.

#include "FlawTrace.h"
#include "NumberFormat.h"
#include "References.h"
#include "Soundness.h"
#include "knownUnit.h"
#include "talmo/Macro.h"
#include "talmo/StartupGuard.h"

#include <QSet>

#include <algorithm>
#include <limits>

namespace Talmo
{

namespace
{

constexpr int nowhere = std::numeric_limits<int>::max();

/// Says what references stand for (see replaceReferences), and looks for what is wrong with them.
class LineWalk
{
public:
    using Character = TracedCharacter;

    Flaw run(const QString &line);

    bool macro(Character first, Character last, const QString &name, TracedText &value);
    bool counter(Character first, Character last, const QString &name, TracedText &value);
    bool expression(
        Character first, Character last, const TextBuffer<TracedText> &inside, TracedText &value);
    void neverClosed(Character dollar, Character brace);

private:
    /// Makes \a value the \a text of the macro \a name, for a reference from \a first to \a last.
    bool insert(Character first, Character last, const QString &name, const QString &text,
        TracedText &value);

    /// Notes that a reference from \a first to \a last has no macro \a name.
    bool undefined(Character first, Character last, const QString &name, TracedText &value);

    /// Ends the walk at \a found, unless it stands behind an undefined macro.
    bool refuse(const Flaw &found);

    /// Remembers \a found, which the library reports itself.
    void note(const Flaw &found);

    Flaw flawOfUnits(const TextBuffer<TracedText> &inside, const ExpressionParts &parts) const;
    void checkFormat(const TextBuffer<TracedText> &inside, const ExpressionParts &parts);

    /// The insertion that \a character belongs to; null if the user has written it.
    const Insertion *insertionOf(Character character) const;

    /// The names from the macro \a name, whose text \a character has come through, to itself; none
    /// if it has not.
    QStringList circle(Character character, const QString &name) const;

    /// The macro that the user has named in a reference to \a name that begins with \a first.
    QString outermost(Character first, const QString &name) const;

    Trace trace;
    QSet<QString> namesInserted; ///< one that is not among them saves the search for a circle
    Flaw flaw;
    Flaw noted;                ///< the first one that the library reports
    int undefinedAt = nowhere; ///< where the first undefined macro is
};

Flaw LineWalk::run(const QString &line)
{
    TracedText text = traced(line);
    replaceReferences(*this, text);
    return flaw.what.isEmpty() ? noted : flaw;
}

// References to macros.

/// Whether a counter may hold \a text. The successor of any other makes no sense.
bool canCount(const QString &text)
{
    return !text.isEmpty() && (std::all_of(text.begin(), text.end(), isDigit) ||
                                  std::all_of(text.begin(), text.end(), isLetter));
}

bool LineWalk::macro(Character first, Character last, const QString &name, TracedText &value)
{
    QString text;
    if (!trace.find(name, text))
        return undefined(first, last, name, value);
    return insert(first, last, name, text, value);
}

bool LineWalk::counter(Character first, Character last, const QString &name, TracedText &value)
{
    QString text;
    if (!Macro::hash.contains(name) || !trace.find(name, text)) // a global one does not count
        return undefined(first, last, name, value);
    if (!canCount(text)) {
        const QString what = QStringLiteral("macro '%1' cannot count").arg(name);
        return refuse(makeFlaw(Flaw::Kind::Counter, trace.placeOf(first, last), what));
    }
    trace.counted[name] = Macro::successor(text);
    return insert(first, last, name, text, value);
}

bool LineWalk::insert(
    Character first, Character last, const QString &name, const QString &text, TracedText &value)
{
    const Place place = trace.placeOf(first, last);
    const QStringList names = namesInserted.contains(name) ? circle(first, name) : QStringList();
    if (!names.isEmpty()) {
        const QString what = QStringLiteral("macro '%1' refers to itself").arg(name);
        Flaw found = makeFlaw(Flaw::Kind::Circle, place, what);
        found.circle = names;
        return refuse(found);
    }
    if (!trace.allows(text.size())) {
        const QString what =
            QStringLiteral("macro '%1' grows too long").arg(outermost(first, name));
        return refuse(makeFlaw(Flaw::Kind::Length, place, what));
    }
    namesInserted.insert(name);
    trace.insertions.append({name, place, first.origin});
    value = traced(text);
    for (Character &character : value)
        character.origin = -static_cast<int>(trace.insertions.size());
    return true;
}

bool LineWalk::undefined(Character first, Character last, const QString &name, TracedText &value)
{
    const Place place = trace.placeOf(first, last);
    const QString what = QStringLiteral("undefined macro '%1'").arg(name);
    note(makeFlaw(Flaw::Kind::Reference, place, what));
    undefinedAt = std::min(undefinedAt, place.begin);
    value = {{' ', first.origin}}; // no reference can be made of it
    return true;
}

bool LineWalk::refuse(const Flaw &found)
{
    if (found.position >= undefinedAt)
        return true;
    flaw = found;
    return false;
}

void LineWalk::note(const Flaw &found)
{
    if (noted.what.isEmpty())
        noted = found;
    noted.isReported = true;
}

const Insertion *LineWalk::insertionOf(Character character) const
{
    return character.origin < 0 ? &trace.insertions[-1 - character.origin] : nullptr;
}

QStringList LineWalk::circle(Character character, const QString &name) const
{
    const Insertion *insertion = insertionOf(character);
    while (insertion != nullptr && insertion->macro != name)
        insertion = insertionOf({character.character, insertion->origin});
    if (insertion == nullptr)
        return {};
    QStringList names = {name};
    for (const Insertion *each = insertionOf(character); each != insertion;
         each = insertionOf({character.character, each->origin}))
        names.prepend(each->macro);
    names.prepend(name);
    return names;
}

QString LineWalk::outermost(Character first, const QString &name) const
{
    QString outer = name;
    for (const Insertion *each = insertionOf(first); each != nullptr;
         each = insertionOf({first.character, each->origin}))
        outer = each->macro;
    return outer;
}

// Expressions.

Flaw LineWalk::flawOfUnits(const TextBuffer<TracedText> &inside, const ExpressionParts &parts) const
{
    if (parts.unitsBegin == 0)
        return {};
    const int size = static_cast<int>(inside.size()) - parts.unitsBegin;
    const QString units = toString(inside.constData() + parts.unitsBegin, size);
    if (isKnownUnit(units))
        return {};
    return makeFlaw(Flaw::Kind::Unit, trace.placeOf(inside[parts.unitsBegin], inside.last()),
        QStringLiteral("unknown unit '%1'").arg(units));
}

void LineWalk::checkFormat(const TextBuffer<TracedText> &inside, const ExpressionParts &parts)
{
    const QString format = toString(inside.constData(), parts.formatEnd);
    QString printed;
    if (parts.formatEnd > 0 && !printNumber(format, 0, printed))
        note(makeFlaw(Flaw::Kind::Reference,
            trace.placeOf(inside.first(), inside[parts.formatEnd - 1]),
            QStringLiteral("invalid format '%1'").arg(format)));
}

bool LineWalk::expression(
    Character first, Character last, const TextBuffer<TracedText> &inside, TracedText &value)
{
    if (undefinedAt != nowhere)
        return false; // the expansion ends before it comes to expressions
    const Insertion *const insertion = insertionOf(first);
    if (insertion != nullptr && insertion->isPrinted) {
        flaw = makeFlaw(Flaw::Kind::Reference, trace.placeOf(first, last),
            QStringLiteral("the result of an expression begins another reference"));
        return false;
    }
    const ExpressionParts parts(toString(inside));
    flaw = flawOfUnits(inside, parts);
    if (!flaw.what.isEmpty())
        return false;
    checkFormat(inside, parts);
    const Character next = parts.begin < inside.size() ? inside[parts.begin] : last;
    const int nothing = trace.placeOf(next, next).begin;
    const Flaw found =
        flawOfExpression(TracedText(inside.begin() + parts.begin, inside.begin() + parts.end),
            {nothing, nothing}, trace);
    if (found.isReported) {
        note(found);
    } else if (!found.what.isEmpty()) {
        flaw = found;
        return false;
    }
    if (parts.formatEnd == 0)
        return true; // a number and a unit make no reference
    value = TracedText(inside.begin(), inside.begin() + parts.formatEnd);
    trace.insertions.append(
        {QString(), trace.placeOf(first, last), first.origin, /*isPrinted=*/true});
    for (Character &character : value)
        character.origin = -static_cast<int>(trace.insertions.size());
    return true;
}

void LineWalk::neverClosed(Character dollar, Character brace)
{
    note(makeFlaw(Flaw::Kind::Reference, trace.placeOf(dollar, brace),
        QStringLiteral("'${' is never closed")));
}

} // namespace

Flaw walkOverLine(const QString &line)
{
    return LineWalk().run(line);
}

Flaw flawOfLine(const QString &line)
{
    startupGuard();
    return isLineSurelySound(line) ? Flaw() : walkOverLine(line);
}

} // namespace Talmo
