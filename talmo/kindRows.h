#pragma once

#include "Difference.h"

namespace Talmo
{

/// What a kind of difference is called in JSON.
struct KindRow {
    const char *name;
    Difference::Kind kind;
};

constexpr KindRow kindRows[] = {
    {"missing", Difference::Length},
    {"text", Difference::Text},
    {"comments", Difference::CommentMismatch},
    {"tooFewColumns", Difference::TooFewColumns},
    {"noNumbers", Difference::InvalidData},
    {"values", Difference::Value},
};

} // namespace Talmo
