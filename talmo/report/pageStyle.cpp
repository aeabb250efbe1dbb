// How the page looks, and the little that it does. Constants of the program, not files beside it,
// so that there is nothing to find or to install.

#include "pageStyle.h"

namespace Talmo
{

const char pageRules[] = R"css(
:root { color-scheme: light dark;
  --paper: #ffffff; --ink: #1b1f24; --pale: #57606a; --line: #d8dee4; --block: #f6f8fa;
  --link: #0550ae; --bad: #b3261e; --bad-paper: #fdecea; --good: #1a6b33; --odd: #7a4d00;
  --mark: #ffe08a; --mark-ink: #1b1f24;
  --plot-paper: #ffffff; --plot-ink: #1b1f24; --plot-pale-ink: #57606a; --plot-line: #d8dee4;
  --plot-one: #0550ae; --plot-two: #f0a94b; --plot-apart: #b3261e; --plot-band: #d3ebd6; }
@media (prefers-color-scheme: dark) { :root {
  --paper: #14181d; --ink: #e6e9ec; --pale: #9da7b1; --line: #30363d; --block: #1c2229;
  --link: #8cc4ff; --bad: #ff8a80; --bad-paper: #3a1f1e; --good: #7ed491; --odd: #e5b567;
  --mark: #6b5200; --mark-ink: #ffffff;
  --plot-paper: #14181d; --plot-ink: #e6e9ec; --plot-pale-ink: #9da7b1; --plot-line: #30363d;
  --plot-one: #8cc4ff; --plot-two: #a8690f; --plot-apart: #ff8a80; --plot-band: #1d3b25; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem 1.25rem 4rem; max-width: 78rem; background: var(--paper);
  color: var(--ink); font: 15px/1.45 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0 0 .4rem; }
h2 { font-size: 1.15rem; margin: 2rem 0 .5rem; }
h3 { font-size: 1.05rem; margin: 0 0 .3rem; }
h4 { font-size: .95rem; margin: 1.2rem 0 .3rem; }
p, dl, ul { margin: .3rem 0; }
a { color: var(--link); }
a:focus-visible, summary:focus-visible, input:focus-visible, [tabindex]:focus-visible {
  outline: 2px solid var(--link); outline-offset: 2px; }
code, pre, .name { font-family: ui-monospace, monospace; font-size: .87em; unicode-bidi: isolate; }
pre { margin: .3rem 0; padding: .5rem .7rem; background: var(--block); border-radius: 4px;
  overflow-x: auto; line-height: 1.35; tab-size: 8; overflow-wrap: normal; }
pre.output { max-height: 30rem; overflow-y: auto; }
mark { background: var(--mark); color: var(--mark-ink); border-radius: 2px; }
.pale { color: var(--pale); }
.failed, .notrun { color: var(--bad); font-weight: 600; }
.passed { color: var(--good); }
.known, .flaky { color: var(--odd); }
.skipped { color: var(--pale); }
.counts { display: flex; flex-wrap: wrap; gap: .2rem 1.2rem; padding: 0; margin: .2rem 0 .5rem;
  list-style: none; }
.counts .none { color: var(--pale); font-weight: normal; }
dl.facts { display: grid; grid-template-columns: fit-content(12rem) minmax(0, 1fr); gap: .05rem .9rem;
  font-size: .9rem; }
dl.facts dt { color: var(--pale); }
dl.facts dd { margin: 0; }
nav { margin: .5rem 0 0; font-size: .9rem; display: flex; flex-wrap: wrap; gap: .1rem 1.1rem; }
.scroll { overflow-x: auto; margin: .3rem 0; }
table { border-collapse: collapse; font-size: .9rem; }
th, td { text-align: left; vertical-align: top; padding: .13rem .7rem .13rem 0;
  border-bottom: 1px solid var(--line); }
thead th { color: var(--pale); font-weight: 600; white-space: nowrap; }
tbody th { font-weight: normal; }
td.number, th.number { text-align: right; font-variant-numeric: tabular-nums;
  white-space: nowrap; }
table.matrix td, table.matrix thead th { white-space: nowrap; overflow-wrap: normal; }
table.matrix tbody th { min-width: 9rem; max-width: 34rem; }
table.matrix .heading { color: var(--pale); margin-left: .6rem; }
table.matrix td.why { color: var(--pale); white-space: normal; min-width: 12rem; }
summary { cursor: pointer; padding: .15rem 0; }
#filter label { margin-right: .5rem; font-size: .9rem; }
#filter input { font: inherit; padding: .15rem .4rem; width: 16rem; max-width: 100%;
  color: inherit; background: var(--paper); border: 1px solid var(--pale); border-radius: 4px; }
#filter output { margin-left: .8rem; font-size: .9rem; color: var(--pale); }
section.failure { border-top: 3px solid var(--bad); padding: .7rem 0 0; margin: 1.6rem 0 0;
  content-visibility: auto; contain-intrinsic-height: auto 60rem; }
.reason { background: var(--bad-paper); padding: .35rem .7rem; border-radius: 4px;
  font-family: ui-monospace, monospace; font-size: .87em; white-space: pre-wrap; }
.note { border-left: 3px solid var(--odd); padding-left: .6rem; }
pre.script .at { display: inline-block; min-width: 100%; background: var(--mark);
  color: var(--mark-ink); }
pre.script .at .pale { color: inherit; }
pre.lines { line-height: 1.5; }
figure { margin: .4rem 0; }
figure.scroll svg { display: block; }
[hidden] { display: none; }
@media (max-width: 40rem) {
  body { padding: .7rem .8rem 3rem; }
  dl.facts { grid-template-columns: minmax(0, 1fr); }
  table.matrix .heading { display: block; margin: 0; }
  table.matrix tbody th { min-width: 7rem; } }
@media print {
  :root { color-scheme: light;
    --paper: #ffffff; --ink: #000000; --pale: #444444; --line: #bbbbbb; --block: #f3f3f3;
    --link: #000000; --bad: #a01010; --bad-paper: #ffffff; --good: #1a6b33; --odd: #6b4500;
    --mark: #ffe08a; --mark-ink: #000000; --plot-paper: #ffffff; --plot-ink: #000000;
    --plot-pale-ink: #444444; --plot-line: #bbbbbb; --plot-one: #0550ae; --plot-two: #f0a94b;
    --plot-apart: #b3261e; --plot-band: #d3ebd6; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  #filter, nav { display: none; }
  pre { white-space: pre-wrap; overflow-wrap: anywhere; }
  pre.output { max-height: none; }
  section.failure { content-visibility: visible; }
  .scroll { overflow: visible; }
  svg { max-width: 100%; height: auto; }
  figure, tr { break-inside: avoid; }
  h2, h3, h4, .reason { break-after: avoid; } }
)css";

const char pageScript[] = R"js(
(function () {
  'use strict';
  var place = document.getElementById('filter');
  var rows = Array.from(document.querySelectorAll('table.matrix tbody tr'));
  var sections = Array.from(document.querySelectorAll('section.failure'));
  var folded = document.getElementById('others');
  var wasOpen = false;
  var label = document.createElement('label');
  var input = document.createElement('input');
  var told = document.createElement('output');
  label.htmlFor = input.id = 'pattern';
  label.textContent = 'Filter by name';
  input.type = 'search';
  input.autocomplete = 'off';
  place.append(label, input, told);

  function nameOf(item) {
    return item.querySelector('th, h3').textContent.toLowerCase();
  }
  var names = new Map();
  rows.concat(sections).forEach(function (item) { names.set(item, nameOf(item)); });

  function show(items, wanted) {
    var count = 0;
    items.forEach(function (item) {
      item.hidden = !names.get(item).includes(wanted);
      count += item.hidden ? 0 : 1;
    });
    return count;
  }
  var waiting;
  input.addEventListener('input', function () {
    clearTimeout(waiting);
    waiting = setTimeout(filter, 100); // not for each letter of a word
  });
  function filter() {
    var wanted = input.value.trim().toLowerCase();
    var scripts = show(rows, wanted);
    var failures = show(sections, wanted);
    told.textContent = wanted === '' ? ''
      : scripts + ' of ' + rows.length + ' scripts, ' + failures + ' of ' + sections.length +
        ' failed runs';
    if (folded) {
      if (wanted !== '') { folded.open = true; } else if (!wasOpen) { folded.open = false; }
    }
  }
  if (folded) {
    folded.querySelector('summary').addEventListener('click', function () {
      wasOpen = !folded.open;
    });
  }
})();
)js";

} // namespace Talmo
