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
#include "Walks.h"
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

    /// What is made of expressions.
    enum class Work {
        Walk,     ///< over them, for a flaw
        None,     ///< the line ends before the first of them
        Find,     ///< the place of one of them, or in it
        Evaluate, ///< as the expansion does
    };

    explicit LineWalk(Aim itsAim, Work itsWork = Work::Walk)
        : aim(itsAim)
        , work(itsWork)
    {
    }

    Flaw run(const QString &line);

    /// Where token number \a token of expression number \a evaluation begins in \a line.
    int find(int token, int evaluation, const QString &line);

    TracedExpansion expand(const QString &line);
    Macro::Table count(const QString &line);

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

    /// Ends the walk if it looks for the place of this expression or in it.
    bool find(Character first, const TracedExpression &expression);

    bool walk(Character first, Character last, const TextBuffer<TracedText> &inside,
        const ExpressionParts &parts, const TracedExpression &whole);
    void insertResult(Character first, Character last, const QString &text, TracedText &value);
    Flaw flawOfUnits(const TextBuffer<TracedText> &inside, const ExpressionParts &parts) const;
    void checkFormat(const TextBuffer<TracedText> &inside, const ExpressionParts &parts);

    /// The insertion that a character of this \a origin belongs to; null if the user has written
    /// it.
    const Insertion *insertionOf(int origin) const;

    /// The names from the macro \a name, whose text \a character has come through, to itself; none
    /// if it has not.
    QStringList circle(Character character, const QString &name) const;

    /// The macro that the user has named in a reference to \a name that begins with \a first.
    QString outermost(Character first, const QString &name) const;

    const Aim aim;
    const Work work;
    int wantedToken = 0;
    int wantedEvaluation = 0;
    int evaluations = 0;
    int position = 0; ///< that was looked for

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
    return flaw.what.isEmpty() && aim == Aim::Flaws ? noted : flaw;
}

int LineWalk::find(int token, int evaluation, const QString &line)
{
    wantedToken = token;
    wantedEvaluation = evaluation;
    run(line);
    return position;
}

TracedExpansion LineWalk::expand(const QString &line)
{
    TracedText text = traced(line);
    replaceReferences(*this, text);
    return {text, trace};
}

Macro::Table LineWalk::count(const QString &line)
{
    run(line);
    return trace.counted;
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
    if (aim == Aim::Flaws && !canCount(text)) {
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
    value = {{' ', first.origin, first.index}}; // no reference can be made of it
    return true;
}

bool LineWalk::refuse(const Flaw &found)
{
    if (work == Work::None || found.position >= undefinedAt)
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

const Insertion *LineWalk::insertionOf(int origin) const
{
    return origin < 0 ? &trace.insertions[-1 - origin] : nullptr;
}

QStringList LineWalk::circle(Character character, const QString &name) const
{
    const Insertion *insertion = insertionOf(character.origin);
    while (insertion != nullptr && insertion->macro != name)
        insertion = insertionOf(insertion->origin);
    if (insertion == nullptr)
        return {};
    QStringList names = {name};
    for (const Insertion *each = insertionOf(character.origin); each != insertion;
         each = insertionOf(each->origin))
        names.prepend(each->macro);
    names.prepend(name);
    return names;
}

QString LineWalk::outermost(Character first, const QString &name) const
{
    QString outer = name;
    for (const Insertion *each = insertionOf(first.origin); each != nullptr;
         each = insertionOf(each->origin))
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

/// The expression in \a parts of \a inside, which stands between \a first, a "$", with a brace, and
/// \a last, a brace.
TracedExpression expressionIn(const TextBuffer<TracedText> &inside, const ExpressionParts &parts,
    TracedCharacter first, TracedCharacter last, const Trace &trace)
{
    const TracedCharacter next = parts.begin < inside.size() ? inside[parts.begin] : last;
    const TracedCharacter brace = {'{', first.origin, first.index + 1};
    const int nothing = trace.placeOf(next, next).begin;
    return {TracedText(inside.begin() + parts.begin, inside.begin() + parts.end),
        {nothing, nothing}, parts.begin > 0 ? inside[parts.begin - 1] : brace};
}

bool LineWalk::expression(
    Character first, Character last, const TextBuffer<TracedText> &inside, TracedText &value)
{
    if (undefinedAt != nowhere || work == Work::None)
        return false; // the expansion ends before it comes to expressions
    const ExpressionParts parts(toString(inside));
    const TracedExpression whole = expressionIn(inside, parts, first, last, trace);
    ++evaluations;
    if (work == Work::Find && evaluations == wantedEvaluation)
        return find(first, whole);
    if (work == Work::Walk && !walk(first, last, inside, parts, whole))
        return false;
    if (work == Work::Evaluate)
        insertResult(first, last, valueOfReference(toString(inside)), value);
    else if (parts.formatEnd > 0) // a number and a unit make no reference
        insertResult(first, last, toString(inside.constData(), parts.formatEnd), value);
    return true;
}

bool LineWalk::find(Character first, const TracedExpression &expression)
{
    const Place place = wantedToken == 0 ? trace.placeOf(first, first)
                                         : placeOfToken(wantedToken, expression, trace);
    position = place.begin;
    return false;
}

void LineWalk::insertResult(Character first, Character last, const QString &text, TracedText &value)
{
    trace.insertions.append(
        {QString(), trace.placeOf(first, last), first.origin, /*isPrinted=*/true});
    value = traced(text);
    for (Character &character : value)
        character.origin = -static_cast<int>(trace.insertions.size());
}

/// Looks for what is wrong in a reference to an expression. False if that ends the walk.
bool LineWalk::walk(Character first, Character last, const TextBuffer<TracedText> &inside,
    const ExpressionParts &parts, const TracedExpression &whole)
{
    if (aim == Aim::Endlessness) {
        TracedExpression seen = whole; // by the evaluator
        const auto isDropped = [](Character character) { return isDollar(character); };
        seen.text.erase(
            std::remove_if(seen.text.begin(), seen.text.end(), isDropped), seen.text.end());
        flaw = flawOfExpression(seen, trace, aim);
        return flaw.what.isEmpty();
    }
    const Insertion *const insertion = insertionOf(first.origin);
    if (insertion != nullptr && insertion->isPrinted) {
        flaw = makeFlaw(Flaw::Kind::Reference, trace.placeOf(first, last),
            QStringLiteral("the result of an expression begins another reference"));
        return false;
    }
    flaw = flawOfUnits(inside, parts);
    if (!flaw.what.isEmpty())
        return false;
    checkFormat(inside, parts);
    const Flaw found = flawOfExpression(whole, trace);
    if (found.isReported)
        note(found);
    else
        flaw = found;
    return flaw.what.isEmpty();
}

void LineWalk::neverClosed(Character dollar, Character brace)
{
    note(makeFlaw(Flaw::Kind::Reference, trace.placeOf(dollar, brace),
        QStringLiteral("'${' is never closed")));
}

} // namespace

Flaw walkOverLine(const QString &line)
{
    return LineWalk(Aim::Flaws).run(line);
}

Flaw flawOfLine(const QString &line)
{
    startupGuard();
    return isLineSurelySound(line) ? Flaw() : walkOverLine(line);
}

Flaw endlessnessOfLine(const QString &line)
{
    return isLineSurelySound(line) ? Flaw() : LineWalk(Aim::Endlessness).run(line);
}

int positionOfToken(int token, int evaluation, const QString &line)
{
    return LineWalk(Aim::Flaws, LineWalk::Work::Find).find(token, evaluation, line);
}

Macro::Table countersBehind(const QString &line)
{
    return LineWalk(Aim::Flaws, LineWalk::Work::None).count(line);
}

TracedExpansion tracedExpansion(const QString &line)
{
    return LineWalk(Aim::Flaws, LineWalk::Work::Evaluate).expand(line);
}

} // namespace Talmo
