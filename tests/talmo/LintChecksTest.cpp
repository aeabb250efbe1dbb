// Each check of talmo lint, as the manual shows it.

#include "LintFixture.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>

namespace
{

/// An example of the manual: a script, the names under which it is written, and what is found.
struct Example {
    QStringList names;
    QByteArray script;
    QByteArray output;
};

/// The examples of a check: the one that shows it, and the one that only looks like it.
using Examples = QList<Example>;

/// The examples in \a text, which begins with the heading of a check.
Examples examplesIn(const QByteArray &text)
{
    Examples examples;
    const QList<QByteArray> lines = text.split('\n');
    for (int index = 0; index < lines.size(); ++index) {
        if (!lines[index].startsWith("```"))
            continue;
        const QByteArray kind = lines[index].mid(3);
        QByteArray block;
        while (++index < lines.size() && lines[index] != "```")
            block += lines[index] + '\n';
        if (kind.startsWith("script")) {
            QStringList names = QString(kind).split(' ').mid(1);
            examples.append({names.isEmpty() ? QStringList("test1") : names, block, ""});
        } else {
            examples.last().output = block;
        }
    }
    return examples;
}

/// The examples of the manual by the names of the checks.
QMap<QString, Examples> examplesOfManual()
{
    QFile file(MANUAL_OF_LINT);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QMap<QString, Examples> examples;
    const QList<QString> sections = QString(file.readAll()).split("\n### ").mid(1);
    for (const QString &section : sections)
        examples[section.section('\n', 0, 0)] = examplesIn(section.toUtf8());
    return examples;
}

/// \a script with a comment that allows \a check above each command, as far as one can stand there.
QByteArray withAllowance(const QByteArray &script, const QByteArray &check)
{
    QByteArray changed;
    bool isInText = true; // of the first line nothing can stand above
    const QList<QByteArray> lines = script.split('\n').mid(0, script.count('\n'));
    for (const QByteArray &line : lines) {
        const bool isCommand = line.startsWith('=');
        if (!isInText && !line.startsWith("=simprogram"))
            changed += "# talmo: allow " + check + '\n';
        if (isCommand)
            isInText = line.startsWith("=file ");
        changed += line + '\n';
    }
    return changed + (script.count('\n') == 1 ? "# talmo: allow " + check + '\n' : "");
}

class LintChecksTest : public LintFixture
{
protected:
    void writeExample(const Example &example, const QByteArray &script)
    {
        for (const QString &name : example.names)
            write(name, script);
    }
};

} // namespace

TEST_F(LintChecksTest, EachCheckHasAScriptThatShowsItAndOneThatOnlyLooksLikeIt)
{
    const QMap<QString, Examples> manual = examplesOfManual();
    const QList<QByteArray> rows = run({"lint", "--checks"}).output.split('\n');
    QStringList names;
    for (const QByteArray &row : rows) {
        if (!row.isEmpty())
            names += row.split(' ')[0];
    }
    EXPECT_GT(names.size(), 0);
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()),
        QSet<QString>(manual.keyBegin(), manual.keyEnd()));
    for (const QString &name : std::as_const(names)) {
        SCOPED_TRACE(name.toStdString());
        const Examples examples = manual[name];
        ASSERT_EQ(examples.size(), 2);
        const QList<QByteArray> found = examples[0].output.split('\n');
        EXPECT_NE(examples[0].output, "");
        for (const QByteArray &line : found)
            EXPECT_TRUE(line.isEmpty() || line.endsWith(" [" + name.toUtf8() + "]"));
        for (const Example &example : examples) {
            writeExample(example, example.script);
            EXPECT_EQ(lint(), example.output) << example.script.toStdString();
            for (const QString &file : example.names)
                QFile::remove(work + '/' + file);
        }
    }
}

TEST_F(LintChecksTest, FindsNothingInTheScriptsOfTheDistributionAndOfTheExamples)
{
    for (const QStringList &names :
        {QStringList(), QStringList({"tracker", "tracker-kick", "tracker-mpi"})}) {
        configure(names);
        EXPECT_EQ(lint({"--distribution"}), "");
        EXPECT_EQ(lint({"-C", EXAMPLES "/mpi/suite"}), "");
    }
    const Outcome json = run({"lint", "--distribution", "--format", "json"});
    const QJsonObject document = QJsonDocument::fromJson(json.output).object();
    EXPECT_GE(document["scripts"].toInt(), 23);
    EXPECT_EQ(document["findings"].toArray().size(), 0);
    EXPECT_EQ(json.status, 0);
}

TEST_F(LintChecksTest, ACommentAllowsEachCheckButThoseThatCannotBe)
{
    const QStringList notAllowed = {"no-heading", "wrong-comment", "unknown-check"};
    const QMap<QString, Examples> manual = examplesOfManual();
    for (auto row = manual.begin(); row != manual.end(); ++row) {
        SCOPED_TRACE(row.key().toStdString());
        const Example &example = row.value().first();
        const QByteArray script = withAllowance(example.script, row.key().toUtf8());
        writeExample(example, script);
        EXPECT_EQ(lint().isEmpty(), !notAllowed.contains(row.key())) << script.toStdString();
        const QByteArray other = row.key() == "wide-ignore" ? "vain-ignore" : "wide-ignore";
        writeExample(example, withAllowance(example.script, other));
        EXPECT_NE(lint(), "");
        for (const QString &file : example.names)
            QFile::remove(work + '/' + file);
    }
}
