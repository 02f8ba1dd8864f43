// The page's words in the language that the browser asks for first among those there are.
import en from './texts-en.js';
import de from './texts-de.js';

const kTexts = { en, de };
const asked = navigator.languages?.length ? navigator.languages : [navigator.language ?? ''];
export const language =
  asked.map((tag) => tag.toLowerCase().split('-')[0]).find((tag) => Object.hasOwn(kTexts, tag)) ?? 'en';
const kWords = kTexts[language];

// The text KEY with each {name} replaced by values[name].
export function text(key, values = {}) {
  return kWords[key].replace(/\{(\w+)\}/g, (_, name) => values[name]);
}

// Why something failed, in words: TABLE is 'failed' or 'launchFailed', KIND what the gate told.
export function reason(table, kind) {
  return Object.hasOwn(kWords[table], kind) ? kWords[table][kind] : kWords[table].other;
}

// Fills the shell. What stands between backticks is set as code.
export function fillShell() {
  document.documentElement.lang = language;
  for (const element of document.querySelectorAll('[data-text]')) {
    element.replaceChildren(...text(element.dataset.text).split('`').map((part, i) => {
      if (i % 2 === 0) return part;
      const code = document.createElement('code');
      code.textContent = part;
      return code;
    }));
  }
  for (const element of document.querySelectorAll('[data-label]')) {
    element.ariaLabel = element.placeholder = text(element.dataset.label);
  }
}
