// What the page says beside its views: a short notice, words for a screen reader, a question.
import { text } from './texts.js';

const kShown = 6000;  // milliseconds
const byId = (id) => document.getElementById(id);
let hiding = 0;

// Shows WORDS at the foot of the page for a moment; for good until the next one if STAYS.
export function notice(words, stays = false) {
  clearTimeout(hiding);
  byId('notice').textContent = words;
  if (!stays) hiding = setTimeout(() => { byId('notice').textContent = ''; }, kShown);
}

export function announce(words) {
  byId('announce').textContent = words;
}

// Asks before something that cannot be taken back. Resolves to true only for a yes.
export function ask(title, detail, yes) {
  const dialog = byId('ask');
  byId('ask-title').textContent = title;
  byId('ask-text').textContent = detail;
  byId('ask-yes').textContent = yes;
  dialog.returnValue = '';
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener('close', () => resolve(dialog.returnValue === 'yes'), { once: true });
  });
}

// A question about a state that is not live any more is taken back.
export function dropQuestion() {
  if (byId('ask').open) byId('ask').close('no');
}

byId('ask-yes').addEventListener('click', () => byId('ask').close('yes'));
byId('ask-no').addEventListener('click', () => byId('ask').close('no'));
byId('ask').addEventListener('click', (event) => event.target === byId('ask') && dropQuestion());

// Text for a button while its call is under way, and its own text again behind it.
export async function busy(button, key, work) {
  const label = button.querySelector('[data-text]') ?? button;
  const focused = document.activeElement === button;
  button.disabled = true;
  label.textContent = text(key);
  try {
    return await work();
  } finally {
    button.disabled = false;
    if (focused && document.activeElement === document.body) button.focus();
    label.textContent = text(label.dataset.text);
  }
}
