#pragma once

#include <QStringList>
#include <QtGlobal>

#include <functional>
#include <string_view>

namespace Talmo
{

/// A synthetic beam: a rectangular grid of nx by ny particles that all move along z. Positions and
/// momentum are in the units of the simulation that reads them (customarily mm and MeV/c).
struct TestBeam {
    double x0 = 0, x1 = 0; ///< first and last x of the grid, in any order
    int nx = 0;            ///< number of x positions, at least 2
    double y0 = 0, y1 = 0;
    int ny = 0;
    double z = 0;
    int pdgId = 0; ///< particle code in the Particle Data Group's numbering
    double pz = 0;

    /// Takes the nine values, in the order of the members, from \a words, from index \a first on.
    /// Returns false if one is no number of its type, or if nx or ny is below 2.
    bool parse(const QStringList &words, int first);

    /// Takes a piece of a file. Returns false if it takes no more.
    using Sink = std::function<bool(std::string_view text)>;

    /// Writes the beam as a track file: a line with \a title, a line that names the columns, and a
    /// line for each grid point. y changes from line to line, x only after all y. Stops early
    /// if \a file takes no more.
    void write(const QString &title, const Sink &file) const;

    /// The number of the point with x number \a i and y number \a j. Points count from 1, \a i and
    /// \a j from 0.
    qint64 eventId(int i, int j) const { return 1 + static_cast<qint64>(i) * ny + j; }
};

} // namespace Talmo
