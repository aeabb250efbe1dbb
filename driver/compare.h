#pragma once

#include <QStringList>

#include <vector>

struct Invocation;

/// =compare FILE1 FILE2 [TOLERANCE ...]: fails unless the two files agree, line by line as bytes,
/// or column by column within the tolerances.
void compareCommand(Invocation &invocation);

/// Appends to \a tolerances those in the \a words of a "=compare" line. False if one is no number.
bool readTolerances(const QStringList &words, std::vector<double> &tolerances);

/// The messages with which the "=compare" line of these \a words, at least three, may fail. One
/// about a line or a column is there with several numbers of different lengths, as an example.
QStringList failuresOfCompare(const QStringList &words);

// Messages of "=compare".
QString cannotCompare(const QString &fileName); ///< the file cannot be read
QString invalidTolerance();                     ///< a tolerance is no number
