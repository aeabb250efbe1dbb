#pragma once

#include "Optics.h"

/// The same lenses, followed in thin slices instead of by their matrices.
///
/// With canonical slopes the motion in a lens has the Hamiltonian
///   H = (x'^2 + y'^2)/2  +  (kx x^2 + ky y^2)/2 + turn (x' y - y' x).
/// The first term is a drift, the others are a kick (and, in a solenoid, a rotation about the
/// axis). Each has an exact flow, so half a drift, a kick, and half a drift make a symplectic step
/// that is right to second order in its length. Outside of fields canonical slopes are Px/Pz and
/// Py/Pz, so a solenoid's hard edges need no step of their own.
namespace tracker
{

/// \a ray after \a lens, in so many slices (at least 1) that each advances the phase by at most
/// 0.0002 radian: the matrix that they make up is right to 1 part in 10^7. A lens of more than 1000
/// radian would take too many slices: the result is not a number.
Ray kicked(const Lens &lens, const Ray &ray);

/// \a ray after \a lens in \a slices equal slices.
Ray kicked(const Lens &lens, Ray ray, int slices);

} // namespace tracker
