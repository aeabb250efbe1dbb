#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tracker
{

/// One line of a track file: a particle at one place of the beam line.
struct Track {
    double x = 0;  ///< mm
    double y = 0;  ///< mm
    double z = 0;  ///< mm, along the line
    double px = 0; ///< MeV/c
    double py = 0; ///< MeV/c
    double pz = 0; ///< MeV/c, greater than 0
    double t = 0;  ///< ns
    std::int64_t pdgId = 0;
    std::int64_t eventId = 0;
    std::int64_t trackId = 0;
    std::int64_t parentId = 0;
    double weight = 1;
};

using Beam = std::vector<Track>;

/// Reads \a lines, the lines of the track file \a file. The first line begins with the word
/// #QXTrackFile, the second one names the columns, and each further line has one track of 12
/// columns; blank lines and further lines that begin with # are skipped. Every particle must be
/// known (see findParticle) and must fly forward. For any other file, says in \a error what is
/// wrong and where, and returns false.
bool parseBeam(
    const std::string &file, const std::vector<std::string> &lines, Beam &beam, std::string &error);

/// Writes a track file whose numbers have 10 significant digits; \a title follows #QXTrackFile.
/// Returns false if the file cannot be written completely.
bool writeBeam(const std::string &file, const std::string &title, const Beam &beam);

} // namespace tracker
