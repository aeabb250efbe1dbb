#include "Text.h"

#include <fstream>

namespace tracker
{

namespace
{

const char *const blanks = " \t\r\v\f";

} // namespace

bool readLines(const std::string &file, std::vector<std::string> &lines)
{
    std::ifstream stream(file);
    if (!stream)
        return false;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return !stream.bad();
}

std::vector<std::string> splitWords(const std::string &line)
{
    std::vector<std::string> words;
    std::size_t begin = line.find_first_not_of(blanks);
    while (begin != std::string::npos) {
        const std::size_t end = line.find_first_of(blanks, begin);
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(blanks, end);
    }
    return words;
}

std::string joinWords(const std::vector<std::string> &words)
{
    std::string joined;
    for (const std::string &word : words)
        joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

std::string textAfterWords(const std::string &line, std::size_t count)
{
    std::size_t begin = line.find_first_not_of(blanks);
    for (; count > 0 && begin != std::string::npos; --count)
        begin = line.find_first_not_of(blanks, line.find_first_of(blanks, begin));
    if (begin == std::string::npos)
        return {};
    return line.substr(begin, line.find_last_not_of(blanks) + 1 - begin);
}

QString fromBytes(const std::string &text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

std::string toBytes(const QString &text)
{
    return text.toLatin1().toStdString();
}

std::string messageAt(const std::string &file, std::size_t line, const std::string &what)
{
    return file + ":" + std::to_string(line) + ": " + what;
}

std::string quoted(const std::string &word)
{
    return "'" + word + "'";
}

} // namespace tracker
