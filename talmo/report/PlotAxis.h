#pragma once

#include <QString>

#include <vector>

namespace Talmo
{

/// Where values stand on an axis, and the numbers at its side.
class PlotAxis
{
public:
    struct Tick {
        double position; ///< pixels from the beginning
        QString label;
    };

    /// An axis of \a pixels for the values \a from to \a to, which are finite. If these are equal,
    /// or so close together that their numbers would be too long, it shows a little more.
    PlotAxis(double from, double to, double pixels);

    /// Where \a value stands, in pixels from the beginning. What is beyond an end stands there.
    double position(double value) const;

    /// About \a count round numbers, at least two, which are \a smallestStep or more apart.
    std::vector<Tick> ticks(int count, double smallestStep = 0) const;

private:
    QString label(double shifted, int stepExponent) const;

    double length;
    int shift = 0;     ///< decimal digits by which values are shifted, away from the ends of double
    double factor = 1; ///< 10 to the power of shift
    double first = 0;  ///< the ends, shifted
    double last = 0;
};

} // namespace Talmo
