#pragma once

#include "DiffRequest.h"

#include <QString>
#include <QStringList>

namespace Talmo
{

/// "line 7", or "lines 7 and 9" if a line has different numbers in the two files.
QString lineText(const LinePlaces &places);

/// \a text with a capital letter at its front.
QString capitalized(QString text);

/// "column 2", with its name if that is known; \a index is counted from 0.
QString columnText(const Survey &survey, size_t index);

/// About lines that are too short, no numbers, comments in one file only, and missing ones: how
/// many there are and which is the first, a sentence for each kind that there is.
QStringList aboutKinds(const DiffResult &result);

/// Which block of the files is the first that is not the same, in one sentence; null if none is.
QString aboutBlocks(const DiffResult &result);

/// The message of "=compare" about the first difference of \a result, between files that are called
/// \a name1 and \a name2; null if they agree. Its line has the number that it has in the files.
QString messageOf(const DiffResult &result, const QString &name1, const QString &name2);

/// The reason in one sentence: how many lines differ, and by how much in the worst column. If the
/// files agree, what was compared.
QString reasonOf(const DiffResult &result);

/// A "=compare" that would pass; null if there is none, or if it could not stand in a script.
QString readyLineOf(const DiffResult &result);

/// Which tolerances would have to grow more than a hundredfold, as a sentence; null if none.
QString growthOf(const DiffResult &result);

} // namespace Talmo
