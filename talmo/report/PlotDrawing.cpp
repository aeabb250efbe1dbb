// A picture from top to bottom: whose curve is which, and for each column a title, a panel with
// both curves, one with their difference, and the axis that the two share. The colours are in
// plotStyle.cpp.

#include "PlotDrawing.h"

#include "PathData.h"
#include "PlotAxis.h"
#include "pageText.h"
#include "plotStyle.h"
#include "talmo/Numbers.h"

#include <QStringList>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace Talmo
{

namespace
{

constexpr int left = 84; ///< of the panels: room for the longest numbers
constexpr int right = 14;
constexpr int legendHeight = 26;
constexpr int titleHeight = 24;
constexpr int curvesHeight = 170;
constexpr int gap = 22; ///< has the words about the panel below
constexpr int differenceHeight = 90;
constexpr int axisHeight = 44;
constexpr int columnHeight = titleHeight + curvesHeight + gap + differenceHeight + axisHeight;
constexpr double widthOfCharacter = 6.8;

QString number(double pixels)
{
    std::string text;
    appendNumber(text, std::round(pixels * 10) / 10);
    return QString::fromStdString(text);
}

QString value(double someValue)
{
    std::string text;
    appendNumber(text, someValue);
    return QString::fromStdString(text);
}

/// \a text with dots for its middle, if it takes more room than \a pixels.
QString shortened(const QString &text, double pixels)
{
    const int most = std::max(4, static_cast<int>(pixels / widthOfCharacter));
    if (text.size() <= most)
        return text;
    return text.left(most / 3) + QChar(0x2026) + text.right(most - most / 3 - 1);
}

/// The values that an axis has to show.
struct Range {
    double from = 0;
    double to = 0;
};

Range rangeOfCurves(const PlotCurve &curve1, const PlotCurve &curve2)
{
    if (curve1.isEmpty())
        return {curve2.smallest(), curve2.largest()};
    if (curve2.isEmpty())
        return {curve1.smallest(), curve1.largest()};
    return {std::min(curve1.smallest(), curve2.smallest()),
        std::max(curve1.largest(), curve2.largest())};
}

/// The differences and the band, but of a wide band only so much that the differences are seen.
Range rangeOfDifference(const PlottedColumn &column)
{
    constexpr double mostOfTheBand = 4;
    const double largest =
        std::max(std::fabs(column.difference.smallest()), std::fabs(column.difference.largest()));
    const double most =
        largest > 0 ? std::min(largest, std::numeric_limits<double>::max() / 8) * mostOfTheBand
                    : column.tolerance;
    const double band = std::max(0.0, std::min(column.tolerance, most));
    return {
        std::min(column.difference.smallest(), -band), std::max(column.difference.largest(), band)};
}

class PlotDrawing
{
public:
    PlotDrawing(const Plot &somePlot, QXmlStreamWriter &writer)
        : plot(somePlot)
        , xml(writer)
        , panelWidth(plotPixels(somePlot.width))
        , xAxis(somePlot.fromX, somePlot.toX, panelWidth)
    {
    }

    void draw(bool isAlone);

private:
    void describe();
    void drawLegend();
    void drawKey(double x, const char *kind, const QString &label, double room);
    void drawColumn(const PlottedColumn &column, double top);
    void drawCurves(const PlottedColumn &column, double top);
    void drawDifference(const PlottedColumn &column, double top);
    void drawGrid(const PlotAxis &axis, double top, double height, int ticks);
    void drawXNumbers(double top);
    void drawBand(const PlotAxis &axis, double tolerance, double top, double height);
    void drawCurve(
        const PlotCurve &curve, const PlotAxis &axis, const char *kind, double top, double height);
    void rectangle(const char *kind, double top, double height);
    void text(const char *kind, double x, double y, const QString &words);
    void attribute(const char *name, const QString &words);

    const Plot &plot;
    QXmlStreamWriter &xml;
    const int panelWidth;
    const PlotAxis xAxis;
};

void PlotDrawing::attribute(const char *name, const QString &words)
{
    xml.writeAttribute(QLatin1String(name), words);
}

void PlotDrawing::text(const char *kind, double x, double y, const QString &words)
{
    xml.writeStartElement(QStringLiteral("text"));
    attribute("class", QLatin1String(kind));
    attribute("x", number(x));
    attribute("y", number(y));
    xml.writeCharacters(pageText(words));
    xml.writeEndElement();
}

void PlotDrawing::rectangle(const char *kind, double top, double height)
{
    xml.writeEmptyElement(QStringLiteral("rect"));
    attribute("class", QLatin1String(kind));
    attribute("x", number(left));
    attribute("y", number(top));
    attribute("width", number(panelWidth));
    attribute("height", number(height));
}

void PlotDrawing::draw(bool isAlone)
{
    const double height = legendHeight + columnHeight * static_cast<double>(plot.columns.size());
    xml.writeStartElement(QStringLiteral("svg"));
    attribute("xmlns", QStringLiteral("http://www.w3.org/2000/svg"));
    attribute("class", QStringLiteral("talmo-plot"));
    attribute("role", QStringLiteral("img"));
    attribute("width", number(plot.width));
    attribute("height", number(height));
    attribute("viewBox", QStringLiteral("0 0 %1 %2").arg(number(plot.width), number(height)));
    describe();
    if (isAlone)
        xml.writeTextElement(
            QStringLiteral("style"), QLatin1String(plotColors) + QLatin1String(plotRules));
    drawLegend();
    double top = legendHeight;
    for (const PlottedColumn &column : plot.columns) {
        drawColumn(column, top);
        top += columnHeight;
    }
    xml.writeEndElement();
}

QString titleOf(const PlottedColumn &column)
{
    const QString title = QStringLiteral("Column %1").arg(column.column);
    return column.name.isEmpty() ? title : title + QStringLiteral(": ") + column.name;
}

/// What those hear to whom the picture is read.
void PlotDrawing::describe()
{
    QStringList titles;
    QStringList sentences;
    for (const PlottedColumn &column : plot.columns) {
        titles += titleOf(column);
        if (!column.difference.isEmpty())
            sentences += QStringLiteral("%1: the difference goes from %2 to %3.")
                             .arg(titleOf(column), value(column.difference.smallest()),
                                 value(column.difference.largest()));
    }
    xml.writeTextElement(QStringLiteral("title"),
        pageText(titles.join(QStringLiteral(", ")) +
                 QStringLiteral(" of '%1' and '%2'").arg(plot.label1, plot.label2)));
    xml.writeTextElement(QStringLiteral("desc"),
        pageText((QStringList(QStringLiteral("Both curves over %1, and below them their difference "
                                             "with the band of the tolerance.")
                                  .arg(plot.xName)) +
                  sentences)
                     .join(QLatin1Char(' '))));
}

void PlotDrawing::drawKey(double x, const char *kind, const QString &label, double room)
{
    constexpr double sample = 22;
    constexpr double height = 14;
    PathData path;
    path.moveTo(x, height - 4);
    path.lineTo(x + sample, height - 4);
    xml.writeEmptyElement(QStringLiteral("path"));
    attribute("class", QStringLiteral("curve ") + QLatin1String(kind));
    attribute("d", path.result());
    text("label", x + sample + 6, height, shortened(label, room - sample - 6));
}

void PlotDrawing::drawLegend()
{
    const double half = panelWidth / 2.0;
    drawKey(left, "one", plot.label1, half);
    drawKey(left + half, "two", plot.label2, half);
}

void PlotDrawing::drawColumn(const PlottedColumn &column, double top)
{
    const double difference = top + titleHeight + curvesHeight + gap;
    text("title", left, top + titleHeight - 8, shortened(titleOf(column), panelWidth));
    drawCurves(column, top + titleHeight);
    drawDifference(column, difference);
    drawXNumbers(difference + differenceHeight);
}

void PlotDrawing::drawCurves(const PlottedColumn &column, double top)
{
    constexpr int ticks = 4;
    rectangle("frame", top, curvesHeight);
    if (column.curve1.isEmpty() && column.curve2.isEmpty()) {
        text("middle", left + panelWidth / 2.0, top + curvesHeight / 2.0,
            QStringLiteral("There are no numbers in this column."));
        return;
    }
    const Range range = rangeOfCurves(column.curve1, column.curve2);
    const PlotAxis axis(range.from, range.to, curvesHeight);
    drawGrid(axis, top, curvesHeight, ticks);
    drawCurve(column.curve2, axis, "two", top, curvesHeight);
    drawCurve(column.curve1, axis, "one", top, curvesHeight);
}

void PlotDrawing::drawDifference(const PlottedColumn &column, double top)
{
    constexpr int ticks = 3;
    const bool hasBand = column.tolerance >= 0;
    text("number", left, top - 7,
        hasBand ? QStringLiteral("difference; the band is the tolerance ") + value(column.tolerance)
                : QStringLiteral("difference"));
    if (column.difference.isEmpty()) {
        rectangle("frame", top, differenceHeight);
        return;
    }
    const Range range = rangeOfDifference(column);
    const PlotAxis axis(range.from, range.to, differenceHeight);
    if (hasBand)
        drawBand(axis, column.tolerance, top, differenceHeight);
    rectangle("frame", top, differenceHeight);
    drawGrid(axis, top, differenceHeight, ticks);
    drawCurve(column.difference, axis, "apart", top, differenceHeight);
}

/// The tolerance, at least a line of one pixel.
void PlotDrawing::drawBand(const PlotAxis &axis, double tolerance, double top, double height)
{
    const double upper = axis.position(tolerance);
    const double lower = axis.position(-tolerance);
    rectangle("band", top + height - upper - 0.5, upper - lower + 1);
}

/// Lines across the panel, and their numbers at its left.
void PlotDrawing::drawGrid(const PlotAxis &axis, double top, double height, int ticks)
{
    constexpr double halfALetter = 4;
    PathData path;
    for (const PlotAxis::Tick &tick : axis.ticks(ticks)) {
        const double y = top + height - tick.position;
        path.moveTo(left, y);
        path.lineTo(left + panelWidth, y);
        text("number end", left - 6, y + halfALetter, tick.label);
    }
    xml.writeEmptyElement(QStringLiteral("path"));
    attribute("class", QStringLiteral("grid"));
    attribute("d", path.result());
}

/// The axis below the panels: numbers, and what they are.
void PlotDrawing::drawXNumbers(double top)
{
    constexpr double pixelsPerNumber = 90;
    PathData path;
    for (const PlotAxis::Tick &tick :
        xAxis.ticks(static_cast<int>(panelWidth / pixelsPerNumber), plot.smallestXStep)) {
        path.moveTo(left + tick.position, top);
        path.lineTo(left + tick.position, top + 4);
        text("number middle", left + tick.position, top + 16, tick.label);
    }
    xml.writeEmptyElement(QStringLiteral("path"));
    attribute("class", QStringLiteral("grid"));
    attribute("d", path.result());
    text("number middle", left + panelWidth / 2.0, top + 30, shortened(plot.xName, panelWidth));
}

void PlotDrawing::drawCurve(
    const PlotCurve &curve, const PlotAxis &axis, const char *kind, double top, double height)
{
    PathData path;
    const auto y = [&](double someValue) { return top + height - axis.position(someValue); };
    for (const PlotCurve::Stroke &stroke : curve.strokes()) {
        const double x = left + stroke.x;
        if (stroke.isJoined)
            path.lineTo(x, y(stroke.first));
        else
            path.moveTo(x, y(stroke.first));
        if (stroke.smallest != stroke.largest) {
            path.lineTo(x, y(stroke.smallest));
            path.lineTo(x, y(stroke.largest));
            path.lineTo(x, y(stroke.last));
        }
    }
    if (curve.isEmpty())
        return;
    xml.writeEmptyElement(QStringLiteral("path"));
    attribute("class", QStringLiteral("curve ") + QLatin1String(kind));
    attribute("d", path.result());
}

} // namespace

int plotPixels(int width)
{
    return std::max(width - left - right, 1);
}

void drawPlot(const Plot &plot, bool isAlone, QXmlStreamWriter &xml)
{
    PlotDrawing(plot, xml).draw(isAlone);
}

} // namespace Talmo
