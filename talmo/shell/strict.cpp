#include "strict.h"

#include "NumberFormat.h"
#include "knownUnits.h"
#include "nearest.h"
#include "talmo/Error.h"
#include "talmo/Flaw.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Talmo
{

namespace
{

const QString notFinite = QStringLiteral("the result is not finite");

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

/// Whether \a text may hold a number that is none, or infinite, as a format prints it: "inf" or
/// "nan", in small or capital letters. This is asked for every line, so it looks for the "n" first.
bool mayBeInfinite(const QString &text)
{
    const auto small = [&text](qsizetype index) {
        const bool isThere = index >= 0 && index < text.size();
        return isThere ? text.constData()[index].unicode() | 0x20 : 0;
    };
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (small(index) != 'n')
            continue;
        if ((small(index - 1) == 'i' && small(index + 1) == 'f') ||
            (small(index + 1) == 'a' && small(index + 2) == 'n'))
            return true;
    }
    return false;
}

/// Whether \a result, printed with \a format, is none or infinite; a unit may follow.
bool isInfinite(const QString &format, const QString &result)
{
    if (!mayBeInfinite(result))
        return false;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    for (const double number : {infinity, -infinity, none, -none}) {
        QString printed;
        printNumber(format, number, printed);
        if (result.startsWith(printed))
            return true;
    }
    return false;
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

/// The references in a line, one after the other; those inside of others are parts of these.
class References
{
public:
    explicit References(const QString &itsLine)
        : line(itsLine)
    {
    }

    /// Moves to the next one. False if there is none that ends.
    bool next();

    int position() const { return begin; }
    QString text() const { return line.mid(begin, end - begin); }

private:
    QChar at(int index) const { return index < line.size() ? line[index] : QChar(); }
    bool close();

    const QString &line;
    int begin = 0;
    int end = 0;
};

/// Moves the end behind the "}" that belongs to the "${" at the beginning.
bool References::close()
{
    int open = 0;
    for (end = begin; end < line.size(); ++end) {
        open += at(end) == QLatin1Char('$') && at(end + 1) == QLatin1Char('{') ? 1 : 0;
        open -= at(end) == QLatin1Char('}') ? 1 : 0;
        if (at(end) == QLatin1Char('}') && open == 0) {
            ++end;
            return true;
        }
    }
    return false;
}

bool References::next()
{
    for (begin = end; begin < line.size(); ++begin) {
        if (at(begin) != QLatin1Char('$'))
            continue;
        if (at(begin + 1) == QLatin1Char('{'))
            return close();
        end = begin + 1;
        while (isNamePart(at(end)))
            ++end;
        if (end > begin + 1)
            return true;
    }
    return false;
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
    Error::handler = [this](const QString &problem) { reports += problem; };
}

Strict::~Strict()
{
    Error::handler = handlerBefore;
}

Problem Strict::evaluate(
    const QString &format, const QString &expression, const QString &units, QString &result)
{
    const Flaw flaw = flawOfExpression(expression);
    if (!flaw.what.isEmpty())
        return {messageOf(flaw), flaw.position};
    reports.clear();
    result = Units::evaluate(format, expression, units);
    if (!reports.isEmpty())
        return {reports[0], 0};
    // A kind without a standard unit: the bare number would not say what it is of.
    const QString unit = Units::val.isEmpty() ? QString() : Units::val.last().units;
    if (units == QLatin1String("*") && !Units::standardUnits.contains(unit))
        result += unit;
    return isInfinite(format, result) ? Problem{notFinite, 0} : Problem();
}

/// Whether \a reference, expanded alone, is reported, or gives a number that is not finite.
bool Strict::isWrong(const QString &reference)
{
    reports.clear();
    Units::val.clear();
    const QString result = Macro::expand(reference).trimmed();
    if (!reports.isEmpty())
        return true;
    static const QString numbers[] = {QStringLiteral("inf"), QStringLiteral("-inf"),
        QStringLiteral("nan"), QStringLiteral("-nan")};
    const bool isNumber = !Units::val.isEmpty();
    bool isWrong = isNumber && !std::isfinite(Units::val.last().value);
    for (const QString &number : numbers)
        isWrong = isWrong || (isNumber && result.compare(number, Qt::CaseInsensitive) == 0);
    return isWrong;
}

/// The position of the first reference in \a line with which something is wrong; -1 if there is
/// none.
int Strict::positionOfWrong(const QString &line)
{
    References reference(line);
    while (reference.next()) {
        if (isWrong(reference.text()))
            return reference.position();
    }
    return -1;
}

Problem Strict::expand(const QString &line, QString &result)
{
    const Flaw flaw = flawOfLine(line);
    if (!flaw.what.isEmpty())
        return {messageOf(flaw), flaw.position};
    reports.clear();
    const Counters before(line);
    result = Macro::expand(line);
    if (reports.isEmpty() && !mayBeInfinite(result))
        return {};
    const QString report = reports.isEmpty() ? QString() : reports[0];
    const Counters after(line);
    before.restore();
    const int position = positionOfWrong(line);
    if (report.isEmpty() && position < 0) {
        after.restore();
        return {};
    }
    before.restore();
    return {report.isEmpty() ? notFinite : report, position < 0 ? 0 : position};
}

} // namespace Talmo
