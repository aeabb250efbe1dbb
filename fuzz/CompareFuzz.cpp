// Input: a line with the tolerances, a line with the sizes of two comments, the first file, a line
// "----", and the second file. Each comment is put in front of its file. Files are read in blocks,
// and a long comment moves the lines behind it across the end of a block.

#include "PlainCompare.h"
#include "compareOutcome.h"
#include "fuzzing.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace
{

/// \a content behind a comment of \a size bytes.
QByteArray behindComment(int size, std::string_view content)
{
    const QByteArray bytes(content.data(), static_cast<int>(content.size()));
    return size <= 0 ? bytes : '#' + QByteArray(std::min(size, 600000), '-') + '\n' + bytes;
}

void write(const QString &name, const QByteArray &content)
{
    QFile file(name);
    const bool written =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
    require(written, "the file is written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir directory;
    Input input(data, size);
    const QStringList tolerances = input.takeLine().simplified().split(' ', Qt::SkipEmptyParts);
    const QStringList sizes = input.takeLine().split(' ');
    const QByteArray content1 = behindComment(sizes.first().toInt(), input.takeUntil("----\n"));
    const QByteArray content2 = behindComment(sizes.last().toInt(), input.takeUntil({}));
    const QString name1 = directory.filePath("1");
    const QString name2 = directory.filePath("2");
    write(name1, content1);
    write(name2, content2);

    const QString expected = PlainCompare::outcome(content1, content2, tolerances);
    const QString found = compareOutcome(name1, name2, tolerances);
    if (found != expected)
        std::fprintf(stderr, "'%s', not '%s'\n", qPrintable(found), qPrintable(expected));
    require(found == expected, "a comparison comes out as by its definition");
    if (const auto numbers = PlainCompare::numbersOf(tolerances)) {
        require(allDifferences(name1, name2, *numbers) ==
                    PlainCompare::differences(content1, content2, *numbers),
            "all differences are those of the definition");
    }
    return 0;
}
