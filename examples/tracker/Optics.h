#pragma once

#include <array>

/// Linear optics of one element for one particle.
///
/// A ray is the particle's transverse state in the paraxial convention, x' = Px/Pz and y' = Py/Pz.
/// To first order in x, x', y, y' every element maps the ray linearly, with a strength that depends
/// on the particle's own rigidity p/q. Drift and quadrupole obey x'' + kx x = 0, y'' + ky y = 0. A
/// solenoid does so in a frame that turns about the axis at half the cyclotron frequency (Larmor);
/// its hard edges are included.
namespace tracker
{

/// Speed of light in mm/ns; the same digits are the momentum in MeV/c whose rigidity, at unit
/// charge, is 1 T m.
constexpr double speedOfLight = 299.792458;

/// A particle's transverse state, outside of fields.
struct Ray {
    double x;      ///< mm
    double xSlope; ///< Px/Pz
    double y;      ///< mm
    double ySlope; ///< Py/Pz
};

/// What an element does to a particle of given rigidity.
struct Lens {
    double kx = 0;     ///< focusing strength in x, 1/mm^2; negative if it defocuses
    double ky = 0;     ///< focusing strength in y, 1/mm^2
    double turn = 0;   ///< rotation per length from y towards x, rad/mm; only a solenoid turns
    double length = 0; ///< mm
};

/// Maps (x, x', y, y'): lengths in mm, slopes without unit.
using Matrix = std::array<std::array<double, 4>, 4>;

/// A field-free \a length (mm).
Lens drift(double length);

/// A quadrupole of \a gradient (T/m) and \a length (mm), for a particle of \a charge (in units of
/// the positron's) and momentum \a p (MeV/c, greater than 0).
Lens quadrupole(double gradient, double length, double charge, double p);

/// The same for a solenoid with \a field (T) along z.
Lens solenoid(double field, double length, double charge, double p);

/// The transfer matrix of \a lens. It is symplectic. A lens without strength has that of a drift.
Matrix matrixOf(const Lens &lens);

/// \a ray after \a lens, by its transfer matrix.
Ray transported(const Lens &lens, const Ray &ray);

} // namespace tracker
