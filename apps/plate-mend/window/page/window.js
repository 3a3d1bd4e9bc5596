// The page of plate-mend. What it shows comes from the program; texts go into it as texts only.

import { follow, ask, wish } from '/ask.js';
import { byId, classed, element, setText, setTexts } from '/dom.js';
import { choose, chooseAmong } from '/chooser.js';
import { locate } from '/drop.js';
import { FileList } from '/list.js';
import { Viewer } from '/viewer.js';

let state = null;
const viewer = new Viewer();
const list = new FileList((id) => viewer.show(id, list));

/** Says why something could not be done. */
function complain(text) {
  setText('problem', text);
  byId('problem').hidden = !text;
}

/** Does something that may be refused. */
async function attempt(task) {
  try {
    complain('');
    return await task();
  } catch (error) {
    complain(error.message);
    return null;
  }
}

const isBusy = () => state.activity === 'repairing' || state.activity === 'saving';
const counted = (one) => [element('b', String(one.count)), ` ${one.name || 'unknown'}`];
const files = (count) => count === 1 ? '1 file' : `${count} files`;

function showFolders() {
  for (const panel of document.querySelectorAll('.folder')) {
    const folder = state.folders[panel.dataset.what];
    const path = panel.querySelector('.path');
    path.textContent = folder ? folder.text : 'Not chosen';
    path.classList.toggle('set', Boolean(folder));
    panel.querySelector('.choose').disabled = isBusy();
  }
}

/** A term with counts, the greatest first and at most a few. */
function known(term, counts) {
  const most = 6;
  const sorted = [...counts].sort((one, other) => other.count - one.count);
  const entry = element('dd');
  sorted.slice(0, most).forEach((one, index) => entry.append(...(index ? [', '] : []), ...counted(one)));
  if (sorted.length > most) {
    entry.append(` and ${sorted.length - most} more`);
  }
  return element('div', element('dt', term), entry);
}

function showRecognised() {
  const found = state.recognised;
  byId('recognised').hidden = state.files === 0 || state.run.begun;
  const text = state.activity !== 'recognising' ? ''
    : found.samples_read < found.samples ? `Reads samples: ${found.samples_read} of ${found.samples}`
      : `Looks at the photographs: ${found.studied} of ${state.files}. You need not wait for it.`;
  setText('recognised-state', text);
  const entries = [known('Broken photographs, by kind', found.kinds)];
  if (found.cameras.length) {
    entries.push(known('Their cameras', found.cameras));
  }
  if (found.sample_cameras.length) {
    entries.push(known(found.samples === 1 ? '1 sample' : `${found.samples} samples`, found.sample_cameras));
  }
  if (found.fits.length) {
    entries.push(known('First choice of sample', found.fits));
  }
  const more = [];
  if (found.finished) {
    more.push({ count: found.finished, name: 'done already' });
  }
  if (found.not_done) {
    more.push({ count: found.not_done, name: 'would not be done' });
  }
  if (more.length) {
    entries.push(known('Of these', more));
  }
  if (found.room.length) {
    entries.push(classed('div', 'wide', element('dt', 'Room'), ...found.room.map((one) => element('dd', one.text))));
  }
  byId('known').replaceChildren(...entries);
  byId('kept').hidden = more.length === 0;
  byId('room').hidden = !found.room.some((one) => one.too_little);
}

function runText() {
  const run = state.run;
  const parts = [];
  if (state.activity === 'saving') {
    return 'Writes the contact sheet';
  }
  if (state.activity === 'repairing') {
    if (run.samples_read < run.samples) {
      return `Reads samples: ${run.samples_read} of ${run.samples}`;
    }
    parts.push(`${run.done} of ${files(state.files)}`);
    if (state.stopping) {
      parts.push('stops');
    } else if (run.left !== null) {
      parts.push(`${run.left} left`);
    }
    return parts.join(', ');
  }
  if (run.ended) {
    return `${run.stopped ? `Stopped after ${run.done} of ${files(state.files)}` : `Done: ${files(run.done)}`} in ${run.took}`;
  }
  return Object.values(state.folders).some((one) => one === null) ? 'Choose the folders first.'
    : state.files ? `${files(state.files)} to repair` : '';
}

let hadEnded = false;

function showRun() {
  const run = state.run;
  const repairs = state.activity === 'repairing';
  const start = byId('start');
  const had = document.activeElement;
  start.textContent = run.ended && run.stopped ? 'Go on' : run.ended ? 'Run again' : 'Start';
  start.classList.toggle('primary', !run.ended || run.stopped);
  start.hidden = repairs;
  start.disabled = isBusy() || state.files === 0 || Object.values(state.folders).some((one) => one === null);
  byId('stop').hidden = !repairs;
  byId('stop').disabled = state.stopping;
  if (had === start && repairs) {
    byId('stop').focus();
  } else if (had === byId('stop') && !repairs) {
    start.focus();
  }
  setText('run-text', runText());
  const progress = byId('progress');
  progress.hidden = !run.begun;
  progress.max = Math.max(1, state.files);
  progress.value = run.done;
  setText('working', run.working.length ? `At work: ${run.working.join(', ')}` : '');
  byId('after').hidden = !run.ended || state.activity === 'repairing';
  setTexts(byId('summary'), run.summary);
  byId('save-sheet').disabled = isBusy();
  byId('open-sheet').hidden = !state.sheet;
  setText('sheet-note', state.sheet ? `Saved: ${state.sheet.text}` : '');
  byId('again').hidden = run.stopped;
  byId('notes').hidden = state.notes.length === 0;
  byId('notes').open ||= run.ended && run.stopped && !hadEnded; // They may say why.
  hadEnded = run.ended;
  setTexts(byId('notes').querySelector('ul'), state.notes);
  const share = state.files ? Math.floor(100 * run.done / state.files) : 0;
  document.title = repairs ? `${share} % · plate-mend` : 'plate-mend';
}

let said = '';

/** For screen readers: the beginning, each tenth of the way, and the end. */
function say() {
  const run = state.run;
  const tenth = state.files ? Math.floor(10 * run.done / state.files) : 0;
  const key = `${state.activity} ${state.stopping} ${run.ended} ${state.activity === 'repairing' ? tenth : ''}`;
  if (key !== said) {
    said = key;
    setText('live', [runText(), ...(run.ended ? run.summary.slice(0, 1) : [])].join('. '));
  }
}

function show(next) {
  const failed = next.problem && (!state || state.problem !== next.problem || state.activity !== next.activity);
  state = next;
  if (failed) {
    complain(state.problem);
  }
  showFolders();
  showRecognised();
  showRun();
  byId('files').hidden = state.files === 0;
  list.update(state);
  viewer.update();
  say();
}

async function setFolder(what, path) {
  await attempt(() => wish('/choose', { what, path }));
}

for (const panel of document.querySelectorAll('.folder')) {
  const what = panel.dataset.what;
  const title = panel.querySelector('h3').lastChild.textContent.trim();
  panel.querySelector('.choose').addEventListener('click', async () => {
    const path = await choose(title, state.folders[what], what === 'out');
    if (path !== null) {
      await setFolder(what, path);
    }
  });
}

for (const panel of document.querySelectorAll('.drop')) {
  panel.addEventListener('dragover', (event) => {
    event.preventDefault();
    panel.classList.add('over');
  });
  panel.addEventListener('dragleave', () => panel.classList.remove('over'));
  panel.addEventListener('drop', async (event) => {
    event.preventDefault();
    panel.classList.remove('over');
    setText('drop-note', 'Looks for the folder…');
    const { folders, hint } = await locate(event.dataTransfer).catch((error) => ({ folders: [], hint: error.message }));
    setText('drop-note', hint);
    if (folders.length === 1) {
      await setFolder(panel.dataset.what, folders[0].path);
    } else if (folders.length > 1) {
      const path = await chooseAmong('Which of these folders?', folders);
      if (path !== null) {
        await setFolder(panel.dataset.what, path);
      }
    }
  });
}
// A file that misses the panels must not replace the page.
for (const kind of ['dragover', 'drop']) {
  window.addEventListener(kind, (event) => event.preventDefault());
}

byId('start').addEventListener('click', () => attempt(() => wish('/start')));
byId('stop').addEventListener('click', () => attempt(() => wish('/stop')));
byId('save-sheet').addEventListener('click', () => attempt(() => wish('/sheet')));
byId('open-sheet').addEventListener('click', () => attempt(() => wish('/open', { what: 'sheet' })));
byId('open-results').addEventListener('click', () => attempt(() => wish('/open', { what: 'results' })));
byId('quit').addEventListener('click', async () => {
  const running = state && state.activity === 'repairing';
  if (!running || window.confirm('A run is under way. It stops, and can be resumed later.')) {
    await attempt(() => wish('/quit'));
  }
});

follow(show, () => {
  document.querySelector('main').hidden = true;
  byId('quit').hidden = true;
  for (const dialog of document.querySelectorAll('dialog[open]')) {
    dialog.close();
  }
  byId('ended').hidden = false;
  byId('ended').focus();
  document.title = 'plate-mend has ended';
});
