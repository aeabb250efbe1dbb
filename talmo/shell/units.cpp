// talmo units: the table of units, what one of them is worth, and how many of one the other is.

#include "talmo/Units.h"
#include "CommandLine.h"
#include "NumberFormat.h"
#include "commandTable.h"
#include "knownUnit.h"
#include "numbers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace Talmo
{

namespace
{

/// A kind of units.
struct Kind {
    QString name;
    QStringList units; ///< the first one is the reference
    QString standard;  ///< null if the kind has none

    const QString &reference() const { return units.first(); }

    /// The unit in which values are told.
    const QString &base() const { return standard.isNull() ? reference() : standard; }
};

/// All kinds but that of no unit, sorted.
QList<Kind> allKinds()
{
    QStringList names = Units::types.keys();
    std::sort(names.begin(), names.end());
    QList<Kind> kinds;
    for (const QString &name : names) {
        Kind kind = {name, Units::types.value(name), QString()};
        if (kind.units.contains(QString()))
            continue;
        for (const QString &unit : kind.units) {
            if (Units::standardUnits.contains(unit))
                kind.standard = unit;
        }
        kinds += kind;
    }
    return kinds;
}

/// The kind of \a unit, which is known.
Kind kindOf(const QString &unit)
{
    const QList<Kind> kinds = allKinds();
    return *std::find_if(kinds.begin(), kinds.end(),
        [&unit](const Kind &kind) { return kind.units.contains(unit); });
}

/// "standard", "reference", both, or nothing: what \a unit is in its \a kind.
QStringList marksOf(const QString &unit, const Kind &kind)
{
    QStringList marks;
    if (unit == kind.standard)
        marks += QStringLiteral("standard");
    if (unit == kind.reference())
        marks += QStringLiteral("reference");
    return marks;
}

QString textOfFactor(const QString &to, const QString &from)
{
    QString text;
    printNumber(QStringLiteral("%.12g"), Units::factor(to, from), text);
    return text;
}

/// "1 m = 1000 mm".
QString equation(const QString &from, const QString &to)
{
    return QStringLiteral("1 %1 = %2 %3").arg(from, textOfFactor(to, from), to);
}

void print(const QString &line)
{
    std::puts(qPrintable(line));
}

void print(const QJsonObject &document)
{
    std::fputs(QJsonDocument(document).toJson().constData(), stdout);
}

QJsonValue orNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

// The whole table.

void printTable()
{
    constexpr int unitWidth = 10;
    constexpr int valueWidth = 22;
    bool isFirst = true;
    for (const Kind &kind : allKinds()) {
        print((isFirst ? QString() : QStringLiteral("\n")) + kind.name);
        isFirst = false;
        for (const QString &unit : kind.units) {
            const QString value = textOfFactor(kind.base(), unit) + QLatin1Char(' ') + kind.base();
            const QString marks = marksOf(unit, kind).join(QStringLiteral(", "));
            QString line = QStringLiteral("  ") + unit.leftJustified(unitWidth) + QLatin1Char(' ') +
                           value.leftJustified(valueWidth) + QLatin1Char(' ') + marks;
            while (line.endsWith(QLatin1Char(' ')))
                line.chop(1);
            print(line);
        }
    }
}

QJsonObject tableObject()
{
    QJsonArray kinds;
    for (const Kind &kind : allKinds()) {
        QJsonObject values;
        for (const QString &unit : kind.units)
            values[unit] = Units::factor(kind.base(), unit);
        kinds += QJsonObject{
            {QStringLiteral("kind"), kind.name},
            {QStringLiteral("standard"), orNull(kind.standard)},
            {QStringLiteral("reference"), kind.reference()},
            {QStringLiteral("in"), kind.base()},
            {QStringLiteral("units"), values},
        };
    }
    return {{QStringLiteral("kinds"), kinds}};
}

// One unit.

void printUnit(const QString &unit)
{
    const Kind kind = kindOf(unit);
    const QStringList marks = marksOf(unit, kind);
    print(
        unit + QStringLiteral(": ") + (QStringList(kind.name) + marks).join(QStringLiteral(", ")));
    QStringList others = kind.units;
    others.removeAll(unit);
    if (others.removeAll(kind.base()) > 0)
        others.prepend(kind.base());
    for (const QString &other : others) {
        const QString mark = marksOf(other, kind).join(QStringLiteral(", "));
        print(equation(unit, other) +
              (mark.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(mark)));
    }
}

QJsonObject unitObject(const QString &unit)
{
    const Kind kind = kindOf(unit);
    QJsonObject values;
    for (const QString &other : kind.units)
        values[other] = Units::factor(other, unit);
    return {
        {QStringLiteral("unit"), unit},
        {QStringLiteral("kind"), kind.name},
        {QStringLiteral("standard"), orNull(kind.standard)},
        {QStringLiteral("reference"), kind.reference()},
        {QStringLiteral("is"), values},
    };
}

// Two units.

/// Why \a units, one or two, cannot be told about, as a sentence; null if they can.
QString problemOf(const QStringList &units)
{
    for (const QString &unit : units) {
        if (unit.isEmpty() || !isKnownUnit(unit))
            return unknownUnit(unit);
    }
    const QString first = kindOf(units.first()).name;
    const QString last = kindOf(units.last()).name;
    return first == last ? QString()
                         : QStringLiteral("%1 is a unit of %2, and %3 one of %4")
                               .arg(units.first(), first, units.last(), last);
}

QJsonObject factorObject(const QString &from, const QString &to)
{
    return {
        {QStringLiteral("unit"), from},
        {QStringLiteral("in"), to},
        {QStringLiteral("is"), Units::factor(to, from)},
    };
}

void tell(const QStringList &units, bool asJson)
{
    if (units.isEmpty())
        asJson ? print(tableObject()) : printTable();
    else if (units.size() == 1)
        asJson ? print(unitObject(units[0])) : printUnit(units[0]);
    else
        asJson ? print(factorObject(units[0], units[1])) : print(equation(units[0], units[1]));
}

} // namespace

int unitsCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("units"),
        QStringLiteral("Lists the units; tells what one is worth in those of its kind; or how many "
                       "of the second unit the first one is."));
    const QString json = QStringLiteral("json");
    line.addOption({json, QStringLiteral("Prints JSON.")});
    line.addPositionalArgument(QStringLiteral("unit"),
        QStringLiteral("What is told about; the whole table, if none is given."),
        QStringLiteral("[UNIT [UNIT]]"));
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    const QStringList units = line.positionalArguments();
    if (units.size() > 2)
        return line.refuse(QStringLiteral("it takes two units at most"));
    const QString problem = units.isEmpty() ? QString() : problemOf(units);
    if (!problem.isNull())
        return line.refuse(problem);
    tell(units, line.isSet(json));
    return AllIsWell;
}

} // namespace Talmo
