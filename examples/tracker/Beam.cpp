// A track file is described by one table of columns, which reading and writing both walk through.
// An error names the first word that is wrong. What is written can be read again.

#include "Beam.h"

#include "Particles.h"
#include "Text.h"
#include "talmo/Numbers.h"

#include <charconv>
#include <fstream>
#include <iterator>

namespace tracker
{

namespace
{

/// A column of the track file: its name and the member of Track that it fills.
struct Column {
    const char *name;
    double Track::*real;
    std::int64_t Track::*integer; ///< null for a column of reals
};

// clang-format off
constexpr Column columns[] = {
    { "x",        &Track::x,      nullptr          },
    { "y",        &Track::y,      nullptr          },
    { "z",        &Track::z,      nullptr          },
    { "Px",       &Track::px,     nullptr          },
    { "Py",       &Track::py,     nullptr          },
    { "Pz",       &Track::pz,     nullptr          },
    { "t",        &Track::t,      nullptr          },
    { "PDGid",    nullptr,        &Track::pdgId    },
    { "EventID",  nullptr,        &Track::eventId  },
    { "TrackID",  nullptr,        &Track::trackId  },
    { "ParentID", nullptr,        &Track::parentId },
    { "Weight",   &Track::weight, nullptr          },
};
// clang-format on

const char *const fileMark = "#QXTrackFile";
constexpr int significantDigits = 10;

/// The second line of every track file.
std::string columnLine()
{
    std::string line;
    for (const Column &column : columns)
        line += (line.empty() ? "#" : " ") + std::string(column.name);
    return line;
}

/// Reads \a word as Talmo::toInteger does, but into 64 bits, because =testbeam can number more
/// events than an int can count. If \a word does not fit or is no integer, says in \a what is wrong
/// and returns false.
bool parseInteger(const std::string &word, std::int64_t &value, std::string &what)
{
    const bool plus = word.size() > 1 && word[0] == '+' && word[1] != '-'; // from_chars takes none
    const char *const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data() + (plus ? 1 : 0), end, value);
    if (error == std::errc() && stop == end)
        return true;
    const bool tooLarge = error == std::errc::result_out_of_range && stop == end;
    what = quoted(word) + (tooLarge ? " does not fit in 64 bits" : " is not an integer");
    return false;
}

bool parseColumn(const Column &column, const std::string &word, Track &track, std::string &what)
{
    if (column.integer)
        return parseInteger(word, track.*column.integer, what);
    if (!Talmo::toNumber(word, track.*column.real)) {
        what = quoted(word) + " is not a number";
        return false;
    }
    return true;
}

bool parseTrack(const std::vector<std::string> &words, Track &track, std::string &what)
{
    if (words.size() != std::size(columns)) {
        what = "expected " + std::to_string(std::size(columns)) + " columns, found " +
               std::to_string(words.size());
        return false;
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!parseColumn(columns[i], words[i], track, what))
            return false;
        if (columns[i].real == &Track::pz && track.pz <= 0) {
            what = "Pz must be greater than 0, found " + quoted(words[i]);
            return false;
        }
        if (columns[i].integer == &Track::pdgId && !findParticle(track.pdgId)) {
            what = "unknown PDGid " + quoted(words[i]);
            return false;
        }
    }
    return true;
}

/// Checks the two lines that make a text file a track file.
bool checkHeading(
    const std::string &file, const std::vector<std::string> &lines, std::string &error)
{
    const auto words = [&](std::size_t i) {
        return i < lines.size() ? splitWords(lines[i]) : std::vector<std::string>();
    };
    const std::vector<std::string> first = words(0);
    if (first.empty() || first.front() != fileMark) {
        error = messageAt(file, 1, "the first line must begin with " + quoted(fileMark));
        return false;
    }
    if (words(1) != splitWords(columnLine())) {
        error = messageAt(file, 2, "the second line must be " + quoted(columnLine()));
        return false;
    }
    return true;
}

} // namespace

bool parseBeam(
    const std::string &file, const std::vector<std::string> &lines, Beam &beam, std::string &error)
{
    if (!checkHeading(file, lines, error))
        return false;
    for (std::size_t i = 2; i < lines.size(); ++i) {
        const std::vector<std::string> words = splitWords(lines[i]);
        if (words.empty() || words.front().front() == '#')
            continue;
        Track track;
        std::string what;
        if (!parseTrack(words, track, what)) {
            error = messageAt(file, i + 1, what);
            return false;
        }
        beam.push_back(track);
    }
    return true;
}

bool writeBeam(const std::string &file, const std::string &title, const Beam &beam)
{
    std::ofstream stream(file);
    stream << fileMark << ' ' << title << '\n' << columnLine() << '\n';
    for (const Track &track : beam) {
        std::string line;
        for (const Column &column : columns) {
            if (!line.empty())
                line += ' ';
            if (column.integer)
                line += std::to_string(track.*column.integer);
            else // adding 0 turns -0 into 0
                Talmo::appendNumber(line, track.*column.real + 0.0, significantDigits);
        }
        stream << line << '\n';
    }
    stream.close(); // that the disk is full may be reported only here
    return stream.good();
}

} // namespace tracker
