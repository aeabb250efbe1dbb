#include "PlotAxis.h"

#include "talmo/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace Talmo
{

namespace
{

constexpr double inset = 4;            ///< pixels at both ends, so that no curve lies on the frame
constexpr double smallestSpan = 1e-9;  ///< of the magnitude: labels have at most ten digits
constexpr double spanOfOneValue = 0.1; ///< of the magnitude
constexpr double rounding = 1e-6;      ///< of a step

int exponentOf(double value)
{
    return static_cast<int>(std::floor(std::log10(value) + rounding));
}

/// The smallest of 1, 2 and 5, times a power of ten, that is not below \a step.
double roundStep(double step)
{
    const double unit = std::pow(10.0, exponentOf(step));
    for (const double digit : {1.0, 2.0, 5.0}) {
        if (digit * unit >= step)
            return digit * unit;
    }
    return 10 * unit;
}

/// "-1.50e-07" with its exponent changed by \a shift, and without what says nothing: "-1.5e-7".
QString withoutPadding(const std::string &text, int shift)
{
    const size_t mark = text.find('e');
    std::string mantissa = text.substr(0, mark);
    if (mantissa.find('.') != std::string::npos) {
        mantissa.erase(mantissa.find_last_not_of('0') + 1);
        if (mantissa.back() == '.')
            mantissa.pop_back();
    }
    const int exponent = std::stoi(text.substr(mark + 1)) + shift;
    return QString::fromStdString(mantissa + 'e' + std::to_string(exponent));
}

} // namespace

PlotAxis::PlotAxis(double from, double to, double pixels)
    : length(std::max(pixels, 2 * inset + 1))
{
    constexpr int far = 200;
    const double magnitude = std::max(std::fabs(from), std::fabs(to));
    if (magnitude > 1e250)
        shift = -far;
    else if (magnitude > 0 && magnitude < 1e-250)
        shift = far;
    factor = shift == 0 ? 1 : shift < 0 ? 1e-200 : 1e200;
    first = from * factor;
    last = to * factor;
    const double size = magnitude * factor;
    const double span = first == last ? (size > 0 ? size * spanOfOneValue : 2)
                                      : std::max(last - first, size * smallestSpan);
    const double missing = (span - (last - first)) / 2;
    first -= missing;
    last += missing;
}

double PlotAxis::position(double value) const
{
    const double part = (value * factor - first) / (last - first);
    return inset + std::clamp(part, 0.0, 1.0) * (length - 2 * inset);
}

QString PlotAxis::label(double shifted, int stepExponent) const
{
    constexpr int mostDigits = 6;
    constexpr int mostDecimals = 5;
    std::string text;
    const int exponent = exponentOf(std::max(std::fabs(first), std::fabs(last)));
    if (shifted == 0)
        return QStringLiteral("0");
    if (shift == 0 && exponent < mostDigits && stepExponent >= -mostDecimals) {
        appendNumber(text, shifted, std::max(0, -stepExponent), std::chars_format::fixed);
        return QString::fromStdString(text);
    }
    const int digits = std::max(0, exponentOf(std::fabs(shifted)) - stepExponent);
    appendNumber(text, shifted, digits, std::chars_format::scientific);
    return withoutPadding(text, -shift);
}

std::vector<PlotAxis::Tick> PlotAxis::ticks(int count, double smallestStep) const
{
    double step = 0;
    double begin = 0;
    int steps = 0;
    for (int parts = std::max(count, 1); steps < 1 && parts <= std::max(count, 1) + 2; ++parts) {
        step = std::max(roundStep((last - first) / parts), smallestStep * factor);
        begin = std::ceil(first / step - rounding);
        steps = static_cast<int>(std::floor(last / step + rounding) - begin);
    }
    std::vector<Tick> all;
    for (int index = 0; index <= steps; ++index) {
        const double value = (begin + index) * step;
        all.push_back({position(value / factor), label(value, exponentOf(step))});
    }
    return all;
}

} // namespace Talmo
