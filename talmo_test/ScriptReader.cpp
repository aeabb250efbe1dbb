#include "ScriptReader.h"

#include "textFiles.h"

#include <algorithm>
#include <string>

bool ScriptReader::open(const QString &path)
{
    QFile file;
    if (!openOnDisk(file, path, textModeRead))
        return false;
    content = file.readAll();
    text = std::string_view(content.constData(), static_cast<size_t>(content.size()));
    text.remove_prefix(byteOrderMarkLength(text));
    next = 0;
    return file.error() == QFile::NoError;
}

bool ScriptReader::readLine(std::string_view &line)
{
    if (next == text.size())
        return false;
    const size_t end = std::min(text.find('\n', next), text.size());
    line = text.substr(next, end - next);
    next = std::min(end + 1, text.size());
    return true;
}

QString ScriptReader::readLine()
{
    std::string_view line;
    return readLine(line) ? decoded(line) : QString();
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
