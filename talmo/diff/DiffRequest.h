#pragma once

#include "BlockPairing.h"
#include "ComparedFile.h"
#include "Survey.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace Talmo
{

/// What a call of "talmo diff" asks for.
struct DiffRequest {
    QString file1; ///< "-" is standard input
    QString file2;
    QStringList tolerances;       ///< numbers, as they were written
    QStringList columns;          ///< that are compared: numbers, ranges, names; none for all
    QStringList columnTolerances; ///< COLUMN=T
    double relative = 0;
    double relativeToColumn = 0;
    Preparation preparation;
    bool ignoresExtraLines = false;
    bool comparesNumbers = false; ///< column by column, and not byte by byte
    bool isJson = false;
    size_t keptLines = 10;
    QString plot;  ///< the file for a picture; null if there is to be none
    QString plotX; ///< the column over which the picture is drawn; null for the line number

    /// True if the files are compared as "=compare" would compare them with some tolerances.
    bool isPlain() const { return preparation.isNone() && !ignoresExtraLines; }
};

/// The tolerances of a comparison, one for each column up to the last one that is compared.
struct Tolerances {
    QStringList texts; ///< as the user has written them
    std::vector<double> values;
};

/// The tolerances that \a request asks for between files with \a head. None, and a sentence in
/// \a problem, if it asks for columns that are not there, or if nothing would be compared.
std::optional<Tolerances> tolerancesOf(
    const DiffRequest &request, const Head &head, QString &problem);

/// What a comparison has come to.
struct DiffResult {
    DiffRequest request;
    Tolerances tolerances;
    Survey survey;
    std::optional<BlockParting> parting; ///< none if the blocks are the same
    size_t plotX = 0; ///< the column over which a picture is drawn, from 1; 0 for the line number
    bool mayReadAgain = false; ///< both files are regular files and are compared as they are

    bool agree() const { return survey.agree() && !parting; }
};

} // namespace Talmo
