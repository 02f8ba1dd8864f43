// What the page says beside its views: a short notice, words for a screen reader, a question.
import { text } from './texts.js';

const kShown = 6000;  // milliseconds
const byId = (id) => document.getElementById(id);
let hiding = 0;
let answer = () => {};

// Shows WORDS at the foot of the page for a moment.
export function notice(words) {
  clearTimeout(hiding);
  byId('notice').textContent = words;
  if (words) hiding = setTimeout(notice, kShown, '');
}

// Takes a notice back that is not true any more.
export function takeBack(words) {
  if (byId('notice').textContent === words) notice('');
}

export function announce(words) {
  byId('announce').textContent = words;
}

// Asks before something that cannot be taken back. Resolves to true only for a yes, and at once: the
// browser holds the dialog's close event back on a hidden page.
export function ask(title, detail, yes) {
  byId('ask-title').textContent = title;
  byId('ask-text').textContent = detail;
  byId('ask-yes').textContent = yes;
  byId('ask').showModal();
  return new Promise((resolve) => { answer = resolve; });
}

// A question about a state that is not live any more is taken back.
export function dropQuestion() {
  settle(false);
}

function settle(yes) {
  byId('ask').close();
  answer(yes);
}

byId('ask-yes').addEventListener('click', () => settle(true));
byId('ask-no').addEventListener('click', () => settle(false));
byId('ask').addEventListener('cancel', () => settle(false));
byId('ask').addEventListener('click', (event) => event.target === byId('ask') && settle(false));

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
