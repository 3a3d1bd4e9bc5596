#include "report/HtmlPage.h"

namespace plate_mend::host {

const char* const kHtmlStyle = R"css(
:root {
  color-scheme: light dark;
  --page: #f4f3f0; --card: #ffffff; --ink: #1d1f23; --soft: #5c626b; --line: #dcdad4; --mount: #22252a;
  --note: #f6f4ee; --whole: #1c7c4a; --partial: #9a6200; --preview-only: #2a62b5; --not-repaired: #b3302d;
  --intact: #4d6b57; --not-done: #6b5b95;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #15171a; --card: #1f2226; --ink: #eceef0; --soft: #a3a9b1; --line: #34383e; --mount: #0c0d0f;
    --note: #272b30; --whole: #5fca91; --partial: #e5ac4b; --preview-only: #85b2f3; --not-repaired: #f28b86;
    --intact: #a3bdab; --not-done: #b9aadd;
  }
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body {
  margin: 0 auto; max-width: 96rem; padding: 2.5rem clamp(1rem, 3vw, 3rem) 3rem; background: var(--page);
  color: var(--ink); font: 15px/1.5 system-ui, "Segoe UI", "Helvetica Neue", Arial, "Noto Sans", sans-serif;
}
h1 { margin: 0; font-size: 1.9rem; line-height: 1.2; font-weight: 650; letter-spacing: -0.02em; }
h2 { margin: 0; font-size: 1rem; font-weight: 650; overflow-wrap: anywhere; }
:focus-visible { outline: 3px solid var(--preview-only); outline-offset: 2px; }
.whole { --tone: var(--whole); } .partial { --tone: var(--partial); }
.preview-only { --tone: var(--preview-only); } .not-repaired { --tone: var(--not-repaired); }
.intact { --tone: var(--intact); } .not-done { --tone: var(--not-done); }
.lead { margin: .4rem 0 1.4rem; color: var(--soft); font-size: 1.05rem; }
.alert { padding: .7rem 1rem; border-left: 4px solid var(--not-repaired); background: var(--card); }
.bar { display: flex; gap: 2px; height: .55rem; margin-bottom: 1rem; border-radius: 1rem; overflow: hidden; }
.bar span { background: var(--tone); min-width: 3px; }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(11rem, 1fr)); gap: .75rem; }
.tile {
  display: flex; flex-direction: column; align-items: start; padding: .8rem 1rem; border: 1px solid var(--line); border-top: 4px solid var(--tone, var(--soft));
  border-radius: .5rem; background: var(--card); color: inherit; font: inherit; text-align: left; cursor: pointer;
}
.tile b { display: block; font-size: 1.7rem; line-height: 1.2; font-weight: 650; font-variant-numeric: tabular-nums; }
.tile span { display: block; font-weight: 600; } .tile small { color: var(--soft); font-size: 0.87em; line-height: 1.3; }
.tile:hover { border-color: var(--tone, var(--soft)); }
.tile[aria-pressed="true"] { box-shadow: inset 0 0 0 2px var(--tone, var(--soft)); border-color: transparent; }
.tools { display: flex; flex-wrap: wrap; gap: .75rem 1.25rem; align-items: center; margin: 1.4rem 0 1.1rem; }
.tools label { display: flex; gap: .5rem; align-items: center; color: var(--soft); }
.tools input, .tools select {
  padding: .4rem .6rem; border: 1px solid var(--line); border-radius: .4rem; background: var(--card);
  color: var(--ink); font: inherit;
}
.tools output { margin-left: auto; color: var(--soft); font-variant-numeric: tabular-nums; }
.sheet {
  display: grid; grid-template-columns: repeat(auto-fill, minmax(min(100%, 21rem), 1fr)); gap: 1.25rem;
  margin: 0; padding: 0; list-style: none;
}
.card {
  display: flex; flex-direction: column; border: 1px solid var(--line); border-radius: .6rem; background: var(--card); overflow: hidden;
  content-visibility: auto; contain-intrinsic-size: auto 30rem;
}
.mount {
  position: relative; flex: none; display: flex; align-items: center; justify-content: center; aspect-ratio: 3 / 2; padding: .75rem;
  background: var(--mount); color: #a3a9b1; text-align: center;
}
.mount img, .mount svg {
  position: absolute; inset: .75rem; width: calc(100% - 1.5rem); height: calc(100% - 1.5rem); object-fit: contain;
}
rect { vector-effect: non-scaling-stroke; stroke-width: 1px; }
rect.lost { fill: #f003; stroke: #f33; } rect.doubtful { fill: #fc03; stroke: #fc0; }
.legend { margin: .5rem 1rem 0; color: var(--soft); font-size: 0.87em; } .legend span { margin-right: 1rem; }
.legend span::before { content: ""; display: inline-block; width: .8em; height: .8em; margin-right: .4em; border: 1px solid; }
.legend .lost::before { background: #f003; border-color: #f33; } .legend .doubtful::before { background: #fc03; border-color: #fc0; }
.rows { flex: none; height: 4px; background: var(--line); } .rows span { display: block; height: 100%; background: var(--tone); }
.text { display: flex; flex: 1; flex-direction: column; padding: .9rem 1rem 1rem; }
.name { display: flex; gap: .75rem; align-items: start; justify-content: space-between; }
.badge {
  padding: .05rem .6rem; border: 1px solid var(--tone);
  border-radius: 1rem; color: var(--tone); font-size: 0.87em; font-weight: 600; white-space: nowrap;
}
.facts { margin: .25rem 0 0; color: var(--soft); font-size: 0.96em; }
.facts span { white-space: nowrap; } .facts .share { display: block; white-space: normal; }
.findings { margin: .6rem 0 0; padding-left: 1.1rem; font-size: 0.98em; list-style: disc; }
.findings li { overflow-wrap: anywhere; }
.findings li::marker { color: var(--tone); }
.origin {
  margin: .8rem 0 0; padding: .65rem .8rem; border-left: 3px solid var(--line); border-radius: .2rem;
  background: var(--note); font-size: 0.94em;
}
.origin dt { color: var(--soft); } .origin dd { margin: 0 0 .4rem; overflow-wrap: anywhere; }
.origin dd:last-child { margin-bottom: 0; }
.rest { margin-top: auto; }
details { margin-top: .8rem; font-size: 0.94em; }
summary { width: fit-content; cursor: pointer; color: var(--soft); border-radius: .2rem; }
summary:hover { color: var(--ink); }
details dl { margin: .6rem 0 0; }
details dt { margin-top: .55rem; color: var(--soft); }
details dd { margin: 0; overflow-wrap: anywhere; }
details ul { margin: 0; padding-left: 1.1rem; list-style: disc; }
code { font: .92em/1.5 ui-monospace, Consolas, "DejaVu Sans Mono", monospace; overflow-wrap: anywhere; }
.none { padding: 3rem 1rem; text-align: center; color: var(--soft); }
footer { margin-top: 2.5rem; padding-top: 1rem; border-top: 1px solid var(--line); color: var(--soft); font-size: 0.94em; }
@media print {
  :root {
    --page: #fff; --card: #fff; --ink: #000; --soft: #444; --line: #bbb; --mount: #fff; --note: #fff;
    --whole: #1c7c4a; --partial: #9a6200; --preview-only: #2a62b5; --not-repaired: #b3302d;
  --intact: #4d6b57; --not-done: #6b5b95;
  }
  @page { margin: 14mm; }
  * { -webkit-print-color-adjust: exact; print-color-adjust: exact; }
  body { max-width: none; margin: 0; padding: 0 1px; font-size: 8pt; line-height: 1.35; }
  .tools, .tile[data-verdict=""] { display: none; }
  .tiles { grid-template-columns: repeat(4, minmax(0, 1fr)); margin-bottom: 1rem; }
  .sheet { display: block; }
  .card {
    display: grid; grid-template: auto 1fr / 5.5cm minmax(0, 1fr); margin-bottom: .8rem; break-inside: avoid;
    content-visibility: visible;
  }
  .mount { padding: .4rem; } .mount img, .mount svg { inset: .4rem; width: calc(100% - .8rem); height: calc(100% - .8rem); }
  .legend { grid-row: 2; align-self: start; margin: .5rem .4rem 0; }
  .rows { grid-row: 2; align-self: start; margin: 0 .4rem; }
  .text { grid-area: 1 / 2 / 3 / 3; padding: .6rem .8rem; }
  .origin { margin-top: .4rem; padding: .2rem .6rem; }
  .origin dd, details dt { margin: 0; }
  details { margin-top: .4rem; } details dl { margin: 0; columns: 2; } code { font-size: .8em; }
  details dd { margin-bottom: .25rem; break-before: avoid; }
  summary { display: none; }
}
)css";

const char* const kHtmlScript = R"js(
"use strict";
(() => {
  const sheet = document.querySelector(".sheet");
  const cards = Array.from(sheet.children);
  const tiles = Array.from(document.querySelectorAll(".tile"));
  const sort = document.getElementById("sort");
  const find = document.getElementById("find");
  const shown = document.getElementById("shown");
  const none = document.getElementById("none");
  const verdicts = ["whole", "intact", "partial", "preview-only", "not-repaired", "not-done"];
  const names = new Intl.Collator(undefined, { numeric: true });
  const number = (text) => (text === "" ? -1 : Number(text));
  const byName = (a, b) => names.compare(a.dataset.name, b.dataset.name);
  const byOrder = (a, b) => a.dataset.order - b.dataset.order;
  const orders = {
    order: byOrder,
    name: (a, b) => byName(a, b) || byOrder(a, b),
    verdict: (a, b) => verdicts.indexOf(a.dataset.verdict) - verdicts.indexOf(b.dataset.verdict) || byName(a, b) || byOrder(a, b),
    size: (a, b) => number(b.dataset.size) - number(a.dataset.size) || byOrder(a, b),
    rows: (a, b) => number(b.dataset.rows) - number(a.dataset.rows) || byOrder(a, b),
  };
  let wanted = [];
  let sorted = "order";

  const show = () => {
    if (sort.value !== sorted) {
      sorted = sort.value;
      cards.sort(orders[sorted]);
      for (const card of cards) sheet.append(card);
    }
    const part = find.value.toLowerCase();
    let count = 0;
    for (const card of cards) {
      const fits = (wanted.length === 0 || wanted.includes(card.dataset.verdict)) &&
        card.dataset.name.toLowerCase().includes(part);
      card.hidden = !fits;
      count += fits ? 1 : 0;
    }
    for (const tile of tiles) {
      const verdict = tile.dataset.verdict;
      tile.setAttribute("aria-pressed", String(verdict === "" ? wanted.length === 0 : wanted.includes(verdict)));
    }
    shown.textContent = count === cards.length ? `all ${count} shown` : `${count} of ${cards.length} shown`;
    none.hidden = count !== 0;
  };

  const read = () => {
    const asked = new URLSearchParams(location.hash.slice(1));
    wanted = (asked.get("verdict") || "").split(",").filter((verdict) => verdicts.includes(verdict));
    sort.value = Object.hasOwn(orders, asked.get("sort") || "") ? asked.get("sort") : "order";
    find.value = asked.get("find") || "";
    show();
  };

  const keep = () => {
    const asked = new URLSearchParams();
    if (wanted.length !== 0) asked.set("verdict", wanted.join(","));
    if (sort.value !== "order") asked.set("sort", sort.value);
    if (find.value !== "") asked.set("find", find.value);
    history.replaceState(null, "", "#" + asked);
    show();
  };

  for (const tile of tiles) {
    tile.disabled = false;
    tile.addEventListener("click", () => {
      wanted = tile.dataset.verdict === "" ? [] : [tile.dataset.verdict];
      keep();
    });
  }
  sort.addEventListener("change", keep);
  find.addEventListener("input", keep);
  addEventListener("hashchange", read);

  // What is folded would be lost on paper.
  let unfolded = [];
  addEventListener("beforeprint", () => {
    unfolded = Array.from(document.querySelectorAll("details:not([open])"));
    for (const details of unfolded) details.open = true;
  });
  addEventListener("afterprint", () => {
    for (const details of unfolded) details.open = false;
    unfolded = [];
  });

  document.querySelector(".tools").hidden = false;
  read();
})();
)js";

} // namespace plate_mend::host
