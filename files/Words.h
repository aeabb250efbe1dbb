#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Talmo
{

/// The words of a line: what QString::simplified and a split at single blanks give. An empty line
/// is one empty word.
class Words
{
public:
    Words() = default;
    Words(const Words &) = delete; // a copy's words would be those of the original's text
    Words &operator=(const Words &) = delete;

    /// Splits \a line, UTF-8. The words are valid until the next split and while \a line is.
    void split(std::string_view line);

    size_t count() const { return words.size(); }
    std::string_view operator[](size_t index) const { return words[index]; }

private:
    std::vector<std::string_view> words = {std::string_view()}; // as of an empty line
    std::string simplified; // holds the words of a line that is not plain ASCII
};

} // namespace Talmo
