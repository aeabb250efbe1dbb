#pragma once

#include <QString>

#include <cstddef>
#include <string>
#include <vector>

namespace tracker
{

/// Reads the lines of a text file, without their ends. Returns false if the file cannot be read to
/// its end, a directory for example.
bool readLines(const std::string &file, std::vector<std::string> &lines);

/// The blank-separated words of \a line. Blanks are spaces, tabs, vertical tabs, form feeds, and
/// carriage returns, which foreign line ends leave.
std::vector<std::string> splitWords(const std::string &line);

/// \a words with a space between each two.
std::string joinWords(const std::vector<std::string> &words);

/// What follows the first \a count words of \a line, without the blanks around it.
std::string textAfterWords(const std::string &line, std::size_t count);

/// Converts \a text for the library and back, one character for each byte. So names of files stay
/// unchanged, whatever their encoding.
QString fromBytes(const std::string &text);
std::string toBytes(const QString &text);

/// "FILE:LINE: WHAT", the form of every message about an input file. Lines count from 1.
std::string messageAt(const std::string &file, std::size_t line, const std::string &what);

/// \a word in single quotes, as messages cite it.
std::string quoted(const std::string &word);

} // namespace tracker
