#include "PathData.h"

#include <cmath>
#include <cstdlib>

namespace Talmo
{

namespace
{

std::string text(long tenths)
{
    const long size = std::labs(tenths);
    std::string whole = size < 10 && size > 0 ? "" : std::to_string(size / 10);
    if (size % 10 != 0)
        whole += '.' + std::to_string(size % 10);
    return tenths < 0 ? '-' + whole : whole;
}

} // namespace

void PathData::moveTo(double x, double y)
{
    finishLevel();
    set(x, y);
    data += 'M' + text(atX);
    append(text(atY));
    data += "h0"; // a point that nothing follows is seen, too
}

void PathData::lineTo(double x, double y)
{
    const long beforeX = atX;
    const long beforeY = atY;
    set(x, y);
    if (atY == beforeY) {
        if ((atX > beforeX) != (level > 0))
            finishLevel(); // it turns back
        level += atX - beforeX;
        return;
    }
    finishLevel();
    if (atX == beforeX) {
        data += 'v' + text(atY - beforeY);
        return;
    }
    data += 'l' + text(atX - beforeX);
    append(text(atY - beforeY));
}

QString PathData::result()
{
    finishLevel();
    return QString::fromStdString(data);
}

void PathData::set(double x, double y)
{
    atX = std::lround(x * 10);
    atY = std::lround(y * 10);
}

void PathData::finishLevel()
{
    if (level != 0)
        data += 'h' + text(level);
    level = 0;
}

void PathData::append(const std::string &coordinate)
{
    if (coordinate[0] != '-')
        data += ' ';
    data += coordinate;
}

} // namespace Talmo
