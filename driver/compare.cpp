#include "compare.h"

#include "Difference.h"
#include "DiskFile.h"
#include "Invocation.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

using namespace Talmo;

namespace
{

QString cannotRead(const QString &fileName, const LineReader &file)
{
    return cannotCompare(fileName) + file.remark();
}

/// The first bytes of \a word, which may be as long as a file.
QByteArray beginningOf(std::string_view word)
{
    constexpr size_t enough = 1000;
    return QByteArray(word.data(), static_cast<int>(std::min(word.size(), enough)));
}

/// The first difference between two files, which are still to be named; none if they agree, or if
/// one of them cannot be read to its end.
std::optional<Comparison> firstDifference(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances)
{
    std::optional<Comparison> found;
    const Lengths lengths = forEachDifference(
        file1, file2, tolerances, [&found](const Difference &difference, const LinePair &) {
            found = Comparison();
            found->difference = difference;
            found->word = beginningOf(difference.word);
            found->difference.word = {}; // it goes with the reader
            return Walk::Stops;
        });
    if (found)
        found->lengths = lengths;
    return found;
}

/// A kind of difference in a line, and what its message tells.
struct ExampleKind {
    Difference::Kind kind;
    bool isByColumns; ///< it is found with tolerances
    bool hasColumn;   ///< the message tells the column
};

// clang-format off
constexpr ExampleKind exampleKinds[] = {
    { Difference::Text,            false, false },
    { Difference::CommentMismatch, true,  false },
    { Difference::TooFewColumns,   true,  false },
    { Difference::InvalidData,     true,  true },
    { Difference::Value,           true,  true },
};
// clang-format on
constexpr qint64 exampleLines[] = {1, 12, 123, 1234, 123456};
constexpr size_t exampleColumns[] = {1, 12};

} // namespace

QString cannotCompare(const QString &fileName)
{
    return QStringLiteral("Cannot read file '%1'").arg(fileName);
}

QString invalidTolerance()
{
    return QStringLiteral("Invalid =compare column tolerance");
}

bool readTolerances(const QStringList &words, std::vector<double> &tolerances)
{
    for (int index = 3; index < words.size(); ++index) {
        double tolerance = 0;
        if (!Talmo::toNumber(words[index].toStdString(), tolerance))
            return false;
        tolerances.push_back(tolerance);
    }
    return true;
}

void compareCommand(Invocation &invocation)
{
    const QStringList &words = invocation.words;
    const QString &name1 = words[1];
    const QString &name2 = words[2];
    LineReader file1;
    LineReader file2;
    if (!file1.open(name1)) {
        invocation.error = cannotRead(name1, file1);
        return;
    }
    if (!file2.open(name2)) {
        invocation.error = cannotRead(name2, file2);
        return;
    }
    std::vector<double> tolerances;
    if (!readTolerances(words, tolerances)) {
        invocation.error = invalidTolerance();
        return;
    }
    const std::optional<Comparison> found = firstDifference(file1, file2, tolerances);
    if (file1.failed() || file2.failed()) {
        invocation.error = file1.failed() ? cannotRead(name1, file1) : cannotRead(name2, file2);
    } else if (found) {
        invocation.error = describe(found->difference, name1, name2);
        invocation.findings.comparison = found;
        invocation.findings.comparison->file1 = name1;
        invocation.findings.comparison->file2 = name2;
    }
}

QStringList failuresOfCompare(const QStringList &words)
{
    const QString &name1 = words[1];
    const QString &name2 = words[2];
    const QString remark = DiskFile::remarkThatNobody("writes");
    QStringList failures = {cannotCompare(name1), cannotCompare(name2),
        cannotCompare(name1) + remark, cannotCompare(name2) + remark, invalidTolerance()};
    failures += describe(Difference{Difference::Length}, name1, name2);
    const bool isByColumns = words.size() > 3;
    for (const ExampleKind &example : exampleKinds) {
        for (const qint64 line : exampleLines) {
            for (const size_t column : exampleColumns) {
                const Difference difference{example.kind, line, example.hasColumn ? column : 0};
                if (example.isByColumns == isByColumns)
                    failures += describe(difference, name1, name2);
            }
        }
    }
    failures.removeDuplicates();
    return failures;
}
