#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tracker
{

/// One line of a track file: a particle at one place of the line.
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

/// Reads \a lines, those of the track file \a file, whose first line begins with the word
/// #QXTrackFile, whose second line names the columns, and which then has one track of 12 columns on
/// each line; blank lines and further lines that begin with # are skipped. Every particle is known
/// (see findParticle) and flies forward. Returns false, and says in \a error where and what is
/// wrong, for any other file.
bool parseBeam(
    const std::string &file, const std::vector<std::string> &lines, Beam &beam, std::string &error);

/// Writes a track file, its numbers with 10 significant digits; \a title follows #QXTrackFile.
/// Returns false if the file cannot be written completely.
bool writeBeam(const std::string &file, const std::string &title, const Beam &beam);

} // namespace tracker
