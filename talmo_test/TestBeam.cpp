#include "TestBeam.h"

#include "Numbers.h"

#include <QIODevice>

#include <string>

namespace Talmo
{

namespace
{

constexpr char columnLine[] = "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n";

bool convert(const QString &word, double &value)
{
    return toNumber(word.toStdString(), value);
}

bool convert(const QString &word, int &value)
{
    return toInteger(word.toStdString(), value);
}

std::string number(double value)
{
    std::string text;
    appendNumber(text, value);
    return text;
}

} // namespace

bool TestBeam::parse(const QStringList &words, int first)
{
    const auto take = [&](auto &member) { return convert(words.at(first++), member); };
    return take(x0) && take(x1) && take(nx) && take(y0) && take(y1) && take(ny) && take(z) &&
           take(pdgId) && take(pz) && nx >= 2 && ny >= 2;
}

void TestBeam::write(QIODevice &file, const QString &title) const
{
    constexpr size_t blockSize = 1 << 20;
    const double dx = (x1 - x0) / static_cast<double>(nx - 1);
    const double dy = (y1 - y0) / static_cast<double>(ny - 1);
    const std::string afterY =
        ' ' + number(z) + " 0 0 " + number(pz) + " 0 " + std::to_string(pdgId) + ' ';
    std::string text = "#QXTrackFile " + title.toStdString() + '\n' + columnLine;
    for (int i = 0; i < nx; ++i) {
        const std::string x = number(i * dx + x0) + ' ';
        for (int j = 0; j < ny; ++j) {
            text += x;
            appendNumber(text, j * dy + y0);
            text += afterY;
            text += std::to_string(eventId(i, j));
            text += " 1 0 1\n";
            if (text.size() < blockSize)
                continue;
            if (file.write(text.data(), static_cast<qint64>(text.size())) < 0)
                return;
            text.clear();
        }
    }
    file.write(text.data(), static_cast<qint64>(text.size()));
}

} // namespace Talmo
