// talmo convert: the numbers with units in texts, rewritten in other units.

#include "CommandLine.h"
#include "Filter.h"
#include "commandTable.h"
#include "knownUnit.h"
#include "knownUnits.h"
#include "leniency.h"
#include "lineText.h"
#include "numbers.h"
#include "talmo/Units.h"

#include <map>
#include <optional>
#include <string>

namespace Talmo
{

namespace
{

const QString unitsOption = QStringLiteral("u");

/// What becomes of the numbers with one unit.
struct Conversion {
    bool isKnown = false;
    bool isPossible = false; ///< whether the kinds are the same
    QString unit;
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
    const Conversion &of(std::string_view unit);
    Conversion lookUp(const QString &unit) const;

    QString units;
    std::map<std::string, Conversion, std::less<>> conversions; // of known units only
    Conversion unknown;
};

Conversion StrictConversion::lookUp(const QString &unit) const
{
    Conversion conversion;
    conversion.isKnown = isKnownUnit(unit);
    if (!conversion.isKnown)
        return conversion;
    conversion.unit = unit;
    const bool isStandard = units == QLatin1String("*");
    conversion.target = isStandard ? Units::standardUnit(unit) : units;
    // A unit of a kind without a standard unit is its own, and its numbers stay as they are.
    conversion.isPossible =
        Units::typeHash.value(unit) == Units::typeHash.value(conversion.target) &&
        (!isStandard || Units::standardUnits.contains(conversion.target));
    return conversion;
}

const Conversion &StrictConversion::of(std::string_view unit)
{
    const auto known = conversions.find(unit);
    if (known != conversions.end())
        return known->second;
    const Conversion conversion = lookUp(textOf(unit));
    // Unknown names are not kept: there may be any number of them.
    return conversion.isKnown ? conversions.emplace(unit, conversion).first->second : unknown;
}

/// Appends to \a result what stands for \a number in \a target. False if it is too large.
bool appendConverted(const NumberWithUnit &number, const QString &target, std::string &result)
{
    const QString text = Units::evaluate(QStringLiteral("%.12g"), textOf(number.text()), target);
    appendBytes(result, text);
    return !text.endsWith(QLatin1Char('f')) && !text.endsWith(QLatin1Char('n')); // inf, nan
}

void StrictConversion::convert(FilterLine &line, std::string &result)
{
    NumbersWithUnits numbers(line.text);
    NumberWithUnit number;
    Columns columns(line.text);
    size_t done = 0; // bytes of the line
    while (numbers.next(number)) {
        const Conversion &conversion = of(number.unit);
        const size_t begin = numbers.position();
        if (!conversion.isKnown && !isWord(number))
            line.report(columns.at(numbers.unitPosition()), unknownUnit(textOf(number.unit)));
        if (!conversion.isPossible)
            continue;
        result += line.text.substr(done, begin - done);
        done = begin + number.text().size();
        if (!appendConverted(number, conversion.target, result))
            line.report(columns.at(begin),
                QStringLiteral("the number '%1' is too large").arg(textOf(number.text())));
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
