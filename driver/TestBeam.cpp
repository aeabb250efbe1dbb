// A grid has many points, but only few different x and y, and writing numbers as text takes most of
// the time. So the text of each x is made once for its row, and the text of each y once for all
// rows, together with what is the same for all points. Only the number of the point is written anew
// for each line. The lines are collected in a block, which is passed on when it is full.

#include "TestBeam.h"

#include "talmo/Numbers.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

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

/// The texts between x and the number of each point: y, and what is the same for all points. Each
/// text is made once and kept. If there are very many y, only the first ones are kept, or they
/// would fill the memory.
class MiddleTexts
{
public:
    explicit MiddleTexts(const TestBeam &beam)
        : first(beam.y0)
        , step((beam.y1 - beam.y0) / static_cast<double>(beam.ny - 1))
        , afterY(' ' + number(beam.z) + " 0 0 " + number(beam.pz) + " 0 " +
                 std::to_string(beam.pdgId) + ' ')
    {
        constexpr int most = 1 << 16;
        for (int j = 0; j < std::min(beam.ny, most); ++j) {
            made.append(make(j));
            ends.push_back(made.size());
        }
    }

    /// The text for the points with y number \a j. Valid until the next call.
    std::string_view operator[](int j)
    {
        const auto index = static_cast<size_t>(j);
        if (index >= ends.size())
            return latest = make(j);
        const size_t begin = index == 0 ? 0 : ends[index - 1];
        return std::string_view(made).substr(begin, ends[index] - begin);
    }

private:
    std::string make(int j) const { return number(j * step + first) + afterY; }

    double first;
    double step;
    std::string afterY;
    std::string made;         // the texts that are kept, one behind the other
    std::vector<size_t> ends; // where each of them ends
    std::string latest;
};

/// Collects text, and passes it on to a file in large pieces.
class Block
{
public:
    explicit Block(const TestBeam::Sink &itsFile)
        : file(itsFile)
        , bytes(blockSize + longestLine)
    {
    }

    /// Makes room for a line. Returns false if the file takes no more.
    bool makeRoom() { return used < blockSize || flush(); }

    bool flush()
    {
        const std::string_view text(bytes.data(), used);
        used = 0;
        return file(text);
    }

    void add(std::string_view text)
    {
        std::memcpy(bytes.data() + used, text.data(), text.size());
        used += text.size();
    }

    void add(qint64 number)
    {
        char *const begin = bytes.data() + used;
        used += static_cast<size_t>(std::to_chars(begin, begin + longestField, number).ptr - begin);
    }

private:
    static constexpr size_t blockSize = 1 << 17;
    static constexpr size_t longestField = 20;
    static constexpr size_t longestLine = 12 * (longestField + 1);

    const TestBeam::Sink &file;
    std::vector<char> bytes;
    size_t used = 0;
};

} // namespace

bool TestBeam::parse(const QStringList &words, int first)
{
    const auto take = [&](auto &member) { return convert(words.at(first++), member); };
    return take(x0) && take(x1) && take(nx) && take(y0) && take(y1) && take(ny) && take(z) &&
           take(pdgId) && take(pz) && nx >= 2 && ny >= 2;
}

void TestBeam::write(const QString &title, const Sink &file) const
{
    const std::string heading = "#QXTrackFile " + title.toStdString() + '\n' + columnLine;
    if (!file(heading))
        return;
    const double dx = (x1 - x0) / static_cast<double>(nx - 1);
    MiddleTexts middles(*this);
    Block block(file);
    for (int i = 0; i < nx; ++i) {
        const std::string x = number(i * dx + x0) + ' ';
        for (int j = 0; j < ny; ++j) {
            if (!block.makeRoom())
                return;
            block.add(x);
            block.add(middles[j]);
            block.add(eventId(i, j));
            block.add(" 1 0 1\n");
        }
    }
    block.flush();
}

} // namespace Talmo
