#include "DriverTest.h"

#include <QFile>

// The worked examples of the manual: each block marked "script" must print the next block marked
// "output".

namespace
{

struct Example {
    QByteArray script;
    QByteArray output;
};

QList<Example> examplesOf(const QString &manual)
{
    QFile file(manual);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << manual.toStdString();
    QList<Example> examples;
    QByteArray Example::*block = nullptr;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (line == "```script\n") {
            examples.append(Example());
            block = &Example::script;
        } else if (line == "```output\n") {
            block = &Example::output;
        } else if (line == "```\n") {
            block = nullptr;
        } else if (block != nullptr && !examples.isEmpty()) {
            examples.last().*block += line;
        }
    }
    return examples;
}

class Manual : public DriverTest
{
};

} // namespace

TEST_F(Manual, TheExamplesOfTheScriptLanguageAreTrue)
{
    addProgram("sim1", "echo start; echo finish\n");
    addProgram("sim2", "echo start; echo finish\n");
    configure({"sim1", "sim2"});
    const QList<Example> examples = examplesOf(MANUAL_OF_SCRIPTS);
    ASSERT_GE(examples.size(), 10);
    for (const Example &example : examples) {
        SCOPED_TRACE(example.script.toStdString());
        ASSERT_FALSE(example.output.isEmpty());
        QByteArray printed = runScript(example.script);
        printed.replace(QString(work + "/test1").toUtf8(), "PATH");
        EXPECT_EQ(printed, example.output);
    }
}
