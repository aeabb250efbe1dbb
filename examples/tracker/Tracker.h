#pragma once

#include "Beam.h"
#include "Deck.h"
#include "Optics.h"

/// A deck at work: the beam is read whole, then taken through one step after the other.
namespace tracker
{

/// How a ray passes a lens: transported or kicked.
using Integrator = Ray (*)(const Lens &lens, const Ray &ray);

/// Takes \a track through \a step, a drift, quadrupole or solenoid. Its |P| stays; z grows by the
/// element's length, and t by the time it takes at the particle's speed (to first order the path
/// has that length). Returns false if the particle is unknown or the result overflows; the track is
/// then of no use.
bool passElement(const Step &step, Integrator integrator, Track &track);

/// Takes \a track through a thin gap that adds \a energy (MeV) to its total energy, whatever its
/// charge. Px and Py stay, and Pz follows from the new |P|. Returns false if the particle is
/// unknown, has no momentum left to fly forward with, or overflows; the track is then of no use.
bool accelerate(double energy, Track &track);

/// Turns \a track round: Px and Py change sign, z and t keep running. What follows is seen in a
/// mirror behind which time runs backwards, so a line is retraced if its elements follow in reverse
/// order, drifts and quadrupoles as they were, solenoids with the opposite field, gaps with the
/// opposite energy.
void reverse(Track &track);

/// Reads the deck \a file and executes it. Nothing is written unless the whole deck and its beam
/// have been understood. Returns false, and says in \a error where and what is wrong, on failure.
bool runDeck(const std::string &file, Integrator integrator, std::string &error);

/// The main function of a tracker that uses \a integrator: one argument, the deck. Returns the exit
/// status: 0, 1 after a failure or 2 for a wrong command line, with the reason on standard error.
int trackerMain(int argc, char **argv, Integrator integrator);

} // namespace tracker
