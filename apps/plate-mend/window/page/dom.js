// Small helpers. Nothing here takes markup.

export const byId = (id) => document.getElementById(id);

/** An element with texts and elements in it. */
export function element(name, ...content) {
  const made = document.createElement(name);
  made.append(...content);
  return made;
}

/** An element with a class. */
export function classed(name, kind, ...content) {
  const made = element(name, ...content);
  made.className = kind;
  return made;
}

/** Changes a text only if it is another one, so that screen readers do not repeat it. */
export function setText(id, text) {
  const place = byId(id);
  if (place.textContent !== text) {
    place.textContent = text;
  }
}

/** A list of texts. Those that begin with spaces belong to the one before. */
export function setTexts(place, texts) {
  const key = texts.join('\n');
  if (place.dataset.key !== key) {
    place.dataset.key = key;
    place.replaceChildren(...texts.map((one) => classed('li', one.startsWith(' ') ? 'part' : '', one.trim())));
  }
}
