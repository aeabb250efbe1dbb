#pragma once

#include "FlawTrace.h"
#include "talmo/Flaw.h"
#include "talmo/Macro.h"

#include <QString>

// What the walks over expressions (Flaw.cpp) and lines (FlawOfLine.cpp) tell beside flaws, for the
// commands at the shell. As with flaws, nothing is reported, and counters stay as they are.

namespace Talmo
{

/// What makes the library go on without end with \a expression, or until memory runs out: a circle
/// of macros, or too much of them. No flaw if nothing does. Other flaws are passed over as the
/// evaluator does.
Flaw endlessnessOfExpression(const QString &expression);

/// The same of \a line, for Macro::expand.
Flaw endlessnessOfLine(const QString &line);

/// Where token number \a token, from 1, of \a expression begins, which has no flaw.
int positionOfToken(int token, const QString &expression);

/// Where token number \a token of expression number \a evaluation, both from 1, begins in \a line,
/// which has no flaw; for token 0, where the reference does. A counter has to be as before the
/// line.
int positionOfToken(int token, int evaluation, const QString &line);

/// The local macros that the counters in \a line advance, as they are behind it. Whatever is wrong
/// in the line otherwise is passed over.
Macro::Table countersBehind(const QString &line);

/// A line that was expanded, whose characters know where they come from.
struct TracedExpansion {
    TracedText text;
    Trace trace;
};

/// The expansion of \a line, which has no flaw. Problems with units are reported.
TracedExpansion tracedExpansion(const QString &line);

} // namespace Talmo
