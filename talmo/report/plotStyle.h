#pragma once

namespace Talmo
{

/// The style of the parts of a picture, for a style sheet. They use the variables "--plot-paper"
/// and the like.
extern const char plotRules[];

/// The values of these variables for a picture that stands alone.
extern const char plotColors[];

} // namespace Talmo
