#include "compare.h"

#include "Difference.h"
#include "commands.h"
#include "talmo/Numbers.h"

#include <iterator>

using namespace Talmo;

namespace
{

/// What each kind of difference is called, in the order of Difference::Kind. %1 and %2 are the
/// files, %3 the line, %4 the column. Deliberate: "File" or "Files" as the wording always was.
const char *const differenceMessages[] = {
    nullptr,
    "Files '%1' and '%2' have different lengths",
    "Files '%1' and '%2' differ at line %3",
    "File '%1' and '%2' comment mismatch, line %3",
    "File '%1' and/or '%2' has too few columns, line %3",
    "File '%1' and/or '%2' has invalid data on line %3, column %4",
    "Files '%1' and '%2' differ on line %3, column %4",
};
static_assert(std::size(differenceMessages) == Difference::Value + 1);

QString cannotRead(const QString &fileName, const LineReader &file)
{
    return QStringLiteral("Cannot read file '%1'").arg(fileName) + file.remark();
}

QString describe(const Difference &difference, const QString &name1, const QString &name2)
{
    const QString message = QString::fromLatin1(differenceMessages[difference.kind]);
    const QString line = QString::number(difference.line);
    // One substitution of all at once: a file name may itself hold a "%2".
    if (difference.column > 0)
        return message.arg(name1, name2, line, QString::number(difference.column));
    if (difference.line > 0)
        return message.arg(name1, name2, line);
    return message.arg(name1, name2);
}

/// The words of \a words after the file names as numbers; false if one is not.
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

} // namespace

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
        invocation.error = QStringLiteral("Invalid =compare column tolerance");
        return;
    }
    const Difference difference = tolerances.empty() ? compareExactly(file1, file2)
                                                     : compareColumns(file1, file2, tolerances);
    if (file1.failed() || file2.failed())
        invocation.error = file1.failed() ? cannotRead(name1, file1) : cannotRead(name2, file2);
    else if (difference.kind != Difference::None)
        invocation.error = describe(difference, name1, name2);
}
