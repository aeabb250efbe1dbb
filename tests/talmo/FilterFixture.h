#pragma once

#include "CompanionTest.h"

/// A `talmo` that reads standard input.
class FilterFixture : public CompanionTest
{
protected:
    /// Runs `talmo` with \a arguments and \a input on standard input.
    Outcome filter(const QByteArray &input, const QStringList &arguments)
    {
        write("input", input);
        return runShell("exec \"$0\" \"$@\" <input", arguments);
    }

    /// Runs the lines \a script of the shell, in which "$0" "$@" is `talmo` with \a arguments.
    Outcome runShell(const QString &script, const QStringList &arguments)
    {
        return runProcess(
            "/bin/sh", QStringList{"-c", script, driver} + arguments, environment, work);
    }

    /// Expects that `talmo` with \a arguments makes \a output of \a input, says \a errors, and has
    /// the exit status that goes with these.
    void expectFiltered(const QStringList &arguments, const QByteArray &input,
        const QByteArray &output, const QByteArray &errors = "")
    {
        SCOPED_TRACE((arguments.join(' ') + " <<< ").toStdString() + input.left(200).toStdString());
        const Outcome outcome = filter(input, arguments);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, errors.isEmpty() ? 0 : 1);
    }

    /// Expects that `talmo` with \a arguments, in a pipe that nobody reads after the first line,
    /// ends quietly, by a signal, whether or not its parent ignores that.
    void expectQuietEnd(const QString &input, const QStringList &arguments)
    {
        for (const QString &before : {QString(), QString("trap '' PIPE; ")}) {
            Outcome outcome = runShell(
                before + "(" + input + R"( | "$0" "$@"; echo $? >status) | head -n 1)", arguments);
            outcome.errors.replace("yes: standard output: Broken pipe\n", "");
            EXPECT_EQ(outcome.errors, "");
            EXPECT_EQ(read("status"), "141\n");
        }
    }
};
