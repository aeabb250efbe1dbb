#pragma once

#include "HtmlWriter.h"
#include "Report.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <cstddef>

namespace Talmo
{

// The parts of a report's page, a file each. They write to the page that they are given.

/// How much of what scripts, files and programs hold a page may still take. What comes first gets
/// it; a page about any number of failures stays one that a browser opens. Lists of comparisons
/// have a part of their own, since they matter more than pictures.
class PageBudget
{
public:
    /// Takes \a bytes if they are left.
    bool take(qint64 bytes) { return takeFrom(left, bytes); }

    /// The same for a row of a list.
    bool takeRow(qint64 bytes) { return takeFrom(leftForRows, bytes); }

private:
    static bool takeFrom(qint64 &some, qint64 bytes)
    {
        const bool isEnough = bytes <= some;
        some -= isEnough ? bytes : 0;
        return isEnough;
    }

    qint64 left = qint64{7} * 1000 * 1000;
    qint64 leftForRows = qint64{2} * 1000 * 1000;
};

/// The names of runs that have a section, and its id.
using SectionIds = QHash<QString, QString>;

/// The id of the section of the failure with this index in Report::failures.
QString sectionId(size_t failure);

/// Which runs came to which end, a row for each script and a column for each program; what did not
/// fail is folded.
void writeMatrix(const Report &report, const SectionIds &sections, HtmlWriter &html);

/// How the runs differ from those of an earlier time.
void writeChanges(const Changes &changes, const SectionIds &sections, HtmlWriter &html);

/// All that is told about a run that failed, as a section with the id \a id.
void writeFailure(const FailedRun &failure, const RunResults &results, const QString &id,
    PageBudget &budget, HtmlWriter &html);

/// The "=compare" commands of \a failure that fail, with their tables and pictures.
void writeComparisons(const FailedRun &failure, PageBudget &budget, HtmlWriter &html);

/// The first lines on which the files of \a comparison differ.
void writeLines(const FailedComparison &comparison, PageBudget &budget, HtmlWriter &html);

/// Whether \a comparison has columns of which pictures can be drawn: numbers that differ.
bool hasPictures(const FailedComparison &comparison);

/// Pictures of the columns of \a comparison that are farthest apart. Its files are looked for in
/// \a directory; a sentence says why there is no picture.
void writePictures(const FailedComparison &comparison, const QString &directory, PageBudget &budget,
    HtmlWriter &html);

/// The slowest runs, and those that were skipped, not run, known to fail or repeated.
void writeLists(const Report &report, const SectionIds &sections, HtmlWriter &html);

/// Says that \a what, such as "The script is not shown", is so because the page is large enough.
void writeTooLarge(const QString &what, HtmlWriter &html);

/// A region that scrolls if it is too wide, also with the keyboard.
void openScrolling(HtmlWriter &html, const char *element, const QString &label);

/// The name of a run, which leads to its section if it has one.
void writeRunName(const QString &name, const SectionIds &sections, HtmlWriter &html);

/// "1 line", "1,234 lines".
QString countOf(qint64 count, const char *what);
QString grouped(qint64 count);

} // namespace Talmo
