#pragma once

#include "Optics.h"

/// The same lenses, followed in thin slices instead of by their matrices.
///
/// With canonical slopes the motion in a lens has the Hamiltonian
///   H = (x'^2 + y'^2)/2  +  (kx x^2 + ky y^2)/2 + turn (x' y - y' x).
/// The first term is a drift. The others are a kick and, in a solenoid, a rotation about the axis.
/// Each has an exact flow, so half a drift, a kick, and half a drift make a symplectic step that is
/// right to second order in its length. Outside of fields canonical slopes are Px/Pz and Py/Pz, so
/// a solenoid's hard edges need no step of their own.
///
/// The error: let h be the phase advance of a slice, sqrt(|k|) times its length, and F the phase
/// advance of the whole lens. To lowest order in h, the phase of a sliced lens is wrong by h^2/24
/// of itself, and the ratio of slope to position by h^2/8. So each element of its matrix, with
/// slopes in units of sqrt(|k|), is wrong by at most h^2 (1/8 + F/24) of its amplitude. The
/// amplitude is 1 in a plane that focuses and cosh F in one that defocuses.
namespace tracker
{

constexpr double phasePerSlice = 1.5e-4; ///< the largest h, rad
constexpr double largestPhase = 100;     ///< the largest F, rad: the error is below 1 part in 10^7

/// \a ray after \a lens, in as few slices as phasePerSlice allows, but in at least 1. A lens with a
/// larger phase than largestPhase is refused: the result is not a number.
Ray kicked(const Lens &lens, const Ray &ray);

/// \a ray after \a lens in \a slices equal slices.
Ray kicked(const Lens &lens, Ray ray, int slices);

} // namespace tracker
