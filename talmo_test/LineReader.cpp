#include "LineReader.h"

#include "diskFiles.h"
#include "utf8.h"

#include <algorithm>

namespace Talmo
{

bool LineReader::open(const QString &fileName)
{
    return openOnDisk(file, fileName, textModeRead);
}

bool LineReader::readLine(std::string_view &line)
{
    size_t end = buffer.find('\n', lineStart);
    while (end == std::string::npos) {
        const size_t searched = buffer.size() - lineStart;
        if (!readBlock())
            break;
        end = buffer.find('\n', searched); // readBlock moved the begun line to the front
    }
    end = std::min(end, buffer.size()); // the last line needs no newline
    if (!begun)
        lineStart += byteOrderMarkLength(buffer);
    begun = true;
    if (lineStart == buffer.size())
        return false;
    line = std::string_view(buffer).substr(lineStart, end - lineStart);
    lineStart = std::min(end + 1, buffer.size());
    return true;
}

/// Drops the lines that were read and appends the file's next block; false at its end.
bool LineReader::readBlock()
{
    constexpr size_t blockSize = 1 << 18;
    buffer.erase(0, lineStart);
    lineStart = 0;
    const size_t kept = buffer.size();
    buffer.resize(kept + blockSize);
    const qint64 count = file.read(buffer.data() + kept, blockSize);
    buffer.resize(kept + static_cast<size_t>(std::max<qint64>(count, 0)));
    return count > 0;
}

} // namespace Talmo
