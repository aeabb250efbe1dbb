#include "ScriptReader.h"

#include "DiskFile.h"
#include "utf8.h"

#include <algorithm>
#include <string>

namespace Talmo
{

bool ScriptReader::open(const QByteArray &path)
{
    DiskFile file;
    if (!file.openPath(path))
        return false;
    content = file.readAllText();
    addition = file.remark();
    ownText = std::string_view(content.constData(), static_cast<size_t>(content.size()));
    ownText.remove_prefix(byteOrderMarkLength(ownText));
    next = 0;
    return !file.failed();
}

qint64 ScriptReader::linesBetween(size_t begin, size_t end) const
{
    const std::string_view part = ownText.substr(begin, end - begin);
    return std::count(part.begin(), part.end(), '\n');
}

QString ScriptReader::readLine()
{
    if (next == ownText.size())
        return {};
    const size_t start = next;
    const size_t end = std::min(ownText.find('\n', start), ownText.size());
    next = std::min(end + 1, ownText.size());
    return decoded(ownText.substr(start, end - start));
}

std::string_view ScriptReader::readUntil(std::string_view prefix)
{
    const size_t start = next;
    // We search for the prefix, because in most texts it is rarer than newlines. Where it does not
    // begin a line, the rest of that line is passed over.
    size_t found = ownText.find(prefix, start);
    while (found < ownText.size() && found != start && ownText[found - 1] != '\n')
        found = ownText.find(prefix, ownText.find('\n', found));
    next = std::min(found, ownText.size());
    return ownText.substr(start, next - start);
}

} // namespace Talmo
