#include "ComparedFile.h"

#include "PreparedText.h"
#include "standardInput.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace Talmo
{

namespace
{

/// Standard input, in whatever state it was inherited.
class StandardInput : public TextSource
{
public:
    qint64 readText(char *target, qint64 size) override
    {
        for (;;) {
            const qint64 got = readStandardInput(target, size);
            hasFailed = got < 0;
            if (got <= 0)
                return 0;
            const auto left = std::remove(target, target + got, '\r') - target;
            if (left > 0)
                return left;
        }
    }

    bool failed() const override { return hasFailed; }

private:
    bool hasFailed = false;
};

bool openPlain(LineReader &lines, const QString &name)
{
    if (name != QLatin1String("-"))
        return lines.open(name);
    lines.readFrom(std::make_unique<StandardInput>(), /*mayBeMarked=*/true);
    return true;
}

/// What a prepared file goes through; null where nothing is done.
struct Steps {
    const PreparedText *filtered = nullptr;
    const PreparedText *sorted = nullptr;
};

/// Opens \a name as \a preparation makes it read; none if it cannot be read.
std::optional<Steps> open(
    LineReader &lines, const QString &name, const Preparation &preparation, const BlockSide &side)
{
    Steps steps;
    if (preparation.isNone() && !preparation.hasFixedColumns)
        return openPlain(lines, name) ? std::make_optional(steps) : std::nullopt;
    auto text = std::make_unique<LineReader>();
    if (!openPlain(*text, name))
        return {};
    std::unique_ptr<PreparedText> prepared =
        filteredText(std::move(text), preparation, preparation.hasBlocks() ? side : BlockSide());
    steps.filtered = prepared.get();
    if (!preparation.sort.isNull()) {
        auto unsorted = std::make_unique<LineReader>();
        unsorted->readFrom(std::move(prepared));
        prepared = sortedText(std::move(unsorted), *steps.filtered, preparation.sort);
        steps.sorted = prepared.get();
    }
    lines.readFrom(std::move(prepared));
    return steps;
}

} // namespace

size_t columnOf(const QString &text, const QStringList &names, size_t count, QString &problem)
{
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    if (!isNumber) {
        if (names.count(text) == 1)
            return static_cast<size_t>(names.indexOf(text)) + 1;
        problem = names.contains(text) ? QStringLiteral("two columns are named '%1'").arg(text)
                  : !names.isEmpty()   ? QStringLiteral("there is no column '%1'").arg(text)
                                       : QStringLiteral("there is no column '%1'; the columns have "
                                                          "no names")
                                           .arg(text);
        return 0;
    }
    if (number < 1 || number > count) {
        problem = QStringLiteral("there is no column %1; the first line with data has %2")
                      .arg(text, QString::number(count));
        return 0;
    }
    return number;
}

bool openPrepared(LineReader &lines, const QString &name, const Preparation &preparation)
{
    return open(lines, name, preparation, BlockSide()).has_value();
}

bool ComparedFile::open(const QString &name, const Preparation &preparation, const BlockSide &side)
{
    fileName = name;
    const std::optional<Steps> steps = Talmo::open(lines, name, preparation, side);
    isOpen = steps.has_value();
    if (isOpen) {
        filtered = steps->filtered;
        sorted = steps->sorted;
    }
    return isOpen;
}

QString ComparedFile::failure() const
{
    if (sorted != nullptr && !sorted->problem().isNull())
        return QStringLiteral("'%1' %2").arg(calledName(), sorted->problem());
    if (!isOpen || lines.failed())
        return QStringLiteral("cannot read '%1'").arg(calledName()) + lines.remark();
    return {};
}

QString ComparedFile::objection() const
{
    if (filtered == nullptr || filtered->problem().isNull())
        return {};
    return QStringLiteral("'%1' %2").arg(calledName(), filtered->problem());
}

QString ComparedFile::calledName() const
{
    return fileName == QLatin1String("-") ? QStringLiteral("standard input") : fileName;
}

} // namespace Talmo
