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

    /// Takes the nine values of \a words, in the order of the members, from index \a first on;
    /// false if one is no number of its kind, or a count is below 2.
    bool parse(const QStringList &words, int first);

    /// Takes a piece of a file; false if it takes no more.
    using Sink = std::function<bool(std::string_view text)>;

    /// Writes the beam as a track file: a line with \a title, one that names the columns, and a
    /// line for each grid point, y running fastest. Stops early when \a file takes no more.
    void write(const QString &title, const Sink &file) const;

    /// Running number, from 1, of the point in row \a i (of x) and column \a j, both from 0.
    qint64 eventId(int i, int j) const { return 1 + static_cast<qint64>(i) * ny + j; }
};

} // namespace Talmo
