// Input: a line with the arguments of "talmo diff" behind the file names, words that are
// tolerances, and a relative tolerance behind "r"; the first file, a line "----", and the second
// file. What is checked: the verdict and the message are those of "=compare" by its plain
// definition, the counts are those of a plain model, and the line that would pass does. With "b" in
// front of the arguments, the blocks from "<" to ">" are compared, and what is checked is that they
// agree as a whole exactly if they agree block by block.

#include "DiffRequest.h"
#include "PlainSurvey.h"
#include "compareOutcome.h"
#include "comparison.h"
#include "diffOutput.h"
#include "diffWords.h"
#include "fuzzing.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

namespace
{

void write(const QString &name, const QByteArray &content)
{
    QFile file(name);
    const bool written =
        file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
    require(written, "the file is written");
}

QByteArray bytesOf(std::string_view text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

/// Two files with their names.
struct Files {
    QString name1;
    QString name2;

    Talmo::Survey survey(const Talmo::Rules &rules) const
    {
        Talmo::LineReader file1;
        Talmo::LineReader file2;
        require(file1.open(name1) && file2.open(name2), "the files are opened");
        const Talmo::Head head =
            rules.tolerances.empty() ? Talmo::Head() : Talmo::readHead(file1, file2);
        return Talmo::surveyOf(file1, file2, rules, 3, head);
    }
};

/// Checks that the line that is said to pass does.
void checkReadyLine(const Files &files, const Talmo::DiffResult &result)
{
    const QString line = Talmo::readyLineOf(result);
    const bool mustBeThere = !result.survey.agree() && result.survey.toleranceHelps();
    require(line.isNull() != mustBeThere, "a line that would pass is there if one can be");
    if (!line.isNull()) {
        require(compareOutcome(files.name1, files.name2, line.split(' ').mid(3)).isEmpty(),
            "the line that would pass does");
    }
}

/// The texts of the blocks of \a content.
QByteArrayList blocksOf(const QByteArray &content)
{
    QByteArrayList blocks;
    bool isInside = false;
    for (const QByteArray &line : PlainCompare::linesOf(content)) {
        if (isInside && !line.contains('>')) {
            blocks.last() += line + '\n';
            continue;
        }
        isInside = line.contains('<');
        if (isInside)
            blocks += "#\n"; // so that a byte order mark below it stays what it is
    }
    return blocks;
}

bool agreeBlockByBlock(
    const QByteArrayList &blocks1, const QByteArrayList &blocks2, const Talmo::Rules &rules)
{
    if (blocks1.size() != blocks2.size())
        return false;
    for (int index = 0; index < blocks1.size(); ++index) {
        const PlainSurvey::Counts counts =
            PlainSurvey::countsOf(blocks1[index], blocks2[index], rules.tolerances, rules.relative);
        if (counts.differing > 0 || counts.lines[Talmo::Difference::Length] > 0)
            return false;
    }
    return true;
}

void checkBlocks(const Files &files, const QStringList &words, const Talmo::Rules &rules,
    const QByteArray &content1, const QByteArray &content2)
{
    Talmo::DiffResult result;
    result.request.file1 = files.name1;
    result.request.file2 = files.name2;
    result.request.tolerances = words;
    result.request.relative = rules.relative;
    result.request.comparesNumbers = !words.isEmpty();
    result.request.preparation.from = QStringLiteral("<");
    result.request.preparation.to = QStringLiteral(">");
    if (!Talmo::compare(result).isNull())
        return; // a pattern matches nothing, or nothing is left
    require(result.agree() == agreeBlockByBlock(blocksOf(content1), blocksOf(content2), rules),
        "the files agree if their blocks do, and only then");
    require(!Talmo::textOf(result, Talmo::OutputStyle::Plain).isEmpty(), "there is a text");
    require(!Talmo::jsonOf(result).isEmpty(), "there is a document");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir directory;
    Input input(data, size);
    QStringList words = input.takeLine().simplified().split(' ', Qt::SkipEmptyParts);
    const bool hasBlocks = !words.isEmpty() && words.first() == QLatin1String("b");
    if (hasBlocks)
        words.removeFirst();
    Talmo::Rules rules;
    if (!words.isEmpty() && words.last().startsWith('r'))
        rules.relative = PlainCompare::numberOf(words.takeLast().mid(1)).value_or(0);
    const auto tolerances = PlainCompare::numbersOf(words);
    if (!tolerances || rules.relative < 0)
        return 0;
    rules.tolerances = *tolerances;
    const QByteArray content1 = bytesOf(input.takeUntil("----\n"));
    const QByteArray content2 = bytesOf(input.takeUntil({}));
    const Files files = {directory.filePath("1"), directory.filePath("2")};
    write(files.name1, content1);
    write(files.name2, content2);
    if (hasBlocks) {
        checkBlocks(files, words, rules, content1, content2);
        return 0;
    }

    Talmo::DiffResult result;
    result.request.file1 = files.name1;
    result.request.file2 = files.name2;
    result.request.comparesNumbers = !rules.tolerances.empty();
    result.tolerances = {words, rules.tolerances};
    result.mayReadAgain = true;
    result.survey = files.survey(rules);
    const PlainSurvey::Counts counts =
        PlainSurvey::countsOf(content1, content2, rules.tolerances, rules.relative);
    require(PlainSurvey::told(result.survey) == PlainSurvey::told(counts, rules.tolerances),
        "the counts are those of the model");
    if (rules.relative == 0 || rules.tolerances.empty()) {
        const QString expected = PlainCompare::outcome(content1, content2, words);
        const Talmo::Difference first = result.survey.first.value_or(Talmo::Difference());
        const QString found = described(first);
        if (found != expected)
            std::fprintf(stderr, "'%s', not '%s'\n", qPrintable(found), qPrintable(expected));
        require(found == expected, "the first difference is that of =compare");
    }
    checkReadyLine(files, result);
    if (result.request.comparesNumbers) // otherwise a process would be started
        require(!Talmo::textOf(result, Talmo::OutputStyle::Coloured).isEmpty(), "there is a text");
    require(!Talmo::jsonOf(result).isEmpty(), "there is a document");
    return 0;
}
