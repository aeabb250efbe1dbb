#include "Text.h"

#include <fstream>

namespace tracker
{

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
    const char *const blanks = " \t\r\v\f";
    std::vector<std::string> words;
    std::size_t begin = line.find_first_not_of(blanks);
    while (begin != std::string::npos) {
        const std::size_t end = line.find_first_of(blanks, begin);
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(blanks, end);
    }
    return words;
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
