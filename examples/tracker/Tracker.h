#pragma once

#include "Beam.h"
#include "Deck.h"
#include "Optics.h"

/// Runs a deck: reads the whole beam, and then takes it through one step after the other. A program
/// that divides the beam among several processes has the parts of that.
namespace tracker
{

/// Takes a ray through a lens: transported or kicked.
using Integrator = Ray (*)(const Lens &lens, const Ray &ray);

/// Takes \a track through \a step, a drift, quadrupole or solenoid. |P| stays the same; z grows by
/// the element's length, and t by the time that the particle takes for it (to first order the path
/// is as long as the element). Returns false if the particle is unknown or the result overflows;
/// the track is then of no use.
bool passElement(const Step &step, Integrator integrator, Track &track);

/// Takes \a track through a thin gap that adds \a energy (MeV) to its total energy, whatever its
/// charge. Px and Py stay, and Pz follows from the new |P|. Returns false if the particle is
/// unknown, if it has no momentum left to fly forward, or if the result overflows; the track is
/// then of no use.
bool accelerate(double energy, Track &track);

/// Turns \a track round: Px and Py change sign, z and t keep growing. This is time reversal, seen
/// in a mirror z -> -z. So a line is retraced if its elements follow in reverse order: drifts and
/// quadrupoles as they were, solenoids with the opposite field, gaps with the opposite energy.
void reverse(Track &track);

/// Takes \a track through \a step, which is none that reads or writes. Returns false if the track
/// cannot fly on; it is then of no use.
bool takeTrack(const Step &step, Integrator integrator, Track &track);

/// Says that the track \a number, counted from 1, cannot fly on after \a step of \a deck.
std::string messageAboutTrack(const Step &step, const Deck &deck, std::size_t number);

/// Reads the deck \a file and its beam. On failure, says in \a error what is wrong and where, and
/// returns false.
bool readInput(const std::string &file, Deck &deck, Beam &beam, std::string &error);

/// Writes \a beam where \a step, an output of \a deck, wants it. On failure, says so in \a error,
/// and returns false.
bool writeOutput(const Step &step, const Deck &deck, const Beam &beam, std::string &error);

/// Reads the deck \a file and executes it. Writes nothing unless the whole deck and its beam could
/// be read. On failure, says in \a error what is wrong and where, and returns false.
bool runDeck(const std::string &file, Integrator integrator, std::string &error);

/// The main function of a tracker that uses \a integrator: one argument, the deck. Returns the exit
/// status: 0, 1 after a failure or 2 for a wrong command line, with the reason on standard error.
int trackerMain(int argc, char **argv, Integrator integrator);

} // namespace tracker
