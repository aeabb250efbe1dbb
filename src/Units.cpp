#include "Units.h"

#include "Error.h"
#include "NumberFormat.h"
#include "Numbers.h"
#include "RegExp.h"
#include "StartupGuard.h"
#include "UnitsTable.h"

#include <algorithm>
#include <limits>
#include <string_view>

// The table, values, the entry points of expressions, and the services on texts. The evaluator
// itself continues the class in UnitsEvaluator.cpp.

namespace Talmo
{

// All in one file, so that they are constructed in this order; the last one fills the others.
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

// A number, captured with its exponent; a number and a unit, captured behind them; a number with an
// optional unit, and nothing else.
const QString plainNumber = QStringLiteral(R"(^([-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?))");
const QString numberAndUnit = plainNumber + QStringLiteral("([A-Za-z][A-Za-z0-9]*)");
const QString numberWithUnits = numberAndUnit + QStringLiteral("?$");

void reportConversion(const QString &from, const QString &to)
{
    // Deliberate: only the first is replaced by "(none)".
    Error::syntax(QStringLiteral("Units Conversion Error from %1 to %2")
                      .arg(from.isEmpty() ? QStringLiteral("(none)") : from, to));
}

/// The double nearest to \a number, a text that begins as numberWithUnits does: infinite if it is
/// too large.
double toDouble(const QString &number)
{
    const double infinity = std::numeric_limits<double>::infinity();
    double value = number.startsWith('-') ? -infinity : infinity;
    toNumber(number.toStdString(), value); // fails only if it overflows
    return value;
}

/// \a number as printf's \a format prints it, and \a units behind. A format that is none of
/// Value::to_s is reported, and gives "".
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

// The table. Its look-ups insert an unknown name: copy what one gives before the next.

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
    if (!RE.match(numberWithUnits, text)) {
        Error::syntax(QStringLiteral("A:Invalid string with units '%1'").arg(text));
        return;
    }
    value = toDouble(RegExp::prev->cap(1));
    units = RegExp::prev->cap(3);
}

double Units::Value::convert(QString target, bool *ok)
{
    startupGuard();
    const int kind = typeHash[units];
    const int targetKind = typeHash[target];
    if (ok != nullptr)
        *ok = kind == targetKind;
    else if (kind != targetKind)
        reportConversion(units, target);
    if (kind != targetKind)
        return value;
    const double factor = factorHash[units];
    return value * factor / factorHash[target];
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
    value *= other.value; // Deliberate: also of two values with units
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
    value(expr, units, nullptr);
    if (val.isEmpty()) { // 0 in these units, even if they are "-"
        val.append(Value());
        val.top().units = units;
    }
    Value result = val.top();
    // Deliberate: what value has converted is converted once more, which makes a difference to an
    // unknown unit (NaN). With "*" it is in its standard unit already.
    if (units != "-" && units != "*")
        result.value = result.convert(units);
    return result.to_s(format, /*withUnits=*/units == "-");
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
    // Deliberate: in the class, "+-*" is a range, which is put in order as "*" to "+"; the minus
    // sign is not in it.
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

/// The length of the match of \a pattern, which begins with a caret, at \a position of \a text; -1
/// if there is none.
int matchAt(const QString &pattern, const QString &text, int position)
{
    return RE.findAt(pattern, text, position) < 0 ? -1 : RegExp::prev->matchedLength();
}

/// What convertAll makes of \a number, which has \a unit behind it.
QString converted(const QString &number, const QString &unit, const QString &units)
{
    const int kind = Units::typeHash[unit];
    // Without a standard unit the target stays "*": an unknown name, so of another kind.
    const QString target = units == "*" ? standardOf(kind, units) : units;
    const int targetKind = Units::typeHash[target];
    return kind == targetKind ? Units::evaluate(QStringLiteral("%.12g"), number, target) : number;
}

} // namespace

QString Units::convertAll(QString text, QString units)
{
    startupGuard();
    const QString noNumber = QStringLiteral("^[^0-9.]*");
    QString result;
    int position = 0;
    const auto copy = [&](int length) {
        result.append(text.constData() + position, length);
        position += length;
    };
    while (position < text.size()) {
        copy(matchAt(noNumber, text, position));
        if (position == text.size())
            break;
        const int length = matchAt(numberAndUnit, text, position);
        if (length < 0) { // a plain number, or one character: a "." that starts none
            copy(std::max(matchAt(plainNumber, text, position), 1));
            continue;
        }
        const QString number = RegExp::prev->cap(0);
        result += converted(number, RegExp::prev->cap(3), units);
        position += length;
    }
    return result;
}

void Units::check(QString a, QString b)
{
    startupGuard();
    if (!RE.match(numberWithUnits, a))
        return;
    // Deliberate: capture 2 is the exponent, not the unit; and the report names b before a.
    const QString ofA = RegExp::prev->cap(2);
    const QString ofB = RE.match(numberWithUnits, b) ? RegExp::prev->cap(2) : QStringLiteral("-");
    const int kindOfA = typeHash[ofA];
    const int kindOfB = typeHash[ofB];
    if (kindOfA != kindOfB)
        reportConversion(ofB, ofA);
}

} // namespace Talmo
