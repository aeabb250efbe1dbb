#include "Kick.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tracker
{

namespace
{

Ray drifted(const Ray &ray, double length)
{
    return {ray.x + length * ray.xSlope, ray.xSlope, ray.y + length * ray.ySlope, ray.ySlope};
}

Ray rotated(const Ray &ray, double cosine, double sine)
{
    return {
        cosine * ray.x + sine * ray.y,
        cosine * ray.xSlope + sine * ray.ySlope,
        cosine * ray.y - sine * ray.x,
        cosine * ray.ySlope - sine * ray.xSlope,
    };
}

} // namespace

Ray kicked(const Lens &lens, const Ray &ray)
{
    const double phase = lens.length * std::sqrt(std::max(std::fabs(lens.kx), std::fabs(lens.ky)));
    if (!(phase <= largestPhase)) {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        return {nan, nan, nan, nan};
    }
    return kicked(lens, ray, std::max(1, static_cast<int>(std::ceil(phase / phasePerSlice))));
}

Ray kicked(const Lens &lens, Ray ray, int slices)
{
    const double step = lens.length / slices;
    const double cosine = std::cos(lens.turn * step);
    const double sine = std::sin(lens.turn * step);
    for (int i = 0; i < slices; ++i) {
        ray = drifted(ray, step / 2);
        ray.xSlope -= step * lens.kx * ray.x;
        ray.ySlope -= step * lens.ky * ray.y;
        ray = drifted(rotated(ray, cosine, sine), step / 2);
    }
    return ray;
}

} // namespace tracker
