// The grid of packages: a tile each, its state, and the search. What the server names is only ever
// set as text.
import * as api from './api.js';
import { announce } from './messages.js';
import { language, reason, text } from './texts.js';

const kSearchFrom = 12;       // packages from which a search is worth its place
const kWindowWait = 20_000;   // milliseconds: a package may run without ever opening a window
const kWordsShown = 12_000;
// White is readable on each of them.
const kColours = ['#b4233c', '#ad440e', '#855700', '#4b6c00', '#1c7339', '#007067',
  '#0a699b', '#2b59c3', '#5546c4', '#7d3cb5', '#a8328f', '#566070'];

const byId = (id) => document.getElementById(id);
const collator = new Intl.Collator(language, { numeric: true, sensitivity: 'base' });
const plain = (words) => words.normalize('NFD').replace(/\p{M}/gu, '').toLowerCase();

function make(tag, className) {
  const element = document.createElement(tag);
  element.className = className;
  return element;
}

function colourOf(name) {
  let hash = 0;
  for (const letter of name) hash = (hash * 31 + letter.codePointAt(0)) >>> 0;
  return kColours[hash % kColours.length];
}

// The icon of a package over a coloured letter, which stays where there is no icon.
export class Icon {
  element = make('span', 'icon');
  #letter = make('span', 'letter');

  constructor() {
    this.element.ariaHidden = 'true';
    this.element.append(this.#letter);
  }

  show(name, title, address) {
    this.#letter.textContent = ([...title.trim()][0] ?? '?').toUpperCase();
    this.element.style.setProperty('--tile', colourOf(name));
    const old = this.element.querySelector('img');
    if (old?.getAttribute('src') === address) return;
    old?.remove();
    if (!address) return;
    const image = make('img', '');
    image.alt = '';
    image.loading = 'lazy';
    image.decoding = 'async';
    image.addEventListener('load', () => image.classList.add('there'));
    image.addEventListener('error', () => image.remove());
    image.src = address;
    this.element.append(image);
  }
}

class Tile {
  element = make('li', '');
  button = make('button', 'tile');
  pack = null;
  #icon = new Icon();
  #title = make('span', 'title');
  #state = make('span', 'state');
  #open = false;
  #asked = null;   // the launch that this page sent: 'sent', then 'taken' until its window is there
  #words = null;   // {state, words} for a while after a launch that was not taken
  #timer = 0;

  constructor(tap) {
    this.button.type = 'button';
    this.button.append(this.#icon.element, this.#title, this.#state);
    this.button.addEventListener('click', () => tap(this));
    this.element.append(this.button);
    this.#draw();
  }

  get title() {
    return this.pack.title || this.pack.name;
  }

  show(pack) {
    this.pack = pack;
    this.sought = plain(`${this.title} ${pack.name}`);
    this.button.dataset.package = pack.name;
    this.button.title = `${this.title} ${pack.version}`.trim();
    this.#title.textContent = this.title;
    this.#icon.show(pack.name, this.title, api.iconAddress(pack));
  }

  setOpen(open) {
    if (open && !this.#open && this.#asked) this.#settle(null, text('onScreen'));
    this.#open = open;
    this.#draw();
  }

  // After a loss only the windows that are open now tell what was launched.
  forget() {
    if (this.#asked !== 'sent') this.#settle(null);
  }

  // Resolves to the kind of a failure, or to null.
  async launch() {
    if (this.#asked === 'sent') return null;
    this.#settle(null, text('starting'));
    this.#asked = 'sent';
    this.#draw();
    const answer = await api.launch(this.pack.name);
    if (!this.#asked) return null;  // its window was faster than the answer
    if (answer.ok) {
      this.#asked = 'taken';
      this.#later(kWindowWait);
    } else if (answer.kind === 'runs-already') {
      this.#settle({ state: 'on-screen', words: text('onScreenAlready') });
    } else {
      this.#settle({ state: 'failed', words: reason('launchFailed', answer.kind) });
    }
    return answer.ok ? null : answer.kind;
  }

  #settle(words, said = words?.words) {
    clearTimeout(this.#timer);
    this.#asked = null;
    this.#words = words;
    if (words) this.#later(kWordsShown);
    if (said) announce(text('said', { title: this.title, state: said }));
    this.#draw();
  }

  #later(milliseconds) {
    this.#timer = setTimeout(() => this.#settle(null), milliseconds);
  }

  #draw() {
    let [state, words] = this.#open ? ['on-screen', text('onScreen')] : ['idle', ''];
    if (this.#asked) [state, words] = ['starting', text('starting')];
    if (this.#words) ({ state, words } = this.#words);
    this.button.dataset.state = state;
    this.#state.textContent = words;
  }
}

export class Tiles {
  #tiles = new Map();
  #tapped;

  // tapped(tile) decides what a tap does.
  constructor(tapped) {
    this.#tapped = tapped;
    byId('search').addEventListener('input', () => this.#filter());
  }

  find(name) {
    return this.#tiles.get(name);
  }

  forget() {
    for (const tile of this.#tiles.values()) tile.forget();
  }

  // Tiles stay the same elements while their package stays, so that the focus and a state survive.
  show(packages) {
    const list = byId('packages');
    const names = new Set(packages.map(({ name }) => name));
    for (const [name, tile] of this.#tiles) {
      if (names.has(name)) continue;
      tile.element.remove();
      this.#tiles.delete(name);
    }
    for (const pack of packages) {
      if (!this.#tiles.has(pack.name)) this.#tiles.set(pack.name, new Tile(this.#tapped));
      this.#tiles.get(pack.name).show(pack);
    }
    const ordered = [...this.#tiles.values()].sort((a, b) => collator.compare(a.title, b.title));
    ordered.forEach((tile, i) => {
      if (list.children[i] !== tile.element) list.insertBefore(tile.element, list.children[i] ?? null);
    });
    const many = ordered.length >= kSearchFrom;
    list.dataset.many = many;
    byId('search').hidden = !many;
    if (!many) byId('search').value = '';
    byId('no-packages').hidden = ordered.length > 0;
    this.#filter();
  }

  showOpen(windows) {
    const open = new Set(windows.map((window) => window.package));
    for (const [name, tile] of this.#tiles) tile.setOpen(open.has(name));
  }

  #filter() {
    const words = plain(byId('search').value).split(/\s+/);
    let count = 0;
    for (const tile of this.#tiles.values()) {
      const fits = words.every((word) => tile.sought.includes(word));
      tile.element.hidden = !fits;
      count += fits;
    }
    const asked = byId('search').value.trim();
    const found = count ? text('found', { count, all: this.#tiles.size }) : text('nothingFound');
    byId('found').textContent = asked ? found : '';
  }
}
