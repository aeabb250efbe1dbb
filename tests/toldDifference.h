#pragma once

#include "Difference.h"

#include <sstream>
#include <string>

/// All that \a difference says, as a text.
inline std::string told(const Talmo::Difference &difference)
{
    using Talmo::Difference;
    static const char *const kinds[] = {
        "none", "length", "text", "comment", "columns", "invalid", "value"};
    std::ostringstream text;
    text << kinds[difference.kind];
    if (difference.line > 0)
        text << " on " << difference.line;
    if (difference.column > 0)
        text << ':' << difference.column;
    if (difference.file > 0)
        text << " in file " << difference.file;
    if (difference.kind == Difference::Length || difference.kind == Difference::CommentMismatch ||
        difference.kind == Difference::TooFewColumns)
        text << ", " << difference.count;
    if (difference.kind == Difference::InvalidData)
        text << ", '" << difference.word << '\'';
    if (difference.kind == Difference::Value) {
        text << ", " << difference.value1 << " and " << difference.value2 << " within "
             << difference.tolerance;
    }
    return text.str();
}
