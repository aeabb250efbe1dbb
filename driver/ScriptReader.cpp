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
    text = std::string_view(content.constData(), static_cast<size_t>(content.size()));
    text.remove_prefix(byteOrderMarkLength(text));
    next = 0;
    return !file.failed();
}

qint64 ScriptReader::linesBetween(size_t begin, size_t end) const
{
    const std::string_view part = text.substr(begin, end - begin);
    return std::count(part.begin(), part.end(), '\n');
}

QString ScriptReader::readLine()
{
    if (next == text.size())
        return {};
    const size_t start = next;
    const size_t end = std::min(text.find('\n', start), text.size());
    next = std::min(end + 1, text.size());
    return decoded(text.substr(start, end - start));
}

std::string_view ScriptReader::readUntil(std::string_view prefix)
{
    const size_t start = next;
    // We search for the prefix, because in most texts it is rarer than newlines. Where it does not
    // begin a line, the rest of that line is passed over.
    size_t found = text.find(prefix, start);
    while (found < text.size() && found != start && text[found - 1] != '\n')
        found = text.find(prefix, text.find('\n', found));
    next = std::min(found, text.size());
    return text.substr(start, next - start);
}

} // namespace Talmo
