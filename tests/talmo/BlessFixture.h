#pragma once

#include "RunFixture.h"

/// A `talmo` whose failing runs are blessed.
class BlessFixture : public RunFixture
{
protected:
    /// Makes the programs \a names, each of which writes \a output to out.dat.
    void addModels(const QStringList &names, const QByteArray &output)
    {
        for (const QString &name : names)
            addProgram(name, "cat >out.dat <<'END'\n" + output + "END\n");
    }

    /// Runs `talmo bless` with \a arguments, and expects what it prints and its exit status.
    void expectBless(const QStringList &arguments, const QByteArray &output,
        const QByteArray &errors, int status)
    {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome outcome = run(QStringList("bless") + arguments);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, status);
    }

    /// Expects that nothing can be blessed for this \a reason, and that nothing is changed.
    void expectRefused(const QByteArray &reason, const QStringList &arguments = {})
    {
        const QByteArray before = everyText();
        const QByteArray errors = reason.isEmpty() ? "" : "talmo: bless: " + reason + '\n';
        expectBless(arguments, "", errors, 1);
        expectBless(QStringList("--apply") + arguments, "", errors, 1);
        EXPECT_EQ(everyText(), before);
    }

    /// Expects that \a script fails, and that its failure cannot be blessed for this \a reason.
    void expectScriptRefused(const QByteArray &script, const QByteArray &reason)
    {
        write("test1", script);
        EXPECT_EQ(make({"test1"}).status, 1);
        expectRefused(reason);
    }

    /// The texts of all files of the test but those in .talmo.
    QByteArray everyText()
    {
        QByteArray text;
        for (const QString &entry : entries()) {
            if (!entry.startsWith(".talmo/") && !entry.contains(".dir/") && !entry.endsWith('/'))
                text += entry.toUtf8() + '\n' + read(entry) + '\n';
        }
        return text;
    }

    /// Runs git in the working directory.
    void git(const QStringList &arguments)
    {
        const QStringList identity = {"-c", "user.name=Name", "-c", "user.email=name@example.org"};
        const Outcome outcome = runProcess("/usr/bin/git", identity + arguments, environment, work);
        ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    }

    const QByteArray simple =
        "=heading\n=file ref\n1 2\n3 4\n=run model\n=compare out.dat ref 0 0\n";
    const QByteArray blessed = "replaced 'test1'\n'test1:2: ref' is now 'out.dat' of test1\n";
};
