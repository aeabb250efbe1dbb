#pragma once

#include "FilterLine.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <string>

namespace Talmo
{

class CommandLine;

/// Appends to \a result what \a line becomes. If something is wrong in the line, it says so by
/// FilterLine::report, and an empty line takes the place of the result.
using LineWork = std::function<void(FilterLine &line, std::string &result)>;

/// Where a filter reads, and where its results go.
struct FilterFiles {
    QStringList inputs; ///< "-" is standard input; none stand for it, too
    QString output;     ///< null for standard output
    bool isInPlace = false;
    bool followsLinks = false; ///< in place
};

/// Adds -o and FILE... to \a line.
void addFilterOptions(CommandLine &line);

/// Adds --in-place and --follow-links to \a line.
void addInPlaceOptions(CommandLine &line);

/// What \a line, which was read, says of files. Sets \a problem to a sentence if that cannot be.
FilterFiles filterFilesOf(const CommandLine &line, QString &problem);

/// Has \a work done for each line of the inputs. The ends of lines stay as they are, and so does a
/// byte order mark. If something is wrong in any line, files stay as they are; standard output has
/// empty lines. Returns the exit status; what is wrong was printed in the name of \a line.
int runFilter(const CommandLine &line, const FilterFiles &files, const LineWork &work);

/// Why not all of \a inputs can be read, as a sentence; null if they can.
QString problemOfInputs(const QStringList &inputs);

/// Has \a inspect look at each line of \a inputs; what it reports goes to standard output. Returns
/// the exit status; what else is wrong was printed in the name of \a line.
int inspectLines(const CommandLine &line, const QStringList &inputs,
    const std::function<void(FilterLine &line)> &inspect);

} // namespace Talmo
