#include "PreparedText.h"
#include "Survey.h"
#include "Words.h"
#include "talmo/Numbers.h"
#include "utf8.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace Talmo
{

namespace
{

class SortedText : public PreparedText
{
public:
    SortedText(
        std::unique_ptr<LineReader> lineReader, const PreparedText &source, QString columnName)
        : text(std::move(lineReader))
        , unsorted(source)
        , name(std::move(columnName))
    {
    }

    qint64 readText(char *target, qint64 size) override;
    bool failed() const override { return text->failed() || !ownProblem.isNull(); }
    QString remark() const override { return text->remark(); }
    qint64 numberInFile(qint64 number) const override;
    QString problem() const override { return ownProblem; }

private:
    struct Line {
        double key = 0; ///< the number in the column
        size_t begin = 0;
        size_t length = 0; ///< with its newline
        qint64 numberInFile = 0;
        qint64 block = 0;
        bool isComment = false;
    };

    void readAll();
    bool takeLine(std::string_view line, qint64 number);
    bool takeKey(Line &line, const Words &words);

    std::unique_ptr<LineReader> text;
    const PreparedText &unsorted; // inside of text
    QString name;
    size_t column = 0; // from 1; 0 until the first line with data tells
    QString ownProblem;
    bool isRead = false;
    std::string comment; // the latest one before the first line with data
    std::string content;
    std::vector<Line> lines;
    size_t next = 0;  // index of the line to give away
    size_t given = 0; // so much of it was given away
};

qint64 SortedText::readText(char *target, qint64 size)
{
    if (!isRead)
        readAll();
    const auto room = static_cast<size_t>(size);
    size_t used = 0;
    while (used < room && next < lines.size() && !failed()) {
        const Line &line = lines[next];
        const size_t count = std::min(room - used, line.length - given);
        std::memcpy(target + used, content.data() + line.begin + given, count);
        used += count;
        given += count;
        if (given == line.length) {
            ++next;
            given = 0;
        }
    }
    return static_cast<qint64>(used);
}

void SortedText::readAll()
{
    isRead = true;
    std::string_view line;
    qint64 number = 0;
    while (text->readLine(line)) {
        if (!takeLine(line, ++number))
            return;
    }
    std::stable_sort(lines.begin(), lines.end(), [](const Line &one, const Line &other) {
        if (one.block != other.block)
            return one.block < other.block;
        if (one.isComment || other.isComment)
            return one.isComment && !other.isComment;
        return one.key < other.key;
    });
}

/// Appends \a line, the one with this \a number in the unsorted text; false if it has no number in
/// the column.
bool SortedText::takeLine(std::string_view line, qint64 number)
{
    Words words;
    words.split(line);
    Line taken;
    taken.begin = content.size();
    taken.length = line.size() + 1;
    taken.numberInFile = unsorted.numberInFile(number);
    taken.block = unsorted.blockOf(number);
    taken.isComment = words[0].substr(0, 1) == "#";
    if (taken.isComment && column == 0)
        comment = line;
    if (!taken.isComment && !takeKey(taken, words))
        return false;
    content += line;
    content += '\n';
    lines.push_back(taken);
    return true;
}

bool SortedText::takeKey(Line &line, const Words &words)
{
    if (column == 0)
        column = columnOf(name, namesOfColumns(comment, words.count()), words.count(), ownProblem);
    if (column == 0) {
        ownProblem = QStringLiteral("cannot be sorted: ") + ownProblem;
        return false;
    }
    if (words.count() >= column && toNumber(words[column - 1], line.key))
        return true;
    ownProblem = QStringLiteral("cannot be sorted: line %1 has no number in column %2")
                     .arg(QString::number(line.numberInFile), QString::number(column));
    return false;
}

qint64 SortedText::numberInFile(qint64 number) const
{
    return lines[static_cast<size_t>(number - 1)].numberInFile;
}

} // namespace

std::unique_ptr<PreparedText> sortedText(
    std::unique_ptr<LineReader> text, const PreparedText &unsorted, const QString &column)
{
    return std::make_unique<SortedText>(std::move(text), unsorted, column);
}

} // namespace Talmo
