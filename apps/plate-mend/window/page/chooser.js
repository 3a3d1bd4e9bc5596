// The choice of a folder of this computer.

import { ask } from '/ask.js';
import { byId, classed, element, setText } from '/dom.js';

const dialog = byId('chooser');
const typed = byId('typed');
let here = null; // The folder that is shown.
let done = null; // Takes the chosen path, or null.

function button(text, action, label) {
  const made = element('button', text);
  made.type = 'button';
  if (label) {
    made.setAttribute('aria-label', label);
  }
  made.addEventListener('click', action);
  return made;
}

function complain(text) {
  setText('chooser-problem', text);
  byId('chooser-problem').hidden = !text;
}

function showFolder(folder) {
  here = folder;
  typed.value = folder.text ?? '';
  complain(folder.problem ?? '');
  byId('starts').replaceChildren(...folder.starts.map((one) => button(one.name, () => go(one.path))));
  const entries = folder.folders.map((one) => element('li', button(one.name, () => go(one.path))));
  if (folder.above) {
    entries.unshift(element('li', button('↑ Folder above', () => go(folder.above.path))));
  }
  if (folder.folders.length === 0) {
    entries.push(classed('li', 'none', 'No folders in it'));
  }
  byId('tree').replaceChildren(...entries);
  byId('tree').scrollTop = 0;
}

async function go(path, orAbove = false) {
  try {
    const folder = await ask(`/folder?path=${encodeURIComponent(path)}`);
    if (folder.problem && orAbove && folder.above) {
      return go(folder.above.path, true);
    }
    const inTree = byId('tree').contains(document.activeElement);
    showFolder(folder);
    if (inTree) {
      byId('tree').querySelector('button')?.focus();
    }
  } catch (error) {
    complain(error.message);
  }
}

/** The path in the field: that of the folder shown, byte by byte, unless it was changed. */
const wanted = () => here && typed.value === here.text ? here.path : typed.value;

function close(path) {
  const take = done;
  done = null;
  dialog.close();
  take?.(path);
}

function open(title) {
  setText('chooser-title', title);
  dialog.showModal();
  typed.focus();
  return new Promise((take) => { done = take; });
}

byId('chooser-form').addEventListener('submit', (event) => {
  event.preventDefault();
  close(wanted() || null);
});
byId('go').addEventListener('click', () => go(wanted()));
for (const cancel of dialog.querySelectorAll('.cancel')) {
  cancel.addEventListener('click', () => close(null));
}
// The event comes late: the dialog may have been opened again.
dialog.addEventListener('close', () => !dialog.open && done && close(null));

/** The path of a folder that the user chooses, as the program writes it; null for none. */
export async function choose(title, current, isNew) {
  byId('chosen').hidden = false;
  await go(current ? current.path : '', isNew);
  const path = open(title);
  if (isNew && current) {
    typed.value = current.text;
  }
  return path;
}

/** One of these folders; null for none. */
export function chooseAmong(title, folders) {
  here = null;
  typed.value = '';
  byId('chosen').hidden = true; // A click on one of them chooses it.
  complain('');
  byId('starts').replaceChildren();
  byId('tree').replaceChildren(...folders.map((one) => element('li', button(one.text, () => close(one.path)))));
  return open(title);
}
