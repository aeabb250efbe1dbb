// The style of pictures. Colours come from variables, so that a page can have its own.

#include "plotStyle.h"

namespace Talmo
{

const char plotRules[] = R"(
.talmo-plot { font: 12px system-ui, sans-serif; background: var(--plot-paper); }
.talmo-plot text { fill: var(--plot-ink); }
.talmo-plot .number { font-size: 11px; fill: var(--plot-pale-ink); }
.talmo-plot .title { font-weight: 600; font-size: 13px; }
.talmo-plot .end { text-anchor: end; }
.talmo-plot .middle { text-anchor: middle; }
.talmo-plot path, .talmo-plot .frame { fill: none; }
.talmo-plot .frame, .talmo-plot .grid { stroke: var(--plot-line); stroke-width: 1; }
.talmo-plot .curve { stroke-linecap: round; stroke-linejoin: round; stroke-width: 1.2; }
.talmo-plot .one { stroke: var(--plot-one); }
.talmo-plot .two { stroke: var(--plot-two); stroke-width: 3.5; }
.talmo-plot .apart { stroke: var(--plot-apart); }
.talmo-plot .band { fill: var(--plot-band); }
)";

const char plotColors[] = R"(
.talmo-plot { --plot-paper: #ffffff; --plot-ink: #1b1f24; --plot-pale-ink: #57606a;
  --plot-line: #d8dee4; --plot-one: #0550ae; --plot-two: #f0a94b; --plot-apart: #b3261e;
  --plot-band: #d3ebd6; }
@media (prefers-color-scheme: dark) {
.talmo-plot { --plot-paper: #14181d; --plot-ink: #e6e9ec; --plot-pale-ink: #9da7b1;
  --plot-line: #30363d; --plot-one: #8cc4ff; --plot-two: #a8690f; --plot-apart: #ff8a80;
  --plot-band: #1d3b25; }
}
)";

} // namespace Talmo
