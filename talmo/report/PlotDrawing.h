#pragma once

#include "PlotCurve.h"

#include <QString>

#include <cstddef>
#include <vector>

class QXmlStreamWriter;

namespace Talmo
{

/// The curves of one column of two files.
struct PlottedColumn {
    size_t column;
    QString name;     ///< may be empty
    double tolerance; ///< negative: there is none
    PlotCurve curve1;
    PlotCurve curve2;
    PlotCurve difference; ///< of the first file and the second
};

/// What a picture shows.
struct Plot {
    int width = 0;          ///< of the whole picture, in pixels
    QString label1, label2; ///< what the files are called
    QString xName;
    double fromX = 0;
    double toX = 0;
    double smallestXStep = 0; ///< between the numbers at the x axis
    std::vector<PlottedColumn> columns;
};

/// How many pixels of a picture of \a width are left for a curve.
int plotPixels(int width);

/// Writes \a plot as an element "svg", with a style of its own if it is to stand alone.
void drawPlot(const Plot &plot, bool isAlone, QXmlStreamWriter &xml);

} // namespace Talmo
