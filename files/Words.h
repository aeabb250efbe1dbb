#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Talmo
{

/// The words of a line, as QString::simplified and a split at single blanks give them. An empty
/// line has one word, which is empty.
class Words
{
public:
    Words() = default;
    Words(const Words &) = delete; // the words of a copy would point into the original's text
    Words &operator=(const Words &) = delete;

    /// Splits \a line, UTF-8. The words are valid until the next split, and as long as \a line is.
    void split(std::string_view line);

    size_t count() const { return words.size(); }
    std::string_view operator[](size_t index) const { return words[index]; }

private:
    std::vector<std::string_view> words = {std::string_view()}; // those of an empty line
    std::string simplified; // holds the words of a line that is not plain ASCII
};

} // namespace Talmo
