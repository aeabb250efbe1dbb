#include "InputLines.h"

#include "DiskFile.h"
#include "standardInput.h"
#include "utf8.h"

#include <cstdio>
#include <memory>
#include <utility>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

/// Bytes as they are, with carriage returns and a mark. They end behind the beginning of a line
/// that is too long, so that memory is enough for it.
class PlainText : public TextSource
{
public:
    explicit PlainText(size_t itsLongest)
        : longest(itsLongest)
    {
    }

    qint64 readText(char *target, qint64 size) final
    {
        const qint64 got = lineLength > longest ? 0 : readBytes(target, size);
        const std::string_view bytes(target, static_cast<size_t>(got));
        const size_t newline = bytes.rfind('\n');
        lineLength = newline == std::string_view::npos ? lineLength + bytes.size()
                                                       : bytes.size() - newline - 1;
        return got;
    }

private:
    virtual qint64 readBytes(char *target, qint64 size) = 0;

    size_t longest;
    size_t lineLength = 0; // what was read of the latest line
};

class PlainFile : public PlainText
{
public:
    using PlainText::PlainText;

    bool open(const QString &name) { return file.openToRead(name); }
    qint64 sizeAtOpening() const override { return file.sizeAtOpening(); }
    bool failed() const override { return file.failed(); }
    QString remark() const override { return file.remark(); }

private:
    qint64 readBytes(char *target, qint64 size) override
    {
        if (file.sizeAtOpening() == 0) // only a regular file surely does not wait
            std::fflush(stdout);
        return file.readBytes(target, size);
    }

    DiskFile file;
};

class PlainInput : public PlainText
{
public:
    using PlainText::PlainText;

    bool failed() const override { return hasFailed; }

private:
    qint64 readBytes(char *target, qint64 size) override
    {
        std::fflush(stdout);
        const qint64 got = readStandardInput(target, size);
        hasFailed = got < 0;
        return hasFailed ? 0 : got;
    }

    bool hasFailed = false;
};

} // namespace

bool InputLines::open(const QString &name)
{
    fileName = name;
    if (name == QLatin1String("-")) {
        lines.readFrom(std::make_unique<PlainInput>(longest));
        isOpen = true;
        return true;
    }
    auto file = std::make_unique<PlainFile>(longest);
    isOpen = file->open(name);
    lines.readFrom(std::move(file));
    return isOpen;
}

/// Makes the window hold the next whole lines. False if there are none, but perhaps a last one
/// without a newline.
bool InputLines::takeWindow()
{
    lines.skip(given);
    given = 0;
    window = lines.window();
    return !window.empty();
}

bool InputLines::next(InputLine &line)
{
    if (isTooLong || (given == window.size() && !takeWindow())) {
        std::string_view last;
        return !isTooLong && lines.readLine(last) && !lines.failed() && cut(last, line);
    }
    const size_t length = window.find('\n', given) + 1 - given;
    const std::string_view whole = window.substr(given, length);
    given += length;
    return cut(whole, line);
}

/// Takes the line \a whole, with its newline, apart. False if it is too long.
bool InputLines::cut(std::string_view whole, InputLine &line)
{
    ++lineNumber;
    isTooLong = whole.size() > longest;
    const size_t begin = lineNumber == 1 ? byteOrderMarkLength(whole) : 0;
    size_t end = whole.size();
    if (end > begin && whole[end - 1] == '\n')
        end -= end - begin > 1 && whole[end - 2] == '\r' ? 2 : 1;
    line = {whole.substr(0, begin), whole.substr(begin, end - begin), whole.substr(end)};
    return !isTooLong;
}

QString InputLines::failure() const
{
    const QString name =
        fileName == QLatin1String("-") ? QStringLiteral("standard input") : fileName;
    if (isTooLong)
        return QStringLiteral("line %1 of '%2' is longer than %3 bytes")
            .arg(QString::number(lineNumber), name, QString::number(longest));
    if (!isOpen || (lines.failed() && lineNumber == 0))
        return QStringLiteral("cannot read '%1'").arg(name) + lines.remark();
    return lines.failed() ? QStringLiteral("cannot read '%1' behind line %2")
                                    .arg(name, QString::number(lineNumber)) +
                                lines.remark()
                          : QString();
}

} // namespace Talmo
