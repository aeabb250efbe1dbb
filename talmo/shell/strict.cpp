#include "strict.h"

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

} // namespace

/// The local macros that \a line counts up, with their values.
class Strict::Counters
{
public:
    explicit Counters(const QString &line)
    {
        static const QString end = QStringLiteral("++}");
        for (auto at = line.indexOf(end); at >= 0; at = line.indexOf(end, at + 1)) {
            const auto begin = line.lastIndexOf(QLatin1Char('{'), at) + 1;
            const QString name = line.mid(begin, at - begin);
            const auto macro = Macro::hash.constFind(name);
            if (macro != Macro::hash.constEnd())
                values[name] = *macro;
        }
    }

    void restore() const
    {
        for (auto value = values.begin(); value != values.end(); ++value)
            Macro::hash[value.key()] = value.value();
    }

private:
    Macro::Table values;
};

/// Where the expression begins in \a line whose evaluation the library has reported first: the end
/// of the shortest beginning of the line that gives the same report is the end of it. The counters
/// were as \a before before the line, and stay as they are.
int Strict::positionOfReport(const QString &line, const Counters &before)
{
    const QString report = reports[0];
    const Counters after(line);
    static const QString opening = QStringLiteral("${");
    auto position = line.indexOf(opening);
    for (auto begin = position; begin >= 0; begin = line.indexOf(opening, begin + 1)) {
        const auto end = line.indexOf(QLatin1Char('}'), begin);
        reports.clear();
        before.restore();
        Macro::expand(line.left(end + 1));
        if (!reports.contains(report))
            continue;
        position = begin;
        break;
    }
    after.restore();
    return static_cast<int>(std::max<decltype(position)>(position, 0));
}

QString messageOf(const Flaw &flaw)
{
    if (flaw.kind == Flaw::Kind::Circle)
        return QStringLiteral("%1: %2").arg(flaw.what, flaw.circle.join(QStringLiteral(" -> ")));
    return flaw.kind == Flaw::Kind::Unit ? flaw.what + suggestion(unitOf(flaw), knownUnits())
                                         : flaw.what;
}

Strict::Strict()
{
    Error::handler = [this](const QString &problem) { reports += problem; };
}

Strict::~Strict()
{
    Error::handler = nullptr;
}

Problem Strict::evaluate(
    const QString &format, const QString &expression, const QString &units, QString &result)
{
    const Flaw flaw = flawOfExpression(expression);
    if (!flaw.what.isEmpty())
        return {messageOf(flaw), flaw.position};
    reports.clear();
    result = Units::evaluate(format, expression, units);
    return reports.isEmpty() ? Problem() : Problem{reports[0], 0};
}

Problem Strict::expand(const QString &line, QString &result)
{
    const Flaw flaw = flawOfLine(line);
    if (!flaw.what.isEmpty())
        return {messageOf(flaw), flaw.position};
    reports.clear();
    const Counters before(line);
    result = Macro::expand(line);
    if (reports.isEmpty())
        return {};
    const QString report = reports[0];
    return {report, positionOfReport(line, before)};
}

} // namespace Talmo
