#include "report/HtmlPage.h"

namespace plate_mend::host {

const char* const kHtmlStyle = R"css(
:root {
  color-scheme: light dark;
  --page: #f4f3f0; --card: #ffffff; --ink: #1d1f23; --soft: #5c626b; --line: #dcdad4; --mount: #22252a;
  --note: #f6f4ee; --focus: #2a62b5; --whole: #1c7c4a; --partial: #8f5b00; --preview-only: #2a62b5;
  --not-repaired: #b3302d; --intact: #4d6b57; --not-done: #6b5b95;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #15171a; --card: #1f2226; --ink: #eceef0; --soft: #a3a9b1; --line: #34383e; --mount: #0c0d0f;
    --note: #272b30; --focus: #85b2f3; --whole: #5fca91; --partial: #e5ac4b; --preview-only: #85b2f3;
    --not-repaired: #f28b86; --intact: #a3bdab; --not-done: #b9aadd;
  }
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body {
  margin: 0 auto; max-width: 112rem; padding: 2.5rem clamp(1rem, 3vw, 3rem) 3rem; background: var(--page);
  color: var(--ink); font: 15px/1.5 system-ui, "Segoe UI", "Helvetica Neue", Arial, "Noto Sans", sans-serif;
}
h1 { margin: 0; font-size: 1.9rem; line-height: 1.2; font-weight: 650; letter-spacing: -0.02em; }
h2, h3 { margin: 0; font-size: 1rem; font-weight: 650; overflow-wrap: anywhere; }
a { color: inherit; text-decoration-color: var(--soft); text-underline-offset: .2em; }
a:hover { color: var(--focus); }
button, input, select { font: inherit; color: inherit; }
:focus-visible { outline: 3px solid var(--focus); outline-offset: 2px; }
.whole { --tone: var(--whole); } .partial { --tone: var(--partial); }
.preview-only { --tone: var(--preview-only); } .not-repaired { --tone: var(--not-repaired); }
.intact { --tone: var(--intact); } .not-done { --tone: var(--not-done); }
.lead { margin: .4rem 0 1.4rem; color: var(--soft); font-size: 1.05rem; }
.alert { padding: .7rem 1rem; border-left: 4px solid var(--not-repaired); background: var(--card); }
.bar { display: block; width: 100%; height: .5rem; margin-bottom: 1rem; border-radius: 1rem; }
.bar rect, .rows rect { fill: var(--tone); }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(10.5rem, 1fr)); gap: .75rem; }
.tile {
  display: flex; flex-direction: column; align-items: start; padding: .8rem 1rem; border: 1px solid var(--line);
  border-top: 4px solid var(--tone, var(--soft)); border-radius: .5rem; background: var(--card); text-align: left;
  cursor: pointer;
}
.tile b { display: block; font-size: 1.7rem; line-height: 1.2; font-weight: 650; font-variant-numeric: tabular-nums; }
.tile span { display: block; font-weight: 600; } .tile small { color: var(--soft); font-size: .87em; line-height: 1.3; }
.tile:hover { border-color: var(--tone, var(--soft)); }
.tile[aria-pressed="true"] { box-shadow: inset 0 0 0 1px var(--tone, var(--soft)); border-color: var(--tone, var(--soft)); }
.tools {
  display: flex; flex-wrap: wrap; gap: .6rem 1.25rem; align-items: center; margin: 1rem 0 .4rem; padding: .6rem 0;
  background: var(--page);
}
.tools label { display: flex; gap: .5rem; align-items: center; color: var(--soft); }
.tools input, .tools select, .views {
  border: 1px solid var(--line); border-radius: .4rem; background: var(--card); color: var(--ink);
}
.tools input, .tools select { min-width: 0; padding: .35rem .6rem; }
.views { display: flex; overflow: hidden; }
.views button { padding: .35rem .8rem; border: 0; background: none; color: var(--soft); cursor: pointer; }
.views button + button { border-left: 1px solid var(--line); }
.views button[aria-pressed="true"] { background: var(--ink); color: var(--card); }
.views button:focus-visible { outline-offset: -3px; }
.tools output { margin-left: auto; color: var(--soft); font-variant-numeric: tabular-nums; }
.folder { margin-top: 1.1rem; }
.folder > summary {
  display: flex; flex-wrap: wrap; gap: .2rem 1rem; align-items: baseline; width: auto; padding: .3rem 0 .5rem;
  border-bottom: 1px solid var(--line); color: var(--ink); list-style: none;
}
.folder > summary::-webkit-details-marker { display: none; }
.folder > summary h2::before {
  content: ""; display: inline-block; width: .4em; height: .4em; margin: 0 .6em .15em .15em; border: solid var(--soft);
  border-width: 0 .13em .13em 0; transform: rotate(-45deg);
}
.folder[open] > summary h2::before { transform: rotate(45deg); }
.counts { display: flex; flex-wrap: wrap; gap: 0 .9rem; font-size: .9em; font-weight: 600; font-variant-numeric: tabular-nums; }
.counts span { color: var(--tone); }
.part { margin-left: auto; color: var(--soft); font-size: .9em; }
.sheet {
  display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 21rem), 1fr)); gap: 1.25rem;
  margin: 1rem 0 1.6rem; padding: 0; list-style: none;
}
.card {
  display: flex; flex-direction: column; border: 1px solid var(--line); border-radius: .6rem; background: var(--card);
  overflow: hidden; scroll-margin: 4.5rem 0 1rem; content-visibility: auto; contain-intrinsic-size: auto 21rem auto 31rem;
}
.mount {
  position: relative; flex: none; display: flex; align-items: center; justify-content: center; aspect-ratio: 3 / 2;
  width: 100%; padding: .75rem; border: 0; background: var(--mount); color: #a3a9b1; text-align: center; cursor: zoom-in;
}
.mount:focus-visible { outline: 3px solid #85b2f3; outline-offset: -3px; }
.card:has(.mount:focus-visible) { border-color: var(--focus); box-shadow: 0 0 0 2px var(--focus); }
.mount img, .mount svg {
  position: absolute; inset: .75rem; width: calc(100% - 1.5rem); height: calc(100% - 1.5rem); object-fit: contain;
}
rect.lost, rect.doubtful { vector-effect: non-scaling-stroke; stroke-width: 1px; }
rect.lost { fill: #f003; stroke: #f33; } rect.doubtful { fill: #fc03; stroke: #fc0; }
.legend { margin: .5rem 1rem 0; color: var(--soft); font-size: .87em; } .legend span { margin-right: 1rem; }
.legend span::before { content: ""; display: inline-block; width: .8em; height: .8em; margin-right: .4em; border: 1px solid; }
.legend .lost::before { background: #f003; border-color: #f33; } .legend .doubtful::before { background: #fc03; border-color: #fc0; }
.rows { display: block; flex: none; width: 100%; height: 4px; background: var(--line); }
.text { display: flex; flex: 1; flex-direction: column; padding: .9rem 1rem 1rem; }
.name { display: flex; gap: .75rem; align-items: start; justify-content: space-between; }
.badge {
  padding: .05rem .6rem; border: 1px solid var(--tone); border-radius: 1rem; color: var(--tone); font-size: .87em;
  font-weight: 600; white-space: nowrap;
}
.facts { margin: .25rem 0 0; color: var(--soft); font-size: .96em; }
.facts span { white-space: nowrap; } .facts .share { display: block; white-space: normal; }
.findings { margin: .6rem 0 0; padding-left: 1.1rem; font-size: .98em; list-style: disc; }
.findings li { overflow-wrap: anywhere; }
.findings li::marker { color: var(--tone); }
.origin {
  margin: .8rem 0 0; padding: .65rem .8rem; border-left: 3px solid var(--line); border-radius: .2rem;
  background: var(--note); font-size: .94em;
}
.origin dt { color: var(--soft); } .origin dd { margin: 0 0 .4rem; overflow-wrap: anywhere; }
.origin dd:last-child { margin-bottom: 0; }
.rest { margin-top: auto; }
.links { display: flex; flex-wrap: wrap; gap: .1rem 1rem; margin: .8rem 0 0; font-size: .94em; }
summary { width: fit-content; cursor: pointer; color: var(--soft); border-radius: .2rem; }
summary:hover { color: var(--ink); }
.more { margin-top: .6rem; font-size: .94em; }
.more dl { margin: .6rem 0 0; }
.more dt { margin-top: .55rem; color: var(--soft); }
.more dd { margin: 0; overflow-wrap: anywhere; }
.plain { margin: 0; padding-left: 1.1rem; list-style: disc; }
code { font: .92em/1.5 ui-monospace, Consolas, "DejaVu Sans Mono", monospace; overflow-wrap: anywhere; }
.none { padding: 3rem 1rem; text-align: center; color: var(--soft); }
footer { margin-top: 2.5rem; padding-top: 1rem; border-top: 1px solid var(--line); color: var(--soft); font-size: .94em; }

@media screen {
  .compact .sheet { grid-template-columns: repeat(auto-fill, minmax(min(47%, 9.5rem), 1fr)); gap: .7rem; margin-top: .8rem; }
  .compact .card { border-radius: .4rem; contain-intrinsic-size: auto 9.5rem auto 10rem; }
  .compact .mount { padding: .3rem; font-size: .8em; line-height: 1.3; }
  .compact .mount img, .compact .mount svg { inset: .3rem; width: calc(100% - .6rem); height: calc(100% - .6rem); }
  .compact .legend, .compact .facts, .compact .findings, .compact .rest { display: none; }
  .compact .text { padding: .4rem .6rem .5rem; }
  .compact .name { flex-direction: column; gap: 0; }
  .compact h3 { max-width: 100%; overflow: hidden; font-size: .87em; font-weight: 600; text-overflow: ellipsis; white-space: nowrap; }
  .compact .badge { padding: 0; border: 0; font-size: .8em; }
}
@media screen and (min-width: 48rem) and (min-height: 30rem) { .tools { position: sticky; top: 0; z-index: 1; } }
@media screen and (max-width: 30rem) {
  body { padding-top: 1.5rem; } h1 { font-size: 1.5rem; }
  .tiles { grid-template-columns: repeat(2, minmax(0, 1fr)); gap: .5rem; }
  .tile { padding: .4rem .7rem; } .tile b { font-size: 1.3rem; } .tile small { display: none; }
  .tools label, .tools input, .tools select { flex: 1; } .tools label { flex-basis: 100%; }
  .part { margin-left: 0; }
}
)css"
                               R"css(
.viewer {
  width: 100%; height: 100%; max-width: none; max-height: none; margin: 0; padding: 0; border: 0; background: var(--page);
  color: var(--ink);
}
.viewer::backdrop { background: #000c; }
.viewer[open] { display: grid; grid-template: auto minmax(0, 1fr) / minmax(0, 1fr) 24rem; }
.viewer > header {
  display: flex; flex-wrap: wrap; gap: .3rem .9rem; align-items: center; grid-column: 1 / 3; padding: .6rem 1rem;
  border-bottom: 1px solid var(--line);
}
.viewer h2 { min-width: 0; } .viewer .place { margin-left: auto; color: var(--soft); font-variant-numeric: tabular-nums; }
.viewer > header button {
  padding: .3rem .8rem; border: 1px solid var(--line); border-radius: .4rem; background: var(--card); cursor: pointer;
}
.viewer button:disabled { color: var(--soft); cursor: default; }
html:has(.viewer[open]) { overflow: hidden; }
.figures {
  display: grid; grid-auto-columns: minmax(0, 1fr); grid-auto-flow: column; gap: 1px; min-height: 0; background: #3a3e44;
}
.figures figure { display: flex; flex-direction: column; min-width: 0; min-height: 0; margin: 0; background: #0c0d0f; color: #c6cad0; }
.figures .frame { position: relative; flex: 1; min-height: 0; }
.figures img, .figures svg { position: absolute; inset: .75rem; width: calc(100% - 1.5rem); height: calc(100% - 1.5rem); object-fit: contain; }
.figures figcaption { padding: 0 .9rem .7rem; font-size: .9em; text-align: center; overflow-wrap: anywhere; }
.figures .empty { margin: auto; padding: 1rem; color: #c6cad0; }
.about { overflow: auto; padding: 1rem 1.2rem 2rem; background: var(--card); border-left: 1px solid var(--line); }
.about .name { display: none; } .about .text { padding: 0; } .about .legend { margin: 0 0 .6rem; }
@media (min-width: 60rem) and (max-aspect-ratio: 16 / 9) {
  .figures:has(figure:nth-child(2)) { grid-auto-flow: row; grid-auto-rows: minmax(0, 1fr); }
  .figures:has(figure:nth-child(3)) { grid-template: minmax(0, 3fr) minmax(0, 2fr) / repeat(2, minmax(0, 1fr)); }
  .figures:has(figure:nth-child(3)) figure:first-child { grid-column: 1 / 3; }
}
@media (max-width: 60rem) {
  .viewer[open] { display: block; overflow: auto; }
  .viewer > header { position: sticky; top: 0; z-index: 1; gap: .3rem .5rem; background: var(--page); }
  .viewer h2 { flex-basis: 100%; }
  .figures { grid-auto-flow: row; grid-template-columns: repeat(auto-fit, minmax(min(100%, 20rem), 1fr)); }
  .figures .frame { flex: none; aspect-ratio: 3 / 2; }
  .about { border-left: 0; }
}
@media (prefers-reduced-motion: no-preference) { .tile, .card { transition: border-color .12s, box-shadow .12s; } }
@media print {
  :root {
    --page: #fff; --card: #fff; --ink: #000; --soft: #444; --line: #bbb; --mount: #fff; --note: #fff;
    --whole: #1c7c4a; --partial: #8f5b00; --preview-only: #2a62b5; --not-repaired: #b3302d; --intact: #4d6b57;
    --not-done: #6b5b95;
  }
  @page { margin: 14mm; }
  * { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
  body { max-width: none; margin: 0; padding: 0 1px; font-size: 8pt; line-height: 1.35; }
  .tools, .tile[data-verdict=""], .links, .viewer { display: none !important; }
  .tiles { grid-template-columns: repeat(4, minmax(0, 1fr)); margin-bottom: 1rem; }
  .folder > summary { break-after: avoid; }
  .sheet { display: block; }
  .card {
    display: grid; grid-template: auto 1fr / 5.5cm minmax(0, 1fr); margin-bottom: .8rem; break-inside: avoid;
    content-visibility: visible;
  }
  .mount { padding: .4rem; } .mount img, .mount svg { inset: .4rem; width: calc(100% - .8rem); height: calc(100% - .8rem); }
  .legend { grid-row: 2; align-self: start; margin: .5rem .4rem 0; }
  .rows { grid-row: 2; align-self: start; margin: 0 .4rem; width: calc(100% - .8rem); }
  .text { grid-area: 1 / 2 / 3 / 3; padding: .6rem .8rem; }
  .origin { margin-top: .4rem; padding: .2rem .6rem; }
  .origin dd, .more dt { margin: 0; }
  .more { margin-top: .4rem; } .more dl { margin: 0; columns: 2; } code { font-size: .8em; }
  .more dd { margin-bottom: .25rem; break-before: avoid; }
  .more summary { display: none; }
}
)css";

} // namespace plate_mend::host
