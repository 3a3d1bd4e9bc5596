// The large view of one file.

import { ask } from '/ask.js';
import { byId, classed, element, setText } from '/dom.js';

const names = { preview: 'the JPEG inside the damaged file', sample: 'the sample' };

export class Viewer {
  constructor() {
    this.dialog = byId('viewer');
    this.stage = byId('stage');
    this.id = null;
    byId('close-viewer').addEventListener('click', () => this.dialog.close());
    byId('previous').addEventListener('click', () => this.step(-1));
    byId('next').addEventListener('click', () => this.step(1));
    byId('slide').addEventListener('input', () => this.divide(byId('slide').valueAsNumber));
    byId('against').addEventListener('change', () => this.compare());
    byId('show-areas').addEventListener('change', () => this.showAreas());
    byId('other').addEventListener('error', () => this.lacks());
    byId('other').addEventListener('load', () => setText('compare-note', ''));
    this.stage.addEventListener('pointerdown', (event) => this.drag(event));
    this.stage.addEventListener('pointermove', (event) => event.buttons && this.drag(event));
    this.dialog.addEventListener('close', () => {
      if (!this.dialog.open) { // The event comes late: it may have been opened again.
        this.id = null;
        this.list.focus(this.list.focused);
      }
    });
    this.dialog.addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
      if (step && event.target.tagName !== 'INPUT') {
        event.preventDefault();
        this.step(step);
      }
    });
  }

  async show(id, list) {
    this.list = list;
    const file = await ask(`/file?id=${id}`);
    const isSame = this.id === id;
    this.id = id;
    this.file = file;
    if (!this.dialog.open) {
      this.dialog.showModal();
    }
    setText('viewed', file.name);
    setText('viewed-word', file.word);
    byId('viewed-word').className = `badge ${file.slug}`;
    setText('viewed-place', `${list.focused + 1} of ${list.total}`);
    byId('previous').disabled = list.focused === 0;
    byId('next').disabled = list.focused + 1 >= list.total;
    this.showAbout();
    this.known = JSON.stringify(file);
    const result = byId('result');
    result.hidden = !file.picture;
    byId('no-picture').hidden = file.picture;
    if (file.picture) {
      result.src = `/picture?id=${id}&of=result`;
    } else {
      result.removeAttribute('src');
    }
    this.drawAreas();
    byId('against').hidden = !file.findings;
    byId('against').querySelector('[value=sample]').disabled = !file.sample_picture;
    if (!isSame) {
      byId('against').querySelector('[value=""]').checked = true;
      this.divide(50);
    }
    this.compare();
  }

  /** The state has changed, and the file may have been finished. */
  async update() {
    if (this.id !== null && this.list && !this.file.findings) {
      const file = await ask(`/file?id=${this.id}`).catch(() => null);
      if (file && this.id === file.id && JSON.stringify(file) !== this.known) {
        await this.show(file.id, this.list);
      }
    }
  }

  async step(step) {
    const id = await this.list.neighbour(this.id, step);
    if (id !== undefined) {
      await this.show(id, this.list);
    }
  }

  showAbout() {
    const file = this.file;
    const parts = [element('p', (file.facts ?? [file.folder]).join(' · '))];
    if (file.share_text) {
      parts.push(element('p', file.share_text));
    }
    if (!file.findings && file.line) {
      parts.push(element('p', file.line));
    }
    if (file.findings?.length) {
      parts.push(element('h3', 'Findings'), classed('ul', 'plain', ...file.findings.map((one) => element('li', one))));
    }
    for (const entries of [file.origins ?? [], file.paths ?? []]) {
      if (entries.length) {
        parts.push(element('dl', ...entries.flatMap((one) => [element('dt', one.name), element('dd', one.text)])));
      }
    }
    byId('about').replaceChildren(...parts);
    byId('about').scrollTop = 0;
  }

  drawAreas() {
    const areas = this.file.areas;
    const drawing = byId('areas');
    drawing.replaceChildren();
    const has = Boolean(this.file.picture && areas && areas.width && (areas.lost.length || areas.doubtful.length));
    byId('areas-line').hidden = !has;
    if (has) {
      drawing.setAttribute('viewBox', `0 0 ${areas.width} ${areas.height}`);
      for (const kind of ['doubtful', 'lost']) {
        for (const [x, y, width, height] of areas[kind]) {
          const box = document.createElementNS('http://www.w3.org/2000/svg', 'rect');
          box.setAttribute('class', kind);
          for (const [name, value] of Object.entries({ x, y, width, height })) {
            box.setAttribute(name, String(value));
          }
          drawing.append(box);
        }
      }
    }
    this.showAreas();
  }

  showAreas() {
    byId('areas').style.display = byId('show-areas').checked ? '' : 'none';
  }

  /** Lays the chosen picture over the left side of the result. */
  compare() {
    const against = byId('against').querySelector(':checked').value;
    const other = byId('other');
    this.stage.classList.toggle('compares', against !== '' && this.file.picture);
    byId('slide-line').hidden = against === '' || !this.file.picture;
    setText('compare-note', '');
    if (against === '') {
      other.removeAttribute('src');
      return;
    }
    setText('compare-note', 'Looks for the picture…');
    byId('slide').setAttribute('aria-label', `Boundary: to its left is ${names[against]}`);
    other.alt = names[against];
    const address = `/picture?id=${this.id}&of=${against}`;
    if (other.getAttribute('src') !== address) {
      other.src = address;
    } else {
      setText('compare-note', '');
    }
  }

  lacks() {
    this.stage.classList.remove('compares');
    byId('slide-line').hidden = true;
    setText('compare-note', 'There is no such picture.');
  }

  divide(percent) {
    byId('slide').value = String(percent);
    this.stage.style.setProperty('--at', `${percent}%`);
  }

  drag(event) {
    if (this.stage.classList.contains('compares')) {
      const box = this.stage.getBoundingClientRect();
      this.divide(Math.round(100 * Math.max(0, Math.min(1, (event.clientX - box.left) / box.width))));
    }
  }
}
