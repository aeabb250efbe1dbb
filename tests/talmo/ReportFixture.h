#pragma once

#include "ResultsForTests.h"
#include "RunFixture.h"
#include "markdown.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

/// `talmo report` as a process.
class ReportFixture : public RunFixture
{
protected:
    /// Runs `talmo report` with \a arguments and expects the exit status 0. Returns what it prints,
    /// without what no test can foresee: moments, times, the machine and the directory.
    QByteArray report(const QStringList &arguments = {}, const QByteArray &errors = "")
    {
        const Outcome outcome = run(QStringList("report") + arguments);
        EXPECT_EQ(foreseeable(outcome.errors), errors);
        EXPECT_EQ(outcome.status, 0);
        return foreseeable(outcome.output);
    }

    /// The same as Markdown.
    QByteArray markdown(const QStringList &arguments = {})
    {
        return report(QStringList({"--format", "markdown"}) + arguments);
    }

    QByteArray foreseeable(const QByteArray &output) const
    {
        QString text = QString::fromUtf8(output);
        text.replace(work, "WORK");
        text.replace(Talmo::markdownCode(work).section('>', 1).section("</code", 0, 0), "WORK");
        text.replace(QRegularExpression("[0-9-]{10}T[0-9:.]{8,12}(Z|[+&#;0-9:]+)"), "MOMENT");
        text.replace(QRegularExpression(" in [0-9.]+ s:"), ":");
        text.replace(QRegularExpression("on <code>[^<]*</code>\n"), "on HOST\n");
        return text.toUtf8();
    }

    /// Expects that `talmo report` with \a arguments is a wrong call, for \a reason.
    void expectRefused(const QStringList &arguments, const QByteArray &reason)
    {
        expectWrongCall(QStringList("report") + arguments, "talmo: report: " + reason + "\n");
    }

    QJsonObject jsonReport(const QStringList &arguments)
    {
        const Outcome outcome = run(QStringList({"report", "--format", "json"}) + arguments);
        EXPECT_EQ(outcome.status, 0);
        return QJsonDocument::fromJson(outcome.output).object();
    }

    /// "name: state, message [line]" of each run that \a arguments report.
    QStringList runsOf(const QStringList &arguments)
    {
        QStringList lines;
        const QJsonArray runs = jsonReport(arguments)["runs"].toArray();
        for (const QJsonValue &value : runs) {
            const QJsonObject run = value.toObject();
            QString line = run["name"].toString() + ": " + run["state"].toString();
            if (!run["message"].isNull())
                line += ", " + run["message"].toString();
            lines += line;
        }
        return lines;
    }

    void writeSuite()
    {
        write("test1", "=one\n=file a\n1\n2\n=file b\n1\n3\n=compare a b 0.5\n=compare a b\n");
        write("test2", "=two\n");
        write("test3", "=three\n=simprogram none\n");
        write("test4", "=four\n# talmo: known exist\n=exists none\n");
    }
};
