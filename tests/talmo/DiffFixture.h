#pragma once

#include "RunFixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

/// `talmo diff`, and two files to compare.
class DiffFixture : public RunFixture
{
protected:
    DiffFixture()
    {
        write("a", "# x y z\n1 2 3\n4 5 6\n");
        write("b", "# x y z\n1 2 3\n4 5.5 6.001\n");
    }

    /// Expects that `talmo diff` with \a arguments finds that the files differ, and prints \a
    /// output.
    void expectDifferent(const QStringList &arguments, const QByteArray &output)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Outcome outcome = run(QStringList("diff") + arguments);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 1);
    }

    /// The same, and that \a reason is the last line.
    void expectReason(const QStringList &arguments, const QByteArray &reason)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Outcome outcome = run(QStringList("diff") + arguments);
        const QList<QByteArray> lines = outcome.output.split('\n');
        EXPECT_EQ(lines.value(lines.size() - 2), reason) << outcome.output.toStdString();
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 1);
    }

    void expectAgreement(const QStringList &arguments, const QByteArray &what)
    {
        expectSuccess(QStringList("diff") + arguments, "Files '" + arguments[0].toUtf8() +
                                                           "' and '" + arguments[1].toUtf8() +
                                                           "' agree: " + what + "\n");
    }

    void expectRefused(const QStringList &arguments, const QByteArray &reason)
    {
        expectWrongCall(QStringList("diff") + arguments, "talmo: diff: " + reason + "\n");
    }

    QJsonObject document(const QStringList &arguments)
    {
        const Outcome outcome = run(QStringList({"diff", "--json"}) + arguments);
        QJsonParseError error = {};
        const QJsonDocument parsed = QJsonDocument::fromJson(outcome.output, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << outcome.output.toStdString();
        return parsed.object();
    }

    /// What bash says to \a command, in which $TALMO is the companion.
    Outcome shell(const QString &command)
    {
        environment["TALMO"] = driver;
        return runProcess("bash", {"-c", command}, environment, work);
    }
};
