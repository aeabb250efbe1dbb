// Input: a line with the pattern, one with the replacement, and the text.

#include "fuzzing.h"
#include "talmo/RegExp.h"

#include <QRegExp>

#include <algorithm>

using Talmo::RE;
using Talmo::RegExp;

namespace
{

constexpr int limit = 10001;

/// Replaces by the definition; \a count tells how often. Gives up, with -1, on a text that has
/// become so long that thousands of searches would take long.
QString plainlyReplaced(
    const QString &pattern, QString text, const QString &replacement, int &count)
{
    const QRegExp compiled(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    count = 0;
    while (!pattern.isEmpty() && count < limit) {
        const int position = compiled.indexIn(text);
        if (position < 0)
            break;
        text = text.left(position) + replacement + text.mid(position + compiled.matchedLength());
        ++count;
        if (text.size() > 300) {
            count = -1;
            break;
        }
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QString pattern = input.takeLine();
    const QString replacement = input.takeLine();
    const QString text = input.takeRest();
    startAfresh();
    if (!isCheapPattern(pattern))
        return 0;
    int count = 0;
    const QString expected = plainlyReplaced(pattern, text, replacement, count);
    if (count < 0)
        return 0;

    require(RE.replaceAll(pattern, text, replacement) == expected, "all matches are replaced");
    require(RegExp::hash.size() == (pattern.isEmpty() ? 0 : 1), "a pattern is compiled once");

    note(RegExp::prev == nullptr ? 0 : 1 + qHash(RegExp::prev->errorString()) % 30);
    note(40 + static_cast<std::size_t>(std::min(count, 100)));
    const int position = RE.find(pattern, text);
    const bool found = position >= 0;
    note(150 + static_cast<std::size_t>(std::min(position + 1, 60)));
    note(220 + static_cast<std::size_t>(std::min(RegExp::prev->matchedLength() + 1, 60)));
    for (int index = 1; index <= RegExp::prev->captureCount(); ++index)
        note(290 + static_cast<std::size_t>(
                       20 * std::min(index, 9) + std::min(RegExp::prev->pos(index) + 1, 18)));
    require(position >= -1 && position <= text.size(), "a match is in the text");
    require(!found || (RegExp::prev->matchedLength() >= 0 &&
                          position + RegExp::prev->matchedLength() <= text.size()),
        "a match ends in the text");
    require(RE.match(pattern, text) == found, "match tells whether there is one");
    QString changed = text;
    require(RE.substitute(pattern, changed, replacement) == found, "and so does substitute");
    require(changed == RE.replace(pattern, text, replacement), "both replace the same");
    require(found || changed == text, "without a match a text stays");
    require(pattern.isEmpty() || (count > 0) == found, "replaceAll begins with the same match");
    return 0;
}
