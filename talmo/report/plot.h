#pragma once

#include "LineReader.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

class QIODevice;

namespace Talmo
{

/// A picture of columns of two files, one below the other.
struct PlotRequest {
    QString file1, file2;           ///< regular files; they are read twice
    std::vector<size_t> columns;    ///< which are drawn, from 1
    std::vector<double> tolerances; ///< by column, from the first on; none is drawn of a negative
    QStringList names;              ///< of the columns, from the first on; may be empty
    size_t x = 0;                   ///< 0: over the line number, else over this column, from 1
    int width = 800;                ///< of the picture, in pixels
    /// Opens file1 or file2 as it is to be read. None: as it is.
    std::function<bool(LineReader &lines, const QString &name)> open = {};
};

/// Writes a picture as a document of SVG: for each column the curves of both files and, below them,
/// their difference with the band of the tolerance. Lines are paired as "=compare" does; a line
/// without a number at this place interrupts the curve. Of the values that fall on one pixel, the
/// smallest and the largest are drawn, so no peak is lost, and memory does not grow with the files.
/// False if a file cannot be read; \a problem then says why. Also false, with no problem, if \a
/// device cannot be written: whoever opened it knows the reason, as saveFile does.
bool writePlot(const PlotRequest &request, QIODevice &device, QString &problem);

/// Whether a file is a picture that writePlot wrote: \a head is its beginning.
bool isPlot(std::string_view head);

/// Writes the same as an element for a page that has plotRules (plotStyle.h) in its style sheet and
/// gives the variables in them values. In it, the files are called \a label1 and \a label2.
bool writePlotElement(const PlotRequest &request, const QString &label1, const QString &label2,
    QIODevice &device, QString &problem);

} // namespace Talmo
