#include "Optics.h"

#include <cmath>

namespace tracker
{

namespace
{

constexpr double perMetre = 1e-3; // 1/m in 1/mm

/// q/p in 1/(T m).
double perRigidity(double charge, double p)
{
    return charge * speedOfLight / p;
}

/// The 2x2 matrix of x'' + k x = 0 over some length: rows (cosine, sine), (-k sine, cosine).
/// K. L. Brown, A First- and Second-Order Matrix Theory for the Design of Beam Transport Systems
/// and Charged Particle Spectrometers, SLAC-75, has it for drifts and for quadrupoles.
struct Oscillation {
    double k;      ///< 1/mm^2
    double cosine; ///< the solution with x = 1, x' = 0
    double sine;   ///< the solution with x = 0, x' = 1; mm
};

Oscillation oscillation(double k, double length)
{
    const double root = std::sqrt(std::fabs(k));
    const double phase = root * length;
    if (k > 0)
        return {k, std::cos(phase), std::sin(phase) / root};
    if (k < 0)
        return {k, std::cosh(phase), std::sinh(phase) / root};
    return {0, 1, length};
}

} // namespace

Lens drift(double length)
{
    return {0, 0, 0, length};
}

Lens quadrupole(double gradient, double length, double charge, double p)
{
    const double k = gradient * perRigidity(charge, p) * perMetre * perMetre;
    return {k, -k, 0, length};
}

Lens solenoid(double field, double length, double charge, double p)
{
    const double turn = field * perRigidity(charge, p) / 2 * perMetre;
    return {turn * turn, turn * turn, turn, length};
}

// Both planes oscillate, then turn together. With kx = ky = turn^2 this is the matrix of a solenoid
// and its edges: H. Wiedemann, Particle Accelerator Physics (Springer), on motion in a solenoid.
Matrix matrixOf(const Lens &lens)
{
    const Oscillation x = oscillation(lens.kx, lens.length);
    const Oscillation y = oscillation(lens.ky, lens.length);
    const double c = std::cos(lens.turn * lens.length);
    const double s = std::sin(lens.turn * lens.length);
    // clang-format off
    return {{
        {{  c * x.cosine,        c * x.sine,    s * y.cosine,        s * y.sine   }},
        {{ -c * x.k * x.sine,    c * x.cosine, -s * y.k * y.sine,    s * y.cosine }},
        {{ -s * x.cosine,       -s * x.sine,    c * y.cosine,        c * y.sine   }},
        {{  s * x.k * x.sine,   -s * x.cosine, -c * y.k * y.sine,    c * y.cosine }},
    }};
    // clang-format on
}

Ray transported(const Lens &lens, const Ray &ray)
{
    const Matrix m = matrixOf(lens);
    const auto row = [&](std::size_t i) {
        return m[i][0] * ray.x + m[i][1] * ray.xSlope + m[i][2] * ray.y + m[i][3] * ray.ySlope;
    };
    return {row(0), row(1), row(2), row(3)};
}

} // namespace tracker
