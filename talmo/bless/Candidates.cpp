#include "Candidates.h"

#include "saving.h"

#include <QFile>
#include <QFileInfo>

#include <map>
#include <utility>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

/// Why the file \a path cannot be replaced, in a few words; null if it can.
QString problemOfTarget(const QByteArray &path, const BlessRequest &request)
{
    struct stat status = {};
    if (lstat(path, &status) != 0)
        return QStringLiteral("its file has gone");
    if (S_ISLNK(status.st_mode))
        return QStringLiteral("its file is a symbolic link");
    if (status.st_nlink > 1)
        return QStringLiteral("its file has other names, which would keep the old text");
    const QString real = QFileInfo(QFile::decodeName(path)).canonicalFilePath();
    const QString suite = QFileInfo(QFile::decodeName(request.suite)).canonicalFilePath();
    const QString inside = suite.endsWith(QLatin1Char('/')) ? suite : suite + QLatin1Char('/');
    if (!real.startsWith(inside) && !request.allowsOutside)
        return QStringLiteral("'%1' lies outside of the suite's directory; --outside allows it")
            .arg(real);
    return problemOfSaving(QFile::decodeName(path));
}

/// Why the output of \a candidate cannot stand in the script, in a few words; null if it can.
QString problemOfText(const Candidate &candidate)
{
    if (candidate.reference->reference->line == 0)
        return {};
    QByteArray text = candidate.output->text;
    if (!text.isEmpty() && !text.endsWith('\n')) // the script adds it, and "=compare" sees no more
        text += '\n';
    return problemOfBody(text, Sameness::OfBytes);
}

class Collector
{
public:
    Collector(const BlessRequest &itsRequest, QStringList &itsRefused)
        : request(itsRequest)
        , refused(itsRefused)
    {
    }

    void collect(const RunView &view);

    /// What was collected, in its order.
    std::vector<CandidateGroup> take();

private:
    void collect(const RunView &view, const RunComparison &comparison);
    void refuse(const RunRecord &run, qint64 line, const QString &reason);
    bool isOnly(const ComparedText &file) const;

    const BlessRequest &request;
    QStringList &refused;
    std::map<Reference, CandidateGroup> groups;
    std::vector<Reference> order; ///< of the groups
};

void Collector::refuse(const RunRecord &run, qint64 line, const QString &reason)
{
    if (request.wants(run))
        refused += refusalOf(run, line, reason);
}

bool Collector::isOnly(const ComparedText &file) const
{
    if (request.only.isNull() || file.name == request.only)
        return true;
    if (!file.reference || file.reference->line > 0)
        return false;
    const QString path = QFileInfo(QFile::decodeName(file.reference->path)).canonicalFilePath();
    return path == QFileInfo(request.only).canonicalFilePath();
}

void Collector::collect(const RunView &view, const RunComparison &comparison)
{
    const ComparedText &file1 = comparison.file1;
    const ComparedText &file2 = comparison.file2;
    if (!isOnly(file1) && !isOnly(file2))
        return;
    if (comparison.expectedFailure) {
        refuse(*view.run, comparison.line,
            QStringLiteral(
                "the script expects the comparison to fail, so that no output is right"));
        return;
    }
    if (bool(file1.reference) == bool(file2.reference)) {
        const QString both = QStringLiteral("both '%1' and '%2' are provided by the script or the "
                                            "suite, so neither was made by the run");
        const QString none = QStringLiteral("neither '%1' nor '%2' is provided by the script or "
                                            "the suite, so nobody knows which is the reference");
        refuse(*view.run, comparison.line,
            (file1.reference ? both : none).arg(file1.name, file2.name));
        return;
    }
    const bool isFirst = bool(file1.reference);
    const Candidate candidate = {&view, &comparison, isFirst ? &file1 : &file2,
        isFirst ? &file2 : &file1, request.wants(*view.run) && isOnly(isFirst ? file1 : file2)};
    QString obstacle = candidate.reference->obstacle;
    if (obstacle.isNull())
        obstacle = problemOfTarget(candidate.reference->reference->path, request);
    if (!obstacle.isNull())
        obstacle =
            QStringLiteral("'%1' cannot be replaced: %2").arg(candidate.reference->name, obstacle);
    QString problem = candidate.output->obstacle;
    if (problem.isNull())
        problem = problemOfText(candidate);
    if (obstacle.isNull() && !problem.isNull())
        obstacle = QStringLiteral("'%1' cannot become the reference '%2': %3")
                       .arg(candidate.output->name, candidate.reference->name, problem);
    if (!obstacle.isNull()) {
        refuse(*view.run, comparison.line, obstacle);
        return;
    }
    CandidateGroup &group = groups[*candidate.reference->reference];
    if (group.empty())
        order.push_back(*candidate.reference->reference);
    group.push_back(candidate);
}

void Collector::collect(const RunView &view)
{
    if (!view.obstacle.isNull()) {
        refuse(*view.run, 0, view.obstacle);
        return;
    }
    for (const RunComparison &comparison : view.comparisons) {
        if (comparison.mayBeBlessed && !comparison.holds())
            collect(view, comparison);
    }
}

std::vector<CandidateGroup> Collector::take()
{
    std::vector<CandidateGroup> ordered;
    for (const Reference &reference : order)
        ordered.push_back(std::move(groups[reference]));
    return ordered;
}

} // namespace

QString placeOf(const RunRecord &run, qint64 line)
{
    return QStringLiteral("%1, line %2").arg(run.name, QString::number(line));
}

QString refusalOf(const RunRecord &run, qint64 line, const QString &reason)
{
    return QStringLiteral("%1: %2").arg(line > 0 ? placeOf(run, line) : run.name, reason);
}

std::vector<CandidateGroup> candidatesOf(
    const std::vector<RunView> &views, const BlessRequest &request, QStringList &refused)
{
    Collector collector(request, refused);
    for (const RunView &view : views)
        collector.collect(view);
    return collector.take();
}

} // namespace Talmo
