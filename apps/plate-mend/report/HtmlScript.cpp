#include "report/HtmlPage.h"

namespace plate_mend::host {

const char* const kHtmlScript = R"js(
"use strict";
(() => {
  // With more files, the sheet begins with its compact view.
  const mostInLargeView = 60;
  const verdicts = ["whole", "intact", "partial", "preview-only", "not-repaired", "not-done"];
  // Contents of the entries, in their order in the page, where they are not in it.
  const store = document.getElementById("contents");
  const contents = store === null ? [] : store.textContent.split("\x1E");
  let place = 0;
  const number = (text) => (text === "" ? -1 : Number(text));
  const groups = Array.from(document.querySelectorAll(".folder"), (box) => ({
    box,
    sheet: box.querySelector(".sheet"),
    part: box.querySelector(".part"),
    shown: [],
    files: Array.from(box.querySelector(".sheet").children, (card) => ({
      card,
      place: place++,
      verdict: card.dataset.verdict,
      name: card.dataset.name,
      text: (box.dataset.folder + "/" + card.dataset.name).toLowerCase(),
      order: Number(card.dataset.order),
      size: number(card.dataset.size),
      rows: number(card.dataset.rows),
    })),
  }));
  const total = groups.reduce((sum, group) => sum + group.files.length, 0);
  const tiles = Array.from(document.querySelectorAll(".tile"));
  const views = Array.from(document.querySelectorAll(".views button"));
  const main = document.querySelector("main");
  const sort = document.getElementById("sort");
  const find = document.getElementById("find");
  const shown = document.getElementById("shown");
  const none = document.getElementById("none");
  const names = new Intl.Collator(undefined, { numeric: true });
  const byOrder = (a, b) => a.order - b.order;
  const byName = (a, b) => names.compare(a.name, b.name) || byOrder(a, b);
  const orders = {
    order: byOrder,
    name: byName,
    verdict: (a, b) => verdicts.indexOf(a.verdict) - verdicts.indexOf(b.verdict) || byName(a, b),
    size: (a, b) => b.size - a.size || byOrder(a, b),
    rows: (a, b) => b.rows - a.rows || byOrder(a, b),
  };
  let wanted = [];
  let sorted = "order";
  let view = "";
  let chosen = ""; // The view that was asked for, in the page's address too.
  let current = null; // The file whose picture is reached with Tab.

  // Some browsers keep nothing for pages that are files.
  const remembered = () => {
    try {
      return localStorage.getItem("plate-mend.view");
    } catch {
      return null;
    }
  };
  const remember = (text) => {
    try {
      localStorage.setItem("plate-mend.view", text);
    } catch {
      return;
    }
  };

  const complete = (file) => {
    if (file.place >= contents.length) return;
    file.card.innerHTML = contents[file.place];
    file.place = Infinity;
  };

  const mountOf = (file) => {
    complete(file);
    return file.card.querySelector(".mount");
  };

  const setCurrent = (file) => {
    if (current !== null) mountOf(current).tabIndex = -1;
    current = file;
    if (current !== null) mountOf(current).tabIndex = 0;
  };

  // The files on display, folder by folder; folded folders are left out.
  const rows = () => groups.filter((group) => group.box.open && group.shown.length !== 0);

  const keepCurrentInReach = () => {
    const open = rows();
    if (!open.some((group) => group.shown.includes(current))) setCurrent(open.length === 0 ? null : open[0].shown[0]);
  };

  const show = () => {
    if (sort.value !== sorted) {
      sorted = sort.value;
      for (const group of groups) {
        group.files.sort(orders[sorted]);
        group.sheet.append(...group.files.map((file) => file.card));
      }
    }
    const part = find.value.toLowerCase();
    let count = 0;
    for (const group of groups) {
      group.shown = group.files.filter((file) =>
        (wanted.length === 0 || wanted.includes(file.verdict)) && file.text.includes(part));
      const fits = new Set(group.shown);
      for (const file of group.files) file.card.hidden = !fits.has(file);
      const all = group.shown.length === group.files.length;
      group.part.textContent = all ? "" : `${group.shown.length} of ${group.files.length} shown`;
      group.box.hidden = group.shown.length === 0;
      count += group.shown.length;
    }
    for (const tile of tiles) {
      const verdict = tile.dataset.verdict;
      tile.setAttribute("aria-pressed", String(verdict === "" ? wanted.length === 0 : wanted.includes(verdict)));
    }
    document.body.classList.toggle("compact", view === "compact");
    for (const button of views) button.setAttribute("aria-pressed", String(button.dataset.view === view));
    shown.textContent = count === total ? `all ${count} shown` : `${count} of ${total} shown`;
    none.hidden = count !== 0;
    keepCurrentInReach();
  };

  const read = () => {
    const asked = new URLSearchParams(location.hash.slice(1));
    wanted = (asked.get("verdict") || "").split(",").filter((verdict) => verdicts.includes(verdict));
    sort.value = Object.hasOwn(orders, asked.get("sort") || "") ? asked.get("sort") : "order";
    find.value = asked.get("find") || "";
    chosen = ["large", "compact"].find((text) => text === asked.get("view")) || "";
    const known = ["large", "compact"].find((text) => text === (chosen || remembered()));
    view = known || (total > mostInLargeView ? "compact" : "large");
    show();
  };

  const keep = () => {
    const asked = new URLSearchParams();
    if (wanted.length !== 0) asked.set("verdict", wanted.join(","));
    if (sort.value !== "order") asked.set("sort", sort.value);
    if (find.value !== "") asked.set("find", find.value);
    if (chosen !== "") asked.set("view", chosen);
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
  for (const button of views) {
    button.addEventListener("click", () => {
      view = button.dataset.view;
      chosen = view;
      remember(view);
      keep();
    });
  }
  for (const group of groups) group.box.addEventListener("toggle", keepCurrentInReach);
  sort.addEventListener("change", keep);
  find.addEventListener("input", keep);
  addEventListener("hashchange", read);

)js"
                                R"js(
  const fileOf = (card) => {
    for (const group of groups) {
      const file = group.files.find((one) => one.card === card);
      if (file !== undefined) return file;
    }
    return null;
  };

  const inStep = (step) => {
    const files = rows().flatMap((group) => group.shown);
    return files[files.indexOf(current) + step];
  };

  // Up and down keep the column, also into the next folder.
  const inRow = (step) => {
    const open = rows();
    const at = open.findIndex((group) => group.shown.includes(current));
    if (at === -1) return undefined;
    const columns = getComputedStyle(open[at].sheet).gridTemplateColumns.split(" ").length;
    const place = open[at].shown.indexOf(current);
    const row = Math.floor(place / columns) + step;
    const column = place % columns;
    const last = (group) => Math.floor((group.shown.length - 1) / columns);
    const pick = (group, wantedRow) => group.shown[Math.min(wantedRow * columns + column, group.shown.length - 1)];
    if (row >= 0 && row <= last(open[at])) return pick(open[at], row);
    const next = open[at + step];
    return next === undefined ? undefined : pick(next, step > 0 ? 0 : last(next));
  };

  const goTo = (file) => {
    if (file === undefined) return;
    setCurrent(file);
    mountOf(file).focus({ preventScroll: true });
    file.card.scrollIntoView({ block: "nearest" });
  };

  main.addEventListener("keydown", (event) => {
    if (!event.target.matches(".mount") || event.ctrlKey || event.altKey || event.metaKey) return;
    const moves = {
      ArrowLeft: () => inStep(-1),
      ArrowRight: () => inStep(1),
      ArrowUp: () => inRow(-1),
      ArrowDown: () => inRow(1),
      Home: () => rows()[0].shown[0],
      End: () => rows().at(-1).shown.at(-1),
    };
    if (!Object.hasOwn(moves, event.key)) return;
    event.preventDefault();
    goTo(moves[event.key]());
  });

  // The large view.
  const viewer = document.querySelector(".viewer");
  const figures = viewer.querySelector(".figures");
  const about = viewer.querySelector(".about");
  const folder = document.body.dataset.pictures;
  const sampleOf = (card) => {
    const name = card.dataset.sample;
    return name === undefined ? "" : folder === "" ? document.getElementById(name).src : folder + name;
  };

  // A file beside the page may be missing; then the picture of the sheet stands in, or nothing.
  const addFigure = (source, caption, drawing, otherwise) => {
    const figure = document.createElement("figure");
    const frame = document.createElement("div");
    frame.className = "frame";
    const picture = document.createElement("img");
    picture.alt = caption;
    picture.addEventListener("error", () => {
      if (otherwise === "") figure.remove();
      else if (picture.src !== otherwise) picture.src = otherwise;
    });
    picture.src = source;
    frame.append(picture);
    if (drawing !== null) frame.append(drawing.cloneNode(true));
    const words = document.createElement("figcaption");
    words.textContent = caption;
    figure.append(frame, words);
    figures.append(figure);
  };

  const fill = (file) => {
    complete(file);
    const { card } = file;
    const picture = card.querySelector(".mount img");
    const jpeg = card.querySelector("a.jpeg");
    const inside = "JPEG from inside the damaged file";
    figures.replaceChildren();
    if (picture === null) {
      const empty = document.createElement("p");
      empty.className = "empty";
      empty.textContent = mountOf(file).textContent;
      figures.append(empty);
    } else if (file.verdict === "preview-only") {
      addFigure(jpeg === null ? picture.src : jpeg.href, inside, null, picture.src);
    } else {
      const caption = file.verdict === "intact" ? "Intact photograph" : "Repaired photograph";
      addFigure(picture.src, caption, card.querySelector(".mount svg"), "");
      if (jpeg !== null) addFigure(jpeg.href, inside, null, "");
    }
    const sample = sampleOf(card);
    if (sample !== "") addFigure(sample, "Sample: another photograph", null, "");
    document.getElementById("viewed").textContent = file.name;
    const badge = viewer.querySelector(".badge");
    badge.textContent = card.querySelector(".badge").textContent;
    badge.className = "badge " + file.verdict;
    const legend = card.querySelector(".legend");
    about.replaceChildren(...(legend === null ? [] : [legend.cloneNode(true)]), card.querySelector(".text").cloneNode(true));
    about.className = "about " + file.verdict;
    for (const details of about.querySelectorAll("details")) details.open = true;
    about.scrollTop = 0;
    const files = rows().flatMap((group) => group.shown);
    const place = files.indexOf(file);
    viewer.querySelector(".place").textContent = `${place + 1} of ${files.length}`;
    viewer.querySelector("[data-step='-1']").disabled = place <= 0;
    viewer.querySelector("[data-step='1']").disabled = place === files.length - 1;
  };

  const step = (by) => {
    const file = inStep(by);
    if (file === undefined) return;
    setCurrent(file);
    fill(file);
  };

  main.addEventListener("click", (event) => {
    const mount = event.target.closest(".mount");
    if (mount === null) return;
    setCurrent(fileOf(mount.closest(".card")));
    fill(current);
    viewer.showModal();
    viewer.querySelector(".close").focus();
  });
  viewer.addEventListener("click", (event) => {
    const button = event.target.closest("header button");
    if (button === null) return;
    if (button.matches(".close")) viewer.close();
    else step(Number(button.dataset.step));
  });
  viewer.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === "ArrowLeft" || event.key === "ArrowRight") {
      event.preventDefault();
      step(event.key === "ArrowLeft" ? -1 : 1);
    }
  });
  viewer.addEventListener("close", () => {
    figures.replaceChildren();
    goTo(current);
  });

  // What is folded would be lost on paper.
  let unfolded = [];
  addEventListener("beforeprint", () => {
    for (const group of groups) group.shown.forEach(complete);
    unfolded = Array.from(document.querySelectorAll("details:not([open])"));
    for (const details of unfolded) details.open = true;
  });
  addEventListener("afterprint", () => {
    for (const details of unfolded) details.open = false;
    unfolded = [];
  });

  if (store !== null) {
    store.textContent = "";
    const files = new Map(groups.flatMap((group) => group.files.map((file) => [file.card, file])));
    const nearing = new IntersectionObserver((entries) => {
      for (const entry of entries) {
        if (!entry.isIntersecting) continue;
        nearing.unobserve(entry.target);
        complete(files.get(entry.target));
      }
    }, { rootMargin: "100% 0px" });
    for (const card of files.keys()) nearing.observe(card);
  }

  document.querySelector(".tools").hidden = false;
  read();
  performance.mark("ready");
})();
)js";

} // namespace plate_mend::host
