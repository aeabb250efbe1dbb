// Input: a line with the units, and the text.

#include "fuzzing.h"
#include "talmo/Units.h"

#include <QRegularExpression>

using Talmo::Units;

namespace
{

/// The units into which \a unit is to be converted; null if there are none.
QString targetOf(const QString &unit, const QString &wanted)
{
    const int kind = Units::typeHash.value(unit);
    if (wanted != "*")
        return Units::typeHash.value(wanted) == kind ? wanted : QString();
    for (const QString &standard : Units::standardUnits) {
        if (Units::typeHash.value(standard) == kind)
            return standard;
    }
    return {};
}

/// Rewrites \a text piece by piece from its front, by the definition of each piece.
QString plainlyConverted(QString text, const QString &wanted)
{
    static const QRegularExpression plain(R"(\A[^0-9.]+)");
    static const QRegularExpression withUnit(
        R"(\A([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*))");
    static const QRegularExpression number(R"(\A[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)");
    QString result;
    while (!text.isEmpty()) {
        QString piece = text.left(1); // a "." with which no number begins
        QString replacement;
        if (const auto match = plain.match(text); match.hasMatch()) {
            piece = match.captured();
        } else if (const auto unitMatch = withUnit.match(text); unitMatch.hasMatch()) {
            piece = unitMatch.captured();
            const QString target = targetOf(unitMatch.captured(3), wanted);
            if (!target.isNull())
                replacement = Units::evaluate("%.12g", piece, target);
        } else if (const auto numberMatch = number.match(text); numberMatch.hasMatch()) {
            piece = numberMatch.captured();
        }
        result += replacement.isNull() ? piece : replacement;
        text.remove(0, piece.size());
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QString units = input.takeLine();
    const QString text = input.takeRest();
    startAfresh();

    const QString converted = Units::convertAll(text, units);
    require(printed().isEmpty(), "nothing is reported");
    require(converted == plainlyConverted(text, units), "each number is converted for itself");
    return 0;
}
