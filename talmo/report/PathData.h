#pragma once

#include <QString>

#include <string>

namespace Talmo
{

/// The data of a path of SVG, in tenths of a pixel, each step relative to the one before: short,
/// since a page may have hundreds of curves.
class PathData
{
public:
    void moveTo(double x, double y);
    void lineTo(double x, double y);
    QString result();

private:
    void set(double x, double y);
    void finishLevel();
    void append(const std::string &coordinate);

    std::string data;
    long atX = 0;
    long atY = 0;
    long level = 0; // a horizontal line that is not in the data yet
};

} // namespace Talmo
