#include "LineReader.h"

#include "DiskFile.h"
#include "utf8.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace Talmo
{

namespace
{

constexpr size_t smallestBlock = 1 << 12;
// A larger block would leave the processor's cache before it is looked at.
constexpr size_t largestBlock = 1 << 18;

/// A file on disk, as it is.
class FileText : public TextSource
{
public:
    qint64 readText(char *target, qint64 size) override { return file.readText(target, size); }
    qint64 sizeAtOpening() const override { return file.sizeAtOpening(); }
    bool failed() const override { return file.failed(); }
    QString remark() const override { return file.remark(); }

    DiskFile file;
};

} // namespace

bool LineReader::open(const QString &fileName)
{
    auto text = std::make_unique<FileText>();
    const bool isOpen = text->file.openToRead(fileName);
    readFrom(std::move(text), /*mayBeMarked=*/true);
    return isOpen;
}

void LineReader::readFrom(std::unique_ptr<TextSource> prepared, bool mayBeMarked)
{
    source = std::move(prepared);
    begun = !mayBeMarked;
}

bool LineReader::readLine(std::string_view &line)
{
    if (!peekLine(line))
        return false;
    next = std::min(next + line.size() + 1, end); // the last line needs no newline
    return true;
}

bool LineReader::peekLine(std::string_view &line)
{
    const std::string_view lines = window();
    if (lines.empty() && next == end)
        return false;
    line = lines.empty() ? std::string_view(buffer.get() + next, end - next)
                         : lines.substr(0, lines.find('\n'));
    return true;
}

std::string_view LineReader::window()
{
    if (next >= linesEnd)
        readWholeLine();
    return {buffer.get() + next, std::max(linesEnd, next) - next};
}

/// Reads until there is a whole line in memory, or nothing more to read.
void LineReader::readWholeLine()
{
    while (next >= linesEnd && !ended)
        readBlock();
    if (!begun)
        next += byteOrderMarkLength({buffer.get(), end});
    begun = true;
}

/// Drops the lines that the caller already has, and appends the file's next block.
void LineReader::readBlock()
{
    const size_t kept = end - next;
    if (!makeRoom()) {
        next = linesEnd = end = 0;
        ended = outOfMemory = true;
        return;
    }
    const qint64 count =
        source->readText(buffer.get() + kept, static_cast<qint64>(capacity - kept));
    next = 0;
    end = kept + static_cast<size_t>(count);
    const size_t newline = std::string_view(buffer.get() + kept, end - kept).rfind('\n');
    linesEnd = newline == std::string_view::npos ? 0 : kept + newline + 1;
    // Never judged, only read past; cleared so that no tool calls it uninitialised.
    std::memset(buffer.get() + end, 0, padding);
    ended = count == 0;
}

/// Moves what is kept to the front, and makes room to read at least half as much behind it. Returns
/// false if there is no memory for that.
bool LineReader::makeRoom()
{
    const size_t kept = end - next;
    if (capacity > kept + kept / 2) {
        if (next > 0)
            std::memmove(buffer.get(), buffer.get() + next, kept);
        return true;
    }
    const auto wholeFile = static_cast<size_t>(source->sizeAtOpening()) + 1; // 1 more finds the end
    capacity = std::max(std::clamp(wholeFile, smallestBlock, largestBlock), 2 * kept);
    std::unique_ptr<char[]> larger(new (std::nothrow) char[capacity + padding]);
    if (!larger)
        return false;
    std::copy_n(buffer.get() + next, kept, larger.get());
    buffer = std::move(larger);
    return true;
}

} // namespace Talmo
