// The whole deck and its beam are read before anything is written. Then the beam goes from step to
// step, all particles through one step before the next. Momentum and energy are not stored with a
// particle: each step computes them from Px, Py and Pz, and keeps |P| unless it accelerates. A
// particle that cannot fly on ends the program.

#include "Tracker.h"

#include "Particles.h"
#include "Text.h"

#include <cmath>
#include <cstdio>

namespace tracker
{

namespace
{

/// The lens that \a step is for a particle of \a charge and momentum \a p.
Lens lensOf(const Step &step, double charge, double p)
{
    switch (step.action) {
    case Action::Quad:
        return quadrupole(step.field, step.length, charge, p);
    case Action::Solenoid:
        return solenoid(step.field, step.length, charge, p);
    default:
        return drift(step.length);
    }
}

bool isUsable(const Track &track)
{
    const double numbers[] = {track.x, track.y, track.z, track.px, track.py, track.pz, track.t};
    for (const double number : numbers) {
        if (!std::isfinite(number))
            return false;
    }
    return track.pz > 0;
}

/// The middle of the message about a track that cannot fly on after \a step.
const char *failure(const Step &step)
{
    if (step.action != Action::Accelerate)
        return " is too strong or too long for track ";
    return step.energy < 0 ? " stops or turns back track " : " is too strong for track ";
}

/// Takes the whole beam through one step. If that fails, \a error names the line of the step.
bool takeStep(
    const Step &step, const Deck &deck, Integrator integrator, Beam &beam, std::string &error)
{
    if (step.action == Action::WriteBeam)
        return writeOutput(step, deck, beam, error);
    for (std::size_t i = 0; i < beam.size(); ++i) {
        if (!takeTrack(step, integrator, beam[i])) {
            error = messageAboutTrack(step, deck, i + 1);
            return false;
        }
    }
    return true;
}

} // namespace

bool passElement(const Step &step, Integrator integrator, Track &track)
{
    const Particle *const particle = findParticle(track.pdgId);
    if (!particle)
        return false;
    const double p = std::hypot(track.px, track.py, track.pz);
    const Ray ray = integrator(lensOf(step, particle->charge, p),
        {track.x, track.px / track.pz, track.y, track.py / track.pz});
    track.x = ray.x;
    track.y = ray.y;
    track.pz = p / std::hypot(1, ray.xSlope, ray.ySlope);
    track.px = ray.xSlope * track.pz;
    track.py = ray.ySlope * track.pz;
    track.z += step.length;
    const double beta = p / std::hypot(p, particle->mass);
    track.t += step.length / (beta * speedOfLight);
    return isUsable(track);
}

// With E^2 = P^2 + m^2 the gain changes P^2, and so Pz^2, by (E + gain)^2 - E^2 = gain (2E + gain):
// H. Wiedemann, Particle Accelerator Physics (Springer), on relativistic kinematics. The mass drops
// out of the difference, so a small gain is not lost to rounding. With a loss, the difference of
// two large terms may be small and inexact, so P^2 is computed from the energy that is left.
bool accelerate(double energy, Track &track)
{
    const Particle *const particle = findParticle(track.pdgId);
    if (!particle)
        return false;
    const double before = std::hypot(std::hypot(track.px, track.py, track.pz), particle->mass);
    const double after = before + energy;
    if (after <= particle->mass)
        return false;
    // The root is not a number if the particle is turned back.
    if (energy < 0)
        track.pz = std::sqrt((after - particle->mass) * (after + particle->mass) -
                             track.px * track.px - track.py * track.py);
    else
        track.pz = std::sqrt(track.pz * track.pz + energy * (2 * before + energy));
    return isUsable(track);
}

void reverse(Track &track)
{
    track.px = -track.px;
    track.py = -track.py;
}

bool takeTrack(const Step &step, Integrator integrator, Track &track)
{
    switch (step.action) {
    case Action::Reverse:
        reverse(track);
        return true;
    case Action::Accelerate:
        return accelerate(step.energy, track);
    default:
        return passElement(step, integrator, track);
    }
}

std::string messageAboutTrack(const Step &step, const Deck &deck, std::size_t number)
{
    return messageAt(deck.name, step.line,
        quoted(commandWord(step.action)) + failure(step) + std::to_string(number));
}

bool writeOutput(const Step &step, const Deck &deck, const Beam &beam, std::string &error)
{
    if (writeBeam(step.file, deck.name, beam))
        return true;
    error = messageAt(deck.name, step.line, "cannot write " + quoted(step.file));
    return false;
}

bool readInput(const std::string &file, Deck &deck, Beam &beam, std::string &error)
{
    if (!readDeck(file, deck, error))
        return false;
    const Step &first = deck.steps.front();
    std::vector<std::string> lines;
    if (!readLines(first.file, lines)) {
        error = messageAt(file, first.line, "cannot read " + quoted(first.file));
        return false;
    }
    return parseBeam(first.file, lines, beam, error);
}

bool runDeck(const std::string &file, Integrator integrator, std::string &error)
{
    Deck deck;
    Beam beam;
    if (!readInput(file, deck, beam, error))
        return false;
    for (std::size_t i = 1; i < deck.steps.size(); ++i) {
        if (!takeStep(deck.steps[i], deck, integrator, beam, error))
            return false;
    }
    return true;
}

int trackerMain(int argc, char **argv, Integrator integrator)
{
    if (argc != 2) {
        std::fputs("Usage: tracker DECK\n"
                   "       tracker-kick DECK\n"
                   "Takes the beam of the input deck through its elements and writes track files:\n"
                   "tracker by transfer matrices, tracker-kick in thin slices.\n",
            stderr);
        return 2;
    }
    std::string error;
    if (runDeck(argv[1], integrator, error))
        return 0;
    // Both programs say "tracker", so that one reference text serves the tests of both.
    std::fprintf(stderr, "tracker: %s\n", error.c_str());
    return 1;
}

} // namespace tracker
