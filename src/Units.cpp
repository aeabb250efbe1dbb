// A unit belongs to a kind, such as length, and is worth so many reference units of that kind. So a
// value is converted by the ratio of two factors, and only within its kind. Units are never
// combined into new ones.
//
// A look-up of an unknown name inserts it into the hash that was asked, as a unitless unit of
// factor 0. So a look-up may move what an earlier one has returned.
//
// This file has the table, values, the entry points of expressions, and the services on texts.
// UnitsScan.cpp and UnitsApply.cpp continue the class with the evaluator itself.

#include "talmo/Units.h"

#include "EvaluationWatch.h"
#include "NumberFormat.h"
#include "Tokens.h"
#include "UnitsTable.h"
#include "talmo/Error.h"
#include "talmo/RegExp.h"
#include "talmo/StartupGuard.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace Talmo
{

// They are all in one file, so that they are constructed in this order. The last one fills the
// rest.
QHash<QString, int> Units::typeHash;
QHash<QString, double> Units::factorHash;
QHash<QString, QStringList> Units::types;
QStringList Units::standardUnits;
QString Units::currentExpression;
int Units::commaCount = 0;
Units::Stack<Units::Value> Units::val;
Units::Stack<Units::Operator> Units::op;
Units Units::initializer;

namespace
{

void reportConversion(const QString &from, const QString &to)
{
    // Deliberate: only the first unit is replaced by "(none)" if it is empty.
    Error::syntax(QStringLiteral("Units Conversion Error from %1 to %2")
                      .arg(from.isEmpty() ? QStringLiteral("(none)") : from, to));
}

/// \a number as printf prints it with \a format, followed by \a units. A format that Value::to_s
/// does not accept is reported, and gives "".
QString printed(const QString &format, double number, const QString &units)
{
    QString text = QStringLiteral("");
    if (printNumber(format, number, text))
        return text.append(units);
    Error::syntax(QStringLiteral("Invalid format '%1'").arg(format));
    return text;
}

/// The standard unit of \a kind; \a otherwise if it has none.
QString standardOf(int kind, const QString &otherwise)
{
    for (const QString &standard : Units::standardUnits) {
        if (Units::typeHash[standard] == kind)
            return standard;
    }
    return otherwise;
}

} // namespace

// The table. A look-up may insert its name, so copy what it returns before the next look-up.

Units::Units()
{
    standardUnits.clear();
    for (const char *const unit : standardUnitNames)
        standardUnits.append(unit);
    int kind = -1;
    std::string_view kindName;
    for (const UnitRow &row : unitRows) {
        if (kindName != row.kind) {
            kindName = row.kind;
            ++kind;
            types[row.kind].clear();
        }
        types[row.kind].append(row.unit);
        typeHash[row.unit] = kind;
        factorHash[row.unit] = row.factor;
    }
}

QString Units::standardUnit(QString unit)
{
    startupGuard();
    return standardOf(typeHash[unit], unit);
}

QStringList Units::compatibleUnits(QString unit)
{
    QStringList names;
    const auto known = typeHash.constFind(unit);
    if (known != typeHash.constEnd()) {
        names = typeHash.keys(*known);
        names.removeAll(unit);
        std::sort(names.begin(), names.end());
    }
    names.prepend(unit);
    return names;
}

QString Units::inspect()
{
    startupGuard();
    QString text =
        QStringLiteral("Known Units (p usually means 'per', u usually means 'micro'):\n");
    QStringList kinds = types.keys();
    std::sort(kinds.begin(), kinds.end());
    for (const QString &kind : kinds)
        text += kind + ": " + types.value(kind).join(QStringLiteral(", ")) + '\n';
    return text;
}

// Values.

Units::Value::Value(QString text)
{
    startupGuard();
    const NumberToken token = wholeNumber(text);
    if (!token.isNumber()) {
        Error::syntax(QStringLiteral("A:Invalid string with units '%1'").arg(text));
        return;
    }
    value = toDouble(token.number);
    units = token.unit.toString();
}

double Units::Value::convert(QString target, bool *ok)
{
    startupGuard();
    const bool isSame = target == units; // saves half of the look-ups, which are most of the cost
    const int kind = typeHash[units];
    const int targetKind = isSame ? kind : typeHash[target];
    if (ok != nullptr)
        *ok = kind == targetKind;
    else if (kind != targetKind)
        reportConversion(units, target);
    if (kind != targetKind)
        return value;
    const double factor = factorHash[units];
    const double converted = value * factor / (isSame ? factor : factorHash[target]);
    if (EvaluationWatch::current != nullptr)
        EvaluationWatch::current->noteConversion(value, converted);
    return converted;
}

QString Units::Value::to_s(QString format, bool withUnits) const
{
    startupGuard();
    return printed(format, value, withUnits ? units : QString());
}

Units::Value &Units::Value::add(Value other)
{
    startupGuard();
    value += other.convert(units);
    return *this;
}

Units::Value &Units::Value::sub(Value other)
{
    startupGuard();
    value -= other.convert(units);
    return *this;
}

Units::Value &Units::Value::mul(Value other)
{
    startupGuard();
    if (!other.units.isEmpty()) {
        if (units.isEmpty())
            units = other.units;
        else
            Error::syntax(QStringLiteral("U:Invalid units in '%1'").arg(currentExpression));
    }
    value *= other.value; // Deliberate: multiplies also if both values have units
    return *this;
}

Units::Value &Units::Value::div(Value other)
{
    startupGuard();
    if (other.units.isEmpty()) {
        value /= other.value;
    } else {
        value /= other.convert(units);
        units.clear();
    }
    return *this;
}

Units::Value &Units::Value::neg()
{
    startupGuard();
    value = -value;
    return *this;
}

// Entry points of expressions.

QString Units::evaluate(QString format, QString expr, QString units)
{
    EvaluationWatch *const watch = EvaluationWatch::current;
    if (watch != nullptr)
        watch->begin();
    value(std::move(expr), units, nullptr);
    if (val.isEmpty()) { // the result is 0 in these units, even if they are "-"
        val.append(Value());
        val.top().units = units;
    }
    Value &result = val.top();
    const bool isOwn = units == QLatin1String("-");
    // Deliberate: value has converted the result, and we convert it once more. That makes a
    // difference for an unknown unit (NaN). With "*" the result is in its standard unit already.
    const bool isDone = isOwn || units == QLatin1String("*");
    const double number = isDone ? result.value : result.convert(units);
    if (watch != nullptr)
        watch->end(number);
    return printed(format, number, isOwn ? result.units : QString());
}

QString Units::unit(QString expr)
{
    startupGuard();
    if (expr.isEmpty())
        return QStringLiteral("");
    bool ok = true;
    value(expr, QStringLiteral("-"), &ok);
    return ok && !val.isEmpty() ? val.top().units : QStringLiteral("");
}

bool Units::isSimpleNumber(QString text)
{
    // Deliberate: inside the brackets, "+-*" is a range. It is put in order as "*" to "+", so the
    // minus sign is not in it.
    return !RE.match(QStringLiteral("[+-*/><=!~%^()?:|&]"), text);
}

bool Units::isFloat(QString text)
{
    bool ok = false;
    value(text, QStringLiteral("*"), &ok);
    return ok;
}

double Units::factor(QString to, QString from)
{
    return value("1.0" + from, to, nullptr);
}

// Services on texts.

namespace
{

/// The first position, from \a position of \a text on, where a number can begin.
int numberStart(const QString &text, int position)
{
    const QChar *const begin = text.constData();
    const QChar *const start = std::find_if(begin + position, begin + text.size(), isNumberStart);
    return static_cast<int>(start - begin);
}

/// The units in which numbers are to be expressed, by the unit that they have. The table is asked
/// once for each unit, because its answer does not change, and "*" takes many look-ups.
class Targets
{
public:
    explicit Targets(const QString &wanted)
        : units(wanted)
    {
    }

    /// The unit in which numbers with \a unit are to be expressed; none if the kinds differ.
    const std::optional<QString> &of(const QString &unit)
    {
        auto target = targets.find(unit);
        if (target == targets.end())
            target = targets.insert(unit, lookUp(unit));
        return *target;
    }

private:
    std::optional<QString> lookUp(const QString &unit) const
    {
        const int kind = Units::typeHash[unit];
        // If the kind has no standard unit, the target stays "*", an unknown name of another kind.
        const QString target = units == QLatin1String("*") ? standardOf(kind, units) : units;
        if (Units::typeHash[target] != kind)
            return std::nullopt;
        return target;
    }

    QString units;
    QHash<QString, std::optional<QString>> targets;
};

} // namespace

QString Units::convertAll(QString text, QString units)
{
    startupGuard();
    Targets targets(units);
    QString result;
    int done = 0; // how much of the text is in the result already
    int position = numberStart(text, 0);
    while (position < text.size()) {
        const NumberToken token = numberAndUnitAhead(QStringView(text).mid(position));
        const int end = position + std::max(token.size(), 1); // a "." may stand alone
        const std::optional<QString> target =
            token.hasUnit() ? targets.of(token.unit.toString()) : std::nullopt;
        if (target.has_value()) {
            result.append(text.constData() + done, position - done);
            result += evaluate(QStringLiteral("%.12g"), text.mid(position, token.size()), *target);
            done = end;
        }
        position = numberStart(text, end);
    }
    result.append(text.constData() + done, static_cast<int>(text.size()) - done);
    return result;
}

void Units::check(QString a, QString b)
{
    startupGuard();
    const NumberToken numberA = wholeNumber(a);
    if (!numberA.isNumber())
        return;
    // Deliberate: we compare the exponents, not the units, and the report names b before a.
    const QString ofA = numberA.exponent.toString();
    const NumberToken numberB = wholeNumber(b);
    const QString ofB = numberB.isNumber() ? numberB.exponent.toString() : QStringLiteral("-");
    const int kindOfA = typeHash[ofA];
    const int kindOfB = typeHash[ofB];
    if (kindOfA != kindOfB)
        reportConversion(ofB, ofA);
}

} // namespace Talmo
