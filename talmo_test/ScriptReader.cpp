#include "ScriptReader.h"

#include "diskFiles.h"
#include "utf8.h"

#include <algorithm>
#include <string>

namespace Talmo
{

bool ScriptReader::open(const QString &path)
{
    QFile file;
    if (!openOnDisk(file, path, textModeRead))
        return false;
    content = file.readAll();
    text = std::string_view(content.constData(), static_cast<size_t>(content.size()));
    text.remove_prefix(byteOrderMarkLength(text));
    next = 0;
    return file.error() == QFile::NoError && file.atEnd(); // not too large either
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
    if (text.substr(next, prefix.size()) != prefix) {
        const size_t newline = text.find('\n' + std::string(prefix), next);
        next = newline == std::string_view::npos ? text.size() : newline + 1;
    }
    return text.substr(start, next - start);
}

} // namespace Talmo
