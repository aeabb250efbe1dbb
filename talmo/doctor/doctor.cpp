// talmo doctor: what a bug report should tell, and what keeps a newcomer from a first run. Each
// examination is made in a process of its own, for a limited time.

#include "CommandLine.h"
#include "SuiteOptions.h"
#include "answerWithin.h"
#include "commandTable.h"
#include "details.h"
#include "examinations.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace Talmo
{

namespace
{

constexpr int longestWait = 5000; ///< milliseconds, for each examination

// what is examined, how
const struct {
    const char *subject;
    Observations (*examine)();
} examinations[] = {
    {"versions", examineVersions},
    {"locale", examineLocale},
    {"settings", examineSettings},
    {"programs", examinePrograms},
    {"distribution", examineDistribution},
    {"suite", examineSuite},
    {"results", examineRecords},
    {"temporary files", examineTemporary},
};

const char *const verdictNames[] = {"ok", "note", "problem"}; // as Observation::Verdict

QJsonArray arrayOf(const Observations &observations)
{
    QJsonArray array;
    for (const Observation &observation : observations)
        array.append(QJsonObject{
            {QStringLiteral("verdict"), QLatin1String(verdictNames[observation.verdict])},
            {QStringLiteral("subject"), observation.subject},
            {QStringLiteral("text"), observation.text},
            {QStringLiteral("advice"), observation.advice},
        });
    return array;
}

/// The observations as a document, from the process that makes \a examine.
QByteArray documentOf(Observations (*examine)())
{
    return QJsonDocument(arrayOf(examine())).toJson(QJsonDocument::Compact);
}

/// What is to be said about \a subject, since \a answer is none.
Observation unanswered(const char *subject, const Answer &answer)
{
    if (answer.end == Answer::Late)
        return {Observation::Problem, QLatin1String(subject),
            QStringLiteral("no answer within %1 seconds").arg(longestWait / 1000),
            QStringLiteral("look for a network drive that does not answer")};
    return {Observation::Problem, QLatin1String(subject),
        QStringLiteral("the examination %1").arg(answer.reason),
        QStringLiteral("that is a mistake of Talmo; report it, with this page")};
}

QJsonArray examineAll()
{
    QJsonArray all;
    for (const auto &examination : examinations) {
        const Answer answer =
            answerWithin(longestWait, [&examination] { return documentOf(examination.examine); });
        const QJsonArray observations = answer.end == Answer::Given
                                            ? QJsonDocument::fromJson(answer.text).array()
                                            : arrayOf({unanswered(examination.subject, answer)});
        for (const auto &observation : observations)
            all.append(observation);
    }
    return all;
}

void printLine(const QJsonObject &observation)
{
    const auto text = [&observation](
                          const char *name) { return observation[QLatin1String(name)].toString(); };
    QString line =
        QStringLiteral("%1 %2: %3").arg(text("verdict"), -8).arg(text("subject"), text("text"));
    if (!text("advice").isEmpty())
        line += QStringLiteral("; ") + text("advice");
    std::printf("%s\n", line.toUtf8().constData());
}

/// Goes to the directory of -C. False, with a reason in \a problem, if that fails or takes too
/// long.
bool enterAliveFolder(const CommandLine &line, QString &problem)
{
    const Answer attempt = answerWithin(longestWait, [&line] {
        QString reason;
        enterFolder(line, reason);
        return QByteArray();
    });
    if (attempt.end == Answer::Given)
        return enterFolder(line, problem);
    problem = QStringLiteral("the directory of -C does not answer");
    return false;
}

} // namespace

int doctorCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("doctor"),
        QStringLiteral(
            "Tells what a bug report should have, and what is wrong with an installation, the\n"
            "settings or a suite. Each line is ok, a note or a problem. Nothing is changed.\n\n"
            "The exit status is 1 if there is a problem."));
    addFolderOption(line);
    const QString json = QStringLiteral("json");
    line.addOption({json, QStringLiteral("Prints the same as JSON.")});
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    if (!line.positionalArguments().isEmpty())
        return line.refuse(QStringLiteral("it takes no arguments"));
    QString problem;
    if (!enterAliveFolder(line, problem))
        return line.refuse(problem);
    const QJsonArray observations = examineAll();
    bool isWell = true;
    for (const auto &observation : observations) {
        isWell = isWell && observation[QLatin1String("verdict")].toString() !=
                               QLatin1String(verdictNames[Observation::Problem]);
        if (!line.isSet(json))
            printLine(observation.toObject());
    }
    if (line.isSet(json)) {
        const QJsonObject whole = {
            {QStringLiteral("format"), 1}, {QStringLiteral("observations"), observations}};
        std::fputs(QJsonDocument(whole).toJson().constData(), stdout);
    }
    return isWell ? AllIsWell : AtFault;
}

} // namespace Talmo
