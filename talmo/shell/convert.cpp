// talmo convert: the numbers with units in texts, rewritten in other units.

#include "CommandLine.h"
#include "Filter.h"
#include "commandTable.h"
#include "knownUnits.h"
#include "leniency.h"
#include "lineBytes.h"
#include "lineText.h"
#include "numbers.h"
#include "talmo/Numbers.h"
#include "talmo/Units.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <unordered_map>

namespace Talmo
{

namespace
{

const QString unitsOption = QStringLiteral("u");

/// What becomes of the numbers with one unit.
struct Conversion {
    bool isPossible = false; ///< whether the kinds are the same
    QString target;
};

/// Converts without the library's freedoms.
class StrictConversion
{
public:
    explicit StrictConversion(const QString &itsUnits)
        : units(itsUnits)
    {
    }

    void convert(FilterLine &line, std::string &result);

private:
    const Conversion &of(const std::string *unit);
    Conversion lookUp(const QString &unit) const;

    QString units;
    std::unordered_map<const std::string *, Conversion> conversions; // by known units
};

Conversion StrictConversion::lookUp(const QString &unit) const
{
    Conversion conversion;
    const bool isStandard = units == QLatin1String("*");
    conversion.target = isStandard ? Units::standardUnit(unit) : units;
    // A unit of a kind without a standard unit is its own, and its numbers stay as they are.
    conversion.isPossible =
        Units::typeHash.value(unit) == Units::typeHash.value(conversion.target) &&
        (!isStandard || Units::standardUnits.contains(conversion.target));
    return conversion;
}

/// What becomes of numbers with \a unit, one of the table.
const Conversion &StrictConversion::of(const std::string *unit)
{
    const auto known = conversions.find(unit);
    return known != conversions.end()
               ? known->second
               : conversions.emplace(unit, lookUp(textOf(*unit))).first->second;
}

/// \a number with its unit, as the library reads it: at least one digit follows a point.
QString readableText(const NumberWithUnit &number)
{
    const size_t point = number.number.find('.');
    QString text = textOf(number.text());
    if (point != std::string_view::npos && !isDigit(byteAt(number.number, point + 1)))
        text.remove(static_cast<int>(point), 1);
    return text;
}

/// Whether \a number becomes 0, or loses digits, because it is too small for a double; or so does
/// what it was converted to, \a converted.
bool isTooSmall(std::string_view number, const QString &converted)
{
    constexpr size_t surelyLargeEnough = 200;
    const auto *const exponent =
        std::find_if(number.begin(), number.end(), [](char byte) { return (byte | 0x20) == 'e'; });
    if (exponent == number.end() && number.size() < surelyLargeEnough)
        return false;
    double value = 0;
    const bool isZero =
        std::all_of(number.begin(), exponent, [](char byte) { return byte == '0' || byte == '.'; });
    const bool isNormal =
        toNumber(number, value) && std::isnormal(value) && std::isnormal(converted.toDouble());
    return !isZero && !isNormal;
}

/// Appends to \a result what stands for \a number in \a target. Returns what is wrong with it, in
/// words; null if nothing is.
QString appendConverted(const NumberWithUnit &number, const QString &target, std::string &result)
{
    const QString text = Units::evaluate(QStringLiteral("%.12g"), readableText(number), target);
    appendBytes(result, text);
    const QChar last = text.back();
    const bool isTooLarge = last == 'f' || last == 'n'; // inf, nan
    if (!isTooLarge && !isTooSmall(number.number, text))
        return {};
    return QStringLiteral("the number '%1' is too %2")
        .arg(textOf(number.text()), QLatin1String(isTooLarge ? "large" : "small"));
}

void StrictConversion::convert(FilterLine &line, std::string &result)
{
    NumbersWithUnits numbers(line.text);
    NumberWithUnit number;
    Columns columns(line.text);
    size_t done = 0; // bytes of the line
    while (numbers.next(number)) {
        if (!number.problem.empty()) {
            line.report(columns.at(numbers.positionOf(number.problem)), problemOf(number));
            continue;
        }
        const Conversion &conversion = of(number.known);
        if (!conversion.isPossible)
            continue;
        const size_t begin = numbers.positionOf(number.number);
        result += line.text.substr(done, begin - done);
        done = begin + number.text().size();
        const QString problem = appendConverted(number, conversion.target, result);
        if (!problem.isNull())
            line.report(columns.at(begin), problem);
    }
    result += line.text.substr(done);
}

void addOptions(CommandLine &line)
{
    line.addOption({unitsOption,
        QStringLiteral("What numbers are converted to: a unit, or '*' for the standard one of "
                       "their kind; this is the default. Numbers of another kind stay."),
        QStringLiteral("UNITS"), QStringLiteral("*")});
    addLenientOption(line);
    addFilterOptions(line);
    addInPlaceOptions(line);
}

int perform(const CommandLine &line, const FilterFiles &files, const QString &units)
{
    Leniency leniency(line);
    StrictConversion strict(units);
    const int status = runFilter(line, files, [&](FilterLine &input, std::string &result) {
        if (!leniency.isWanted())
            return strict.convert(input, result);
        const QString text = textOf(input.text);
        leniency.setLine(text, input.lineNumber());
        appendBytes(result, Units::convertAll(text, units));
    });
    return status == AllIsWell && leniency.wasUsed() ? AtFault : status;
}

} // namespace

int convertCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("convert"),
        QStringLiteral("Rewrites the numbers with a unit directly behind them, such as 2.5cm, as "
                       "bare numbers in other units. A number that is a part of a word stays."));
    addOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    QString problem;
    const QString units = line.value(unitsOption);
    if (units == QLatin1String("-"))
        return line.refuse(QStringLiteral("'-' is no unit to convert to"));
    if (!areUnits(units, problem))
        return line.refuse(problem);
    const FilterFiles files = filterFilesOf(line, problem);
    if (!problem.isNull())
        return line.refuse(problem);
    return perform(line, files, units);
}

} // namespace Talmo
