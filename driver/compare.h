#pragma once

#include <QStringList>

#include <vector>

struct Invocation;

/// =compare FILE1 FILE2 [TOLERANCE ...]: fails unless the two files agree, line by line as bytes,
/// or column by column within the tolerances.
void compareCommand(Invocation &invocation);

/// Appends to \a tolerances those in the \a words of a "=compare" line. False if one is no number.
bool readTolerances(const QStringList &words, std::vector<double> &tolerances);
