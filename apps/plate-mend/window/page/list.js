// The list of files. Only rows near the window exist, so it can have any length.

import { ask } from '/ask.js';
import { byId, classed, element, setText } from '/dom.js';

const rowHeight = 84;
const margin = 8; // Rows before and after the window.
const chunk = 100; // Rows per request.
const between = 400; // Milliseconds between requests for what has changed.

function svg(name, attributes) {
  const made = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) {
    made.setAttribute(key, value);
  }
  return made;
}

export class FileList {
  /** `open` takes the number of a file. */
  constructor(open) {
    this.place = byId('list');
    this.open = open;
    this.total = 0;
    this.show = '';
    this.chunks = new Map(); // By their numbers: the rows.
    this.asked = new Set();
    this.rows = new Map(); // By their places: elements.
    this.focused = 0;
    this.isDue = false;
    this.generation = -1;
    this.seen = '';
    const draw = () => this.draw();
    window.addEventListener('scroll', draw, { passive: true });
    window.addEventListener('resize', draw);
    this.place.addEventListener('keydown', (event) => this.move(event));
  }

  /** A new state of the program. */
  update(state) {
    this.showFilters(state);
    if (state.generation !== this.generation) {
      this.generation = state.generation;
      this.chunks.clear();
      this.total = this.show ? 0 : state.files;
    }
    const seen = `${state.generation} ${state.run.done} ${state.run.working.join()} ${state.recognised.studied} ${state.activity}`;
    if (seen !== this.seen) {
      this.seen = seen;
      this.refresh();
    }
  }

  showFilters(state) {
    const running = state.run.begun;
    const filters = [{ slug: '', word: 'all', count: state.files },
      ...state.verdicts.filter((one) => running && one.count > 0)];
    const key = JSON.stringify([filters, this.show]);
    if (key === this.filters) {
      return;
    }
    this.filters = key;
    const had = document.activeElement?.dataset?.show;
    byId('filters').replaceChildren(...filters.map((one) => {
      const button = element('button', one.word, element('b', String(one.count)));
      button.type = 'button';
      button.className = one.slug;
      button.dataset.show = one.slug;
      button.setAttribute('aria-pressed', String(one.slug === this.show));
      button.addEventListener('click', () => this.filter(one.slug, state));
      return button;
    }));
    if (had !== undefined) {
      [...byId('filters').children].find((one) => one.dataset.show === had)?.focus();
    }
  }

  filter(slug, state) {
    this.show = slug;
    this.chunks.clear();
    this.focused = 0;
    this.showFilters(state);
    this.refresh();
  }

  /** Asks again for what is shown, soon. */
  refresh() {
    if (!this.isDue) {
      this.isDue = true;
      setTimeout(() => {
        this.isDue = false;
        this.asked.clear();
        this.stale = new Set(this.chunks.keys());
        this.draw(true);
      }, this.chunks.size ? between : 0);
    }
  }

  /** Places of the first and after the last row to be drawn. */
  range() {
    const top = -this.place.getBoundingClientRect().top;
    const first = Math.max(0, Math.floor(top / rowHeight) - margin);
    const end = Math.min(this.total, Math.max(0, Math.ceil((top + window.innerHeight) / rowHeight)) + margin);
    return [first, Math.max(first, end)];
  }

  async load(number) {
    if (this.asked.has(number)) {
      return;
    }
    this.asked.add(number);
    const { show, generation } = this;
    try {
      const answer = await ask(`/files?from=${number * chunk}&count=${chunk}&show=${encodeURIComponent(show)}`);
      if (show === this.show && generation === this.generation && answer.generation === generation) {
        this.total = answer.total;
        this.chunks.set(number, answer.files);
        this.stale?.delete(number);
        this.draw();
      }
    } catch (error) {
      this.asked.delete(number);
      console.debug(error);
    }
  }

  /** What is known about the file at a place; nothing while it is loaded. */
  at(place) {
    return this.chunks.get(Math.floor(place / chunk))?.[place % chunk];
  }

  draw(again = false) {
    this.place.style.height = `${this.total * rowHeight}px`;
    setText('shown', this.show ? `${this.total} shown` : '');
    const [first, end] = this.range();
    const from = Math.floor(first / chunk);
    const to = Math.max(from, Math.floor(Math.max(0, end - 1) / chunk));
    for (let number = from; number <= to; ++number) {
      if (!this.chunks.has(number) || (again && this.stale?.has(number))) {
        this.load(number);
      }
    }
    for (const [place, row] of this.rows) {
      if ((place < first || place >= end) && !row.contains(document.activeElement)) {
        row.remove();
        this.rows.delete(place);
      } else if (place >= this.total) {
        row.remove();
        this.rows.delete(place);
      }
    }
    this.focused = Math.max(0, Math.min(this.focused, this.total - 1));
    const reachable = this.focused >= first && this.focused < end ? this.focused : first;
    for (let place = first; place < end; ++place) {
      const file = this.at(place);
      if (file) {
        this.fill(this.row(place), file, place, place === reachable);
      }
    }
  }

  row(place) {
    let row = this.rows.get(place);
    if (!row) {
      row = element('li');
      row.style.top = `${place * rowHeight}px`;
      const next = [...this.rows.keys()].filter((one) => one > place).sort((one, other) => one - other)[0];
      this.place.insertBefore(row, next === undefined ? null : this.rows.get(next));
      this.rows.set(place, row);
    }
    return row;
  }

  fill(row, file, place, isReachable) {
    const key = JSON.stringify([file, this.total]);
    if (row.dataset.key !== key) {
      row.dataset.key = key;
      row.setAttribute('aria-setsize', String(this.total));
      row.setAttribute('aria-posinset', String(place + 1));
      const had = row.contains(document.activeElement);
      const button = this.button(file, place);
      row.replaceChildren(button);
      if (had) {
        button.focus({ preventScroll: true });
      }
    }
    row.firstChild.tabIndex = isReachable ? 0 : -1;
  }

  button(file, place) {
    const mount = classed('span', 'mount');
    if (file.picture) {
      const image = element('img');
      image.alt = '';
      image.loading = 'lazy';
      image.src = `/picture?id=${file.id}&of=result&of-run=${this.generation}`;
      mount.append(image);
    }
    const text = classed('span', 'text', classed('span', 'name', file.name), classed('span', 'line', file.line || file.folder));
    if (file.share !== null) {
      const bar = svg('svg', { class: 'share', 'aria-hidden': 'true', preserveAspectRatio: 'none', viewBox: '0 0 100 4' });
      bar.append(svg('rect', { class: 'all', width: 100, height: 4 }), svg('rect', { width: Math.floor(100 * file.share), height: 4 }));
      text.append(bar);
    }
    const button = classed('button', `row ${file.slug}`, mount, text, classed('span', 'badge', file.word));
    button.type = 'button';
    button.title = `${file.folder}\n${file.name}`;
    button.addEventListener('click', () => this.open(file.id));
    button.addEventListener('focus', () => { this.focused = place; });
    return button;
  }

  /** Keys go from row to row. */
  move(event) {
    const steps = { ArrowDown: 1, ArrowUp: -1, PageDown: 8, PageUp: -8, Home: -this.total, End: this.total };
    const step = steps[event.key];
    if (step === undefined) {
      return;
    }
    event.preventDefault();
    this.focus(Math.max(0, Math.min(this.total - 1, this.focused + step)));
  }

  /** Shows the row at a place, and gives it the focus when it is there. */
  async focus(place) {
    this.focused = place;
    const top = this.place.getBoundingClientRect().top + window.scrollY + place * rowHeight;
    if (top < window.scrollY || top + rowHeight > window.scrollY + window.innerHeight) {
      window.scrollTo({ top: top - window.innerHeight / 2 });
    }
    await this.load(Math.floor(place / chunk));
    this.draw();
    if (this.focused === place) {
      this.rows.get(place)?.firstChild?.focus({ preventScroll: true });
    }
  }

  /** The file before or after one in the list; nothing at its ends. */
  async neighbour(id, step) {
    const place = this.focused + step;
    if (this.at(this.focused)?.id !== id || place < 0 || place >= this.total) {
      return undefined;
    }
    await this.load(Math.floor(place / chunk));
    if (this.at(place)) {
      this.focused = place;
    }
    return this.at(place)?.id;
  }
}
