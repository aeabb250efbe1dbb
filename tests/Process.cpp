#include "Process.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

namespace
{

/// \a errors without the complaints of a program that cannot write the counts of its coverage.
QByteArray withoutProfiling(const QByteArray &errors)
{
    QByteArray kept;
    for (const QByteArray &line : errors.split('\n')) {
        if (!line.startsWith("profiling:/") && !line.startsWith("libgcov profiling error:"))
            kept += line + '\n';
    }
    return kept.chopped(1);
}

} // namespace

void startProcess(QProcess &process, const QString &program, const QStringList &arguments,
    const Environment &environment, const QString &folder)
{
    QProcessEnvironment variables;
    for (const char *name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (qEnvironmentVariableIsSet(name))
            variables.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
    }
    for (auto variable = environment.cbegin(); variable != environment.cend(); ++variable)
        variables.insert(variable.key(), variable.value());

    process.setWorkingDirectory(folder);
    process.setProcessEnvironment(variables);
    process.start(program, arguments);
    process.closeWriteChannel();
}

Outcome runProcess(const QString &program, const QStringList &arguments,
    const Environment &environment, const QString &folder)
{
    QProcess process;
    startProcess(process, program, arguments, environment, folder);
    return outcomeOf(process);
}

Outcome outcomeOf(QProcess &process)
{
    const bool finished =
        process.state() == QProcess::NotRunning || process.waitForFinished(waitingTime);
    EXPECT_TRUE(finished) << process.errorString().toStdString();
    Outcome outcome;
    outcome.output = process.readAllStandardOutput();
    outcome.errors = withoutProfiling(process.readAllStandardError());
    if (finished && process.exitStatus() == QProcess::NormalExit)
        outcome.status = process.exitCode();
    else if (finished)
        outcome.signal = process.exitCode(); // for a crashed process this is the signal
    return outcome;
}

char stateOf(const QByteArray &process)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(QString::fromLatin1(process)));
    const QByteArray fields = status.open(QIODevice::ReadOnly) ? status.readAll() : ") ?";
    return fields.at(fields.lastIndexOf(')') + 2);
}
