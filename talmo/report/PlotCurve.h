#pragma once

#include <cstddef>
#include <vector>

namespace Talmo
{

/// A curve of any number of points, reduced to what a picture of some pixels shows: points that
/// follow one another on one pixel become one stroke from the smallest to the largest.
class PlotCurve
{
public:
    /// Points that follow one another on one column of pixels.
    struct Stroke {
        double x = 0;     ///< of the first, in pixels
        double first = 0; ///< the values, in the order and by size
        double last = 0;
        double smallest = 0;
        double largest = 0;
        bool isJoined = false; ///< a line leads to it from the stroke before
    };

    /// A curve on a picture of \a pixels columns.
    explicit PlotCurve(int pixels);

    /// Appends the point with the \a value at \a x, pixels from the left, 0 to pixels.
    void add(double x, double value);

    /// The next point is not joined to the last one.
    void interrupt() { isJoined = false; }

    /// What is to be drawn, in its order.
    std::vector<Stroke> strokes() const;

    bool isEmpty() const { return parts.empty(); }
    double smallest() const { return least; }
    double largest() const { return most; }

private:
    struct Part {
        Stroke stroke;
        int pixel = -1; ///< -1: none
    };
    static void extend(Stroke &stroke, double value);
    void forgetTheOrder();

    int width;
    std::vector<Part> parts; // in their order, or one for each pixel
    bool isOrdered = true;
    bool isJoined = false;
    double least = 0;
    double most = 0;
};

} // namespace Talmo
