#include "strict.h"

#include "Walks.h"
#include "knownUnits.h"
#include "nearest.h"
#include "talmo/Error.h"
#include "talmo/Flaw.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// The unit that \a flaw names, which is unknown.
QString unitOf(const Flaw &flaw)
{
    return flaw.what.section(QLatin1Char('\''), 1, 1);
}

bool isNamePart(QChar character)
{
    const ushort unicode = character.unicode();
    return unicode < 0x80 && (character.isLetterOrNumber() || character == QLatin1Char('_'));
}

/// Whether the text of the macro \a name may be part of a counter.
bool mayCount(const QString &name)
{
    const QString text = Macro::value(name);
    return std::any_of(text.begin(), text.end(), [](QChar at) {
        return at == QLatin1Char('$') || at == QLatin1Char('{') || at == QLatin1Char('}') ||
               at == QLatin1Char('+');
    });
}

/// What the library reported as \a report. It leaves out the unit into which a number could not be
/// converted, if there is none.
QString inFull(const QString &report)
{
    const bool isOfConversion = report.startsWith(QLatin1String("Units Conversion Error from "));
    return isOfConversion && report.endsWith(QLatin1String(" to "))
               ? report + QStringLiteral("(none)")
               : report;
}

QString messageOf(const EvaluationWatch::Fault &fault)
{
    const QString subject = fault.operation.isEmpty()
                                ? QStringLiteral("the result in the units asked for")
                                : QStringLiteral("the result of '%1'").arg(fault.operation);
    switch (fault.defect) {
    case EvaluationWatch::Defect::NoNumber:
        return subject + QStringLiteral(" is no number");
    case EvaluationWatch::Defect::TooSmall:
        return subject + QStringLiteral(" is too small");
    case EvaluationWatch::Defect::Infinite:
    case EvaluationWatch::Defect::None:
        break;
    }
    return subject + QStringLiteral(" is infinite");
}

} // namespace

/// The local macros that a line may count up, with their values before it.
class Strict::Counters
{
public:
    /// Where the counters stand in \a line themselves, these alone are kept. Otherwise all macros
    /// are, which costs nothing unless one of them counts.
    explicit Counters(const QString &line)
        : isWhole(!keepNamed(line))
    {
        if (isWhole)
            values = Macro::hash;
    }

    void restore() const
    {
        if (isWhole)
            Macro::hash = values;
        for (auto value = values.begin(); !isWhole && value != values.end(); ++value)
            Macro::hash[value.key()] = value.value();
    }

private:
    bool keepNamed(const QString &line);

    Macro::Table values;
    bool isWhole;
};

/// Keeps the values of all counters in \a line. False if there is none, or if a reference may bring
/// another one, or make another one of these.
bool Strict::Counters::keepNamed(const QString &line)
{
    static const QString tail = QStringLiteral("++}");
    if (!line.contains(tail))
        return false;
    int counters = 0;
    auto end = line.indexOf(QLatin1Char('$'));
    for (auto dollar = end; dollar >= 0; dollar = line.indexOf(QLatin1Char('$'), end)) {
        const bool isBraced = line.mid(dollar + 1, 1) == QLatin1String("{");
        const auto begin = dollar + (isBraced ? 2 : 1);
        for (end = begin; end < line.size() && isNamePart(line[end]);)
            ++end;
        const auto macro = Macro::hash.constFind(line.mid(begin, end - begin));
        if (isBraced && line.mid(end, tail.size()) == tail && macro != Macro::hash.constEnd()) {
            values.insert(macro.key(), macro.value());
            ++counters;
        } else if (begin < end && mayCount(line.mid(begin, end - begin))) {
            return false;
        }
    }
    return line.count(tail) == counters;
}

QString messageOf(const Flaw &flaw)
{
    if (flaw.kind == Flaw::Kind::Circle)
        return QStringLiteral("%1: %2").arg(flaw.what, flaw.circle.join(QStringLiteral(" -> ")));
    return flaw.kind == Flaw::Kind::Unit ? flaw.what + suggestion(unitOf(flaw), knownUnits())
                                         : flaw.what;
}

Strict::Strict()
    : handlerBefore(Error::handler)
{
    Error::handler = [this](const QString &problem) {
        if (report.isEmpty())
            reportedIn = watch.evaluation();
        report = report.isEmpty() ? inFull(problem) : report;
    };
}

Strict::~Strict()
{
    Error::handler = handlerBefore;
}

void Strict::begin()
{
    report.clear();
    watch.clear();
}

Problem Strict::evaluate(
    const QString &format, const QString &expression, const QString &units, QString &result)
{
    const Flaw flaw = flawOfExpression(expression);
    if (!flaw.what.isEmpty())
        return {messageOf(flaw), flaw.position};
    begin();
    result = Units::evaluate(format, expression, units);
    if (!report.isEmpty())
        return {report, 0};
    if (const EvaluationWatch::Fault &fault = watch.fault(); fault.evaluation != 0)
        return {messageOf(fault), fault.token == 0 ? 0 : positionOfToken(fault.token, expression)};
    // A kind without a standard unit: the bare number would not say what it is of.
    const QString unit = Units::val.isEmpty() ? QString() : Units::val.last().units;
    if (units == QLatin1String("*") && !Units::standardUnits.contains(unit))
        result += unit;
    return {};
}

Problem Strict::expand(const QString &line, QString &result)
{
    const Flaw flaw = flawOfLine(line);
    if (!flaw.what.isEmpty()) {
        advanceCounters(line);
        return {messageOf(flaw), flaw.position};
    }
    begin();
    const Counters before(line);
    result = Macro::expand(line);
    const EvaluationWatch::Fault &fault = watch.fault();
    if (report.isEmpty() && fault.evaluation == 0)
        return {};
    const bool isReport = !report.isEmpty();
    const Counters behind(line);
    before.restore();
    const int position =
        positionOfToken(isReport ? 0 : fault.token, isReport ? reportedIn : fault.evaluation, line);
    behind.restore();
    return {isReport ? report : messageOf(fault), position};
}

void advanceCounters(const QString &line)
{
    const Macro::Table counters = countersBehind(line);
    for (auto counter = counters.begin(); counter != counters.end(); ++counter)
        Macro::hash[counter.key()] = counter.value();
}

} // namespace Talmo
