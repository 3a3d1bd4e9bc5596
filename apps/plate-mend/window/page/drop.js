// A browser does not say where a dropped folder is. It does say what the folder is called and what is in it, so the program
// can look for a folder that has just these files.

import { wish } from '/ask.js';

const mostFiles = 40;
const hints = {
  nothing: 'Only a folder can be dropped here. Choose it instead.',
  unknown: 'A browser does not say where a dropped folder is, and no folder of this name with these files was found on this '
    + 'computer. Choose it instead.',
};

const inFolder = (reader) => new Promise((done, fail) => reader.readEntries(done, fail));
const ofEntry = (entry) => new Promise((done, fail) => entry.file(done, fail));

/** Some files of a folder, with their paths in it. */
async function filesIn(folder, before, found) {
  const reader = folder.createReader();
  for (let entries = await inFolder(reader); entries.length && found.length < mostFiles; entries = await inFolder(reader)) {
    for (const entry of entries) {
      if (found.length >= mostFiles) {
        return found;
      }
      if (entry.isFile) {
        found.push({ name: before + entry.name, size: (await ofEntry(entry)).size });
      } else if (!entry.name.startsWith('.')) {
        await filesIn(entry, `${before}${entry.name}/`, found);
      }
    }
  }
  return found;
}

/** The folders that a dropped one may be, and what to tell the user. */
export async function locate(transfer) {
  const entry = [...transfer.items].map((one) => one.webkitGetAsEntry?.()).find((one) => one);
  if (!entry || !entry.isDirectory) {
    return { folders: [], hint: hints.nothing };
  }
  const { folders } = await wish('/find', { name: entry.name, files: await filesIn(entry, '', []) });
  return { folders, hint: folders.length ? '' : hints.unknown };
}
