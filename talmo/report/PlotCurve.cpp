// The points come in the order of the lines. Over a column that grows, each pixel is reached once
// and left for good, and there are at most as many strokes as pixels. Over one that goes back and
// forth there may be more; if there are so many that nobody could see their order, only the
// smallest and the largest value of each pixel are kept.

#include "PlotCurve.h"

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr size_t strokesPerPixel = 4;

} // namespace

PlotCurve::PlotCurve(int pixels)
    : width(std::max(pixels, 1))
{
}

void PlotCurve::extend(Stroke &stroke, double value)
{
    stroke.last = value;
    stroke.smallest = std::min(stroke.smallest, value);
    stroke.largest = std::max(stroke.largest, value);
}

void PlotCurve::add(double x, double value)
{
    least = parts.empty() ? value : std::min(least, value);
    most = parts.empty() ? value : std::max(most, value);
    const int pixel = std::clamp(static_cast<int>(x), 0, width - 1);
    const size_t index = isOrdered ? parts.size() - 1 : static_cast<size_t>(pixel);
    const bool isKnown = index < parts.size() && parts[index].pixel == pixel;
    const Part part = {{x, value, value, value, value, isJoined && isOrdered}, pixel};
    isJoined = true;
    if (isKnown) {
        extend(parts[index].stroke, value);
        return;
    }
    if (!isOrdered) {
        parts[index] = part;
        return;
    }
    parts.push_back(part);
    if (parts.size() > strokesPerPixel * static_cast<size_t>(width))
        forgetTheOrder();
}

void PlotCurve::forgetTheOrder()
{
    std::vector<Part> byPixel(static_cast<size_t>(width));
    for (const Part &part : parts) {
        Part &same = byPixel[static_cast<size_t>(part.pixel)];
        if (same.pixel < 0)
            same = part;
        extend(same.stroke, part.stroke.smallest);
        extend(same.stroke, part.stroke.largest);
        same.stroke.isJoined = false;
    }
    parts = std::move(byPixel);
    isOrdered = false;
}

std::vector<PlotCurve::Stroke> PlotCurve::strokes() const
{
    std::vector<Stroke> all;
    all.reserve(parts.size());
    for (const Part &part : parts) {
        if (part.pixel >= 0)
            all.push_back(part.stroke);
    }
    return all;
}

} // namespace Talmo
