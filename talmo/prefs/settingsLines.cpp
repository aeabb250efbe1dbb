// Lines of a file of settings as Qt takes them apart: one ends with a newline, a carriage return or
// both, unless that is quoted or escaped; and a semicolon that is neither begins a comment, also
// behind a value.

#include "settingsLines.h"

#include "utf8.h"

#include <vector>

namespace Talmo
{

namespace
{

/// Whether what is read from the start of a line on is quoted, escaped or a comment.
class LineState
{
public:
    /// Takes the next \a character.
    void read(char character)
    {
        const bool wasEscaped = isEscaped;
        isEscaped = !wasEscaped && !isComment && character == '\\';
        if (wasEscaped || isComment)
            return;
        if (character == '"')
            isQuoted = !isQuoted;
        isComment = !isQuoted && character == ';';
    }

    /// Whether an end of a line that comes now belongs to the line.
    bool goesOn() const { return isQuoted || isEscaped; }

private:
    bool isQuoted = false;
    bool isEscaped = false;
    bool isComment = false;
};

/// The lines of \a text with their ends.
std::vector<QByteArray> linesOf(const QByteArray &text)
{
    std::vector<QByteArray> lines;
    int start = 0;
    LineState state;
    for (int next = 1; next <= text.size(); ++next) {
        const char last = text[next - 1];
        const bool isInsideEnd = last == '\r' && next < text.size() && text[next] == '\n';
        const bool isEnd = (last == '\n' || last == '\r') && !isInsideEnd && !state.goesOn();
        if (!isInsideEnd)
            state.read(last);
        if (!isEnd && next < text.size())
            continue;
        lines.push_back(text.mid(start, next - start));
        start = next;
        state = LineState();
    }
    return lines;
}

/// What ends \a line; empty if that is the last one, and nothing does.
QByteArray endOf(const QByteArray &line)
{
    if (line.endsWith("\r\n"))
        return "\r\n";
    return line.endsWith('\n') || line.endsWith('\r') ? line.right(1) : QByteArray();
}

/// A line in the way of Qt.
struct Parts {
    QByteArray content; ///< with the blanks around it
    QByteArray comment; ///< from its semicolon on
    QByteArray end;
    bool isWhole = true; ///< the content ends in the line in which it begins
};

Parts partsOf(const QByteArray &line)
{
    Parts parts;
    parts.end = endOf(line);
    const auto length = static_cast<int>(line.size() - parts.end.size());
    bool isQuoted = false;
    int index = 0;
    for (; index < length && (isQuoted || line[index] != ';'); ++index) {
        if (line[index] == '"')
            isQuoted = !isQuoted;
        else if (line[index] == '\\')
            ++index;
    }
    parts.content = line.left(qMin(index, length));
    parts.isWhole = !isQuoted && index <= length && !parts.content.contains('\n') &&
                    !parts.content.contains('\r');
    parts.comment = line.mid(index, qMax(length - index, 0));
    return parts;
}

bool isOfGeneral(const QByteArray &heading)
{
    return heading.mid(1, heading.indexOf(']') - 1).trimmed().toLower() == "general";
}

/// Whether \a content gives \a key a value.
bool isAssignment(const QByteArray &content, const QByteArray &key)
{
    const auto equals = content.indexOf('=');
    return equals > 0 && content.left(equals).trimmed() == key;
}

/// Where in a file a key is, or where it could be put; lines count from 0.
struct Place {
    std::vector<size_t> assignments;
    size_t end = 0; ///< behind the last line of the section "General" that is not blank, or
                    ///< before one that goes on, perhaps to the end of the file
    bool hasSection = false; ///< it has a heading, or a key before the first heading
    bool isReadable = true;  ///< no value of the key goes on in the next line
};

Place placeOf(const std::vector<QByteArray> &lines, const QByteArray &key)
{
    Place place;
    bool isGeneral = true; // what comes before the first heading is of this section, too
    bool isOver = false;
    for (size_t number = 0; number < lines.size(); ++number) {
        const Parts parts = partsOf(lines[number]);
        const QByteArray content = parts.content.trimmed();
        if (content.startsWith('[')) {
            isOver = isOver || (isGeneral && place.hasSection);
            isGeneral = isOfGeneral(content);
        }
        if (!isGeneral || (content.isEmpty() && parts.comment.isEmpty()))
            continue;
        isOver = isOver || !parts.isWhole;
        if (!isOver)
            place.end = number + 1;
        place.hasSection = place.hasSection || content.startsWith('[') || content.contains('=');
        if (!isAssignment(content, key))
            continue;
        place.assignments.push_back(number);
        place.isReadable = place.isReadable && parts.isWhole;
    }
    return place;
}

/// Puts \a assignment, a line without its end, where nothing is assigned yet.
void insert(std::vector<QByteArray> &lines, const Place &place, QByteArray assignment)
{
    const QByteArray first = lines.empty() ? QByteArray() : endOf(lines[0]);
    const QByteArray end = first.isEmpty() ? "\n" : first;
    assignment += end;
    if (!place.hasSection)
        assignment = "[General]" + end + assignment + (place.end < lines.size() ? end : "");
    if (place.end > 0 && endOf(lines[place.end - 1]).isEmpty())
        lines[place.end - 1] += end;
    using Offset = std::vector<QByteArray>::difference_type;
    lines.insert(lines.begin() + static_cast<Offset>(place.end), assignment);
}

/// \a line, an assignment, with \a value in the place of its own.
QByteArray withValue(const QByteArray &line, const QByteArray &value)
{
    const Parts parts = partsOf(line);
    const auto equals = parts.content.indexOf('=');
    const QByteArray before = parts.content.mid(equals + 1);
    const QByteArray old = before.trimmed();
    const auto start = old.isEmpty() ? before.size() : before.indexOf(old);
    return parts.content.left(equals + 1) + before.left(start) + value +
           before.mid(start + old.size()) + parts.comment + parts.end;
}

/// What stays of \a line, an assignment, if there is to be none: its comment, as a line.
QByteArray withoutAssignment(const QByteArray &line)
{
    const Parts parts = partsOf(line);
    return parts.comment.isEmpty() ? QByteArray() : parts.comment + parts.end;
}

} // namespace

std::optional<QByteArray> settingsWith(
    const QByteArray &text, const QByteArray &key, const std::optional<QByteArray> &value)
{
    const auto mark = static_cast<int>(byteOrderMarkLength(text.toStdString()));
    std::vector<QByteArray> lines = linesOf(text.mid(mark));
    const Place place = placeOf(lines, key);
    if (!place.isReadable)
        return {};
    for (const size_t number : place.assignments) {
        const bool isLast = number == place.assignments.back(); // the one that counts
        QByteArray &line = lines[number];
        line = isLast && value ? withValue(line, *value) : withoutAssignment(line);
    }
    if (place.assignments.empty() && value)
        insert(lines, place, key + '=' + *value);
    QByteArray whole = text.left(mark);
    for (const QByteArray &line : lines)
        whole += line;
    return whole;
}

} // namespace Talmo
