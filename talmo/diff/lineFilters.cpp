#include "lineFilters.h"

#include "Words.h"
#include "messages.h"
#include "utf8.h"

#include <algorithm>
#include <string>
#include <utility>

namespace Talmo
{

namespace
{

QString matchesNothing(const char *option, const Pattern &pattern)
{
    return QStringLiteral("has no line that matches the '%1' of --%2")
        .arg(pattern.text(), QLatin1String(option));
}

class BlockFilter : public LineFilter
{
public:
    BlockFilter(
        const QString &begin, const QString &end, std::function<void(qint64 heading)> callee)
        : from(begin)
        , to(end)
        , begins(std::move(callee))
        , hasFrom(!begin.isNull())
        , hasTo(!end.isNull())
        , isInside(!hasFrom)
    {
    }

    bool keeps(std::string_view &line, qint64 number) override
    {
        if (isInside && !ends(line))
            return true;
        // The end of a block may be the heading of the next one, but a heading is never the end of
        // its own block: more is compared than if it were.
        isInside = hasFrom && from.matchesLine(line);
        fromWasFound = fromWasFound || isInside;
        if (isInside)
            begins(number);
        return false;
    }

    QString problem() const override
    {
        if (hasFrom && !fromWasFound)
            return matchesNothing("from", from);
        if (hasTo && !toWasFound)
            return matchesNothing("to", to) +
                   (hasFrom ? QStringLiteral(" behind one that matches --from") : QString());
        return {};
    }

private:
    bool ends(std::string_view line)
    {
        const bool isEnd = hasTo && to.matchesLine(line);
        toWasFound = toWasFound || isEnd;
        return isEnd;
    }

    Pattern from;
    Pattern to;
    std::function<void(qint64)> begins;
    bool hasFrom;
    bool hasTo;
    bool isInside;
    bool fromWasFound = false;
    bool toWasFound = false;
};

class SkipFilter : public LineFilter
{
public:
    explicit SkipFilter(const QStringList &texts)
        : patterns(texts.begin(), texts.end())
    {
    }

    bool keeps(std::string_view &line, qint64 /*number*/) override
    {
        return std::none_of(patterns.begin(), patterns.end(),
            [line](const Pattern &pattern) { return pattern.matchesLine(line); });
    }

private:
    std::vector<Pattern> patterns;
};

bool isBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Whether a character of UTF-8 goes on with \a byte.
bool continues(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// How many bytes the first \a characters characters of \a text take.
size_t bytesOf(std::string_view text, size_t characters)
{
    size_t length = 0;
    while (length < text.size() && (characters > 0 || continues(text[length]))) {
        if (!continues(text[length]))
            --characters;
        ++length;
    }
    return length;
}

/// \a field without the blanks around it, with "_" for those in it; "_" if nothing is left.
std::string wordOf(std::string_view field)
{
    QString text = decoded(field).trimmed(); // there are more blanks than those of ASCII
    for (QChar &character : text) {
        if (character.isSpace())
            character = QLatin1Char('_');
    }
    return text.isEmpty() ? std::string(1, '_') : text.toStdString();
}

class FieldFilter : public LineFilter
{
public:
    explicit FieldFilter(const std::vector<size_t> &widthsOfFields)
        : widths(widthsOfFields)
    {
    }

    bool keeps(std::string_view &line, qint64 /*number*/) override
    {
        const auto *const first = std::find_if_not(line.begin(), line.end(), isBlank);
        if (first == line.end() || *first == '#')
            return true;
        text.clear();
        std::string_view rest = line;
        for (const size_t width : widths) {
            if (rest.empty())
                break;
            const size_t length = bytesOf(rest, width);
            text += wordOf(rest.substr(0, length));
            text += ' ';
            rest.remove_prefix(length);
        }
        text += rest;
        line = text;
        return true;
    }

private:
    std::vector<size_t> widths;
    std::string text;
};

class ColumnFilter : public LineFilter
{
public:
    bool keeps(std::string_view &line, qint64 number) override
    {
        words.split(line);
        if (words[0].substr(0, 1) == "#")
            return true;
        if (columns == 0)
            columns = words.count();
        if (words.count() > columns && sentence.isNull())
            sentence = QStringLiteral("has %1 columns on line %2, and %3 on the first line with "
                                      "data; choose what to compare by --columns, --from or --skip")
                           .arg(QString::number(words.count()), QString::number(number),
                               QString::number(columns));
        return true;
    }

    QString problem() const override { return sentence; }

private:
    Words words;
    size_t columns = 0;
    QString sentence;
};

} // namespace

std::unique_ptr<LineFilter> columnFilter()
{
    return std::make_unique<ColumnFilter>();
}

std::unique_ptr<LineFilter> blockFilter(
    const QString &from, const QString &to, std::function<void(qint64 heading)> begins)
{
    return std::make_unique<BlockFilter>(from, to, std::move(begins));
}

std::unique_ptr<LineFilter> skipFilter(const QStringList &patterns)
{
    return std::make_unique<SkipFilter>(patterns);
}

std::unique_ptr<LineFilter> fieldFilter(const std::vector<size_t> &widths)
{
    return std::make_unique<FieldFilter>(widths);
}

} // namespace Talmo
