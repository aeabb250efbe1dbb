// Two passes over the files: the first finds the ends of the x axis, the second knows on which
// pixel a point falls.

#include "plot.h"

#include "Difference.h"
#include "DiskFile.h"
#include "LineReader.h"
#include "PlotAxis.h"
#include "PlotDrawing.h"
#include "Words.h"
#include "regularFile.h"
#include "talmo/Numbers.h"

#include <QFile>
#include <QIODevice>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace Talmo
{

namespace
{

constexpr int smallestWidth = 300;
constexpr int largestWidth = 8000;

QString cannotRead(const QString &name, const QString &reason)
{
    return QStringLiteral("'%1' cannot be read: %2").arg(name, reason);
}

/// Why the file \a name cannot be read twice; null if it can.
QString problemOf(const QString &name)
{
    const QByteArray path = systemName(name);
    QFile file;
    if (path.isNull())
        return cannotRead(name, QStringLiteral("No file has such a name"));
    return openRegular(file, path) ? QString() : cannotRead(name, reasonOf(errno));
}

/// Two files, line by line, side by side.
class Pairs
{
public:
    bool open(const PlotRequest &request)
    {
        hashMark.split("#");
        if (request.open)
            return request.open(reader1, request.file1) && request.open(reader2, request.file2);
        return reader1.open(request.file1) && reader2.open(request.file2);
    }

    /// Moves to the next pair that is no pair of comments.
    bool next();

    /// Why the pairs ended too early; null if that is not so.
    QString problem(const PlotRequest &request) const
    {
        if (!reader1.failed() && !reader2.failed())
            return {};
        return cannotRead(reader1.failed() ? request.file1 : request.file2,
            QStringLiteral("Reading failed, or there is too little memory for a line"));
    }

    qint64 line = 0;
    Words words1; ///< of a comment that has no counterpart, and of no line: one that is empty
    Words words2;

private:
    bool isComment(const Words &words) const
    {
        // Two comments agree, whatever else is in them.
        static const std::vector<double> none;
        return judgeColumns(words, hashMark, none).kind == Difference::None;
    }

    LineReader reader1;
    LineReader reader2;
    Words hashMark;
};

bool Pairs::next()
{
    for (;;) {
        std::string_view line1;
        std::string_view line2;
        const bool more1 = reader1.readLine(line1);
        const bool more2 = reader2.readLine(line2);
        if ((!more1 && !more2) || reader1.failed() || reader2.failed())
            return false;
        ++line;
        words1.split(more1 ? line1 : std::string_view());
        words2.split(more2 ? line2 : std::string_view());
        const bool isComment1 = isComment(words1);
        const bool isComment2 = isComment(words2);
        if (isComment1 && isComment2)
            continue;
        if (isComment1)
            words1.split({});
        if (isComment2)
            words2.split({});
        return true;
    }
}

/// Reads the number in \a column, from 1, of \a words.
bool numberIn(const Words &words, size_t column, double &number)
{
    return column <= words.count() && toNumber(words[column - 1], number);
}

/// Where a line is on the x axis: its number, or what is in the column \a column.
bool xOf(const Words &words, qint64 line, size_t column, double &x)
{
    x = static_cast<double>(line);
    return column == 0 ? words.count() > 1 || !words[0].empty() : numberIn(words, column, x);
}

/// \a value1 minus \a value2, but no infinity.
double finiteDifference(double value1, double value2)
{
    constexpr double most = std::numeric_limits<double>::max();
    return std::clamp(value1 - value2, -most, most);
}

class Plotter
{
public:
    explicit Plotter(const PlotRequest &someRequest);

    bool read(QString &problem) { return findEnds(problem) && readCurves(problem); }

    Plot plot;

private:
    bool findEnds(QString &problem);
    bool readCurves(QString &problem);
    void addPoints(const Pairs &pairs, const PlotAxis &axis);

    const PlotRequest &request;
};

Plotter::Plotter(const PlotRequest &someRequest)
    : request(someRequest)
{
    const auto name = [this](size_t column) {
        return request.names.value(static_cast<int>(column) - 1);
    };
    plot.width = std::clamp(request.width, smallestWidth, largestWidth);
    const int pixels = plotPixels(plot.width);
    for (const size_t column : request.columns) {
        const bool hasTolerance = column <= request.tolerances.size();
        plot.columns.push_back(
            {column, name(column), hasTolerance ? request.tolerances[column - 1] : -1,
                PlotCurve(pixels), PlotCurve(pixels), PlotCurve(pixels)});
    }
    plot.xName = QStringLiteral("line");
    plot.smallestXStep = request.x == 0 ? 1 : 0;
    if (request.x > 0)
        plot.xName = QStringLiteral("column %1").arg(request.x);
    if (request.x > 0 && !name(request.x).isEmpty())
        plot.xName += QStringLiteral(": ") + name(request.x);
}

bool Plotter::findEnds(QString &problem)
{
    for (const QString &name : {request.file1, request.file2}) {
        problem = problemOf(name);
        if (!problem.isNull())
            return false;
    }
    Pairs pairs;
    if (!pairs.open(request)) {
        problem = cannotRead(request.file1, reasonOf(errno));
        return false;
    }
    bool isFirst = true;
    while (pairs.next()) {
        for (const Words *const words : {&pairs.words1, &pairs.words2}) {
            double x = 0;
            if (!xOf(*words, pairs.line, request.x, x))
                continue;
            plot.fromX = isFirst ? x : std::min(plot.fromX, x);
            plot.toX = isFirst ? x : std::max(plot.toX, x);
            isFirst = false;
        }
    }
    problem = pairs.problem(request);
    return problem.isNull();
}

bool Plotter::readCurves(QString &problem)
{
    Pairs pairs;
    if (!pairs.open(request)) {
        problem = cannotRead(request.file1, reasonOf(errno));
        return false;
    }
    const PlotAxis axis(plot.fromX, plot.toX, plotPixels(plot.width));
    while (pairs.next())
        addPoints(pairs, axis);
    problem = pairs.problem(request);
    return problem.isNull();
}

void Plotter::addPoints(const Pairs &pairs, const PlotAxis &axis)
{
    double x1 = 0;
    double x2 = 0;
    const bool hasX1 = xOf(pairs.words1, pairs.line, request.x, x1);
    const bool hasX2 = xOf(pairs.words2, pairs.line, request.x, x2);
    const double position1 = axis.position(x1);
    const double position2 = axis.position(x2);
    for (PlottedColumn &column : plot.columns) {
        double value1 = 0;
        double value2 = 0;
        const bool has1 = hasX1 && numberIn(pairs.words1, column.column, value1);
        const bool has2 = hasX2 && numberIn(pairs.words2, column.column, value2);
        const auto add = [](PlotCurve &curve, bool isThere, double position, double value) {
            if (isThere)
                curve.add(position, value);
            else
                curve.interrupt();
        };
        add(column.curve1, has1, position1, value1);
        add(column.curve2, has2, position2, value2);
        add(column.difference, has1 && has2, position1, finiteDifference(value1, value2));
    }
}

bool write(const Plot &plot, bool isAlone, QIODevice &device)
{
    QXmlStreamWriter xml(&device);
    drawPlot(plot, isAlone, xml);
    if (isAlone)
        xml.writeCharacters(QStringLiteral("\n"));
    return !xml.hasError();
}

} // namespace

bool writePlot(const PlotRequest &request, QIODevice &device, QString &problem)
{
    Plotter plotter(request);
    plotter.plot.label1 = request.file1;
    plotter.plot.label2 = request.file2;
    return plotter.read(problem) && write(plotter.plot, /*isAlone=*/true, device);
}

bool isPlot(std::string_view head)
{
    constexpr std::string_view beginning =
        R"(<svg xmlns="http://www.w3.org/2000/svg" class="talmo-plot")";
    return head.substr(0, beginning.size()) == beginning;
}

bool writePlotElement(const PlotRequest &request, const QString &label1, const QString &label2,
    QIODevice &device, QString &problem)
{
    Plotter plotter(request);
    plotter.plot.label1 = label1;
    plotter.plot.label2 = label2;
    return plotter.read(problem) && write(plotter.plot, /*isAlone=*/false, device);
}

} // namespace Talmo
