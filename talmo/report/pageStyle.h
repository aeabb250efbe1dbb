#pragma once

namespace Talmo
{

/// The style sheet of a report's page, without that of its pictures (plotRules).
extern const char pageRules[];

/// The script of the page: it makes the box that filters scripts and failures. It has neither "<"
/// nor "&", so that the page stays well-formed.
extern const char pageScript[];

} // namespace Talmo
