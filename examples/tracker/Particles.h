#pragma once

#include <cstdint>

namespace tracker
{

/// A kind of particle that the tracker can transport.
struct Particle {
    std::int64_t pdgId; ///< code of the Particle Data Group's numbering scheme
    double mass;        ///< MeV/c^2
    double charge;      ///< in units of the positron's
};

/// The particle with this code, or null if the tracker does not know it.
const Particle *findParticle(std::int64_t pdgId);

} // namespace tracker
