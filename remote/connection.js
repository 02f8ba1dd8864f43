// Keeps the page's view of the television true: one event stream, and everything read anew whenever
// the stream was away. Nothing is called live before that.
import { kEvents, readPackages, readSession } from './api.js';

const kSilence = 2500;     // milliseconds: the gate beats each second, so the stream is dead
const kFirstEvent = 5000;  // an attempt without a first event is given up
const kOverslept = 1000;   // a timer this late means that the device slept, not the gate
const kHidden = 30_000;    // a page in the background lets go of its stream
const kPauses = [500, 1000, 2000, 3000];

// handlers: phase(name), state({server, packages, windows, session}) for the whole state read anew,
// windows(list) for a change of them alone, unpaired() for a device that the gate does not know.
// Phases: 'live'; 'quiet', not live for a moment; 'lost'; 'agent-down'.
export class Connection {
  #handlers;
  #running = false;
  #phase = 'quiet';
  #source = null;
  #attempts = 0;
  #reading = 0;
  #known = false;  // the stream told what is on the screen and who is there
  #lastHeard = 0;
  #windows = [];
  #session = null;
  #silence = new Alarm(() => this.#silent());
  #lost = new Alarm(() => this.#setPhase('lost'));
  #retry = new Alarm(() => this.#open());
  #hidden = new Alarm(() => this.#rest());

  constructor(handlers) {
    this.#handlers = handlers;
    document.addEventListener('visibilitychange', () => this.#visibilityChanged());
    document.addEventListener('freeze', () => this.#rest());
    document.addEventListener('resume', () => this.#resumed());
    addEventListener('pagehide', () => this.#rest());
    addEventListener('pageshow', (event) => event.persisted && this.#visibilityChanged());
    addEventListener('online', () => this.#phase === 'lost' && this.#open());
  }

  get live() {
    return this.#phase === 'live';
  }

  // Begins to read, with a moment's patience before it says "lost".
  start() {
    this.#running = true;
    this.#attempts = 0;
    this.#setPhase('quiet');
    this.#lost.set(kSilence);
    this.#open();
    this.#watchHidden();
  }

  stop() {
    this.#running = false;
    this.#rest();
  }

  #rest() {
    this.#close();
    this.#lost.clear();
    this.#hidden.clear();
    this.#setPhase('quiet');
  }

  // A phone may suspend a page without a word, so the clock decides whether the stream still lives.
  #visibilityChanged() {
    if (!this.#running) return;
    this.#watchHidden();
    if (document.visibilityState === 'hidden') return;
    const fresh = this.#source && Date.now() - this.#lastHeard < kSilence;
    if (!fresh || this.#phase === 'lost') this.start();
  }

  // A browser thaws a page mostly just before it shows it: reading begins already.
  #resumed() {
    if (this.#running) this.start();
  }

  #watchHidden() {
    if (document.visibilityState !== 'hidden') this.#hidden.clear();
    else if (!this.#hidden.pending) this.#hidden.set(kHidden);
  }

  #setPhase(phase) {
    if (phase === 'live' || phase === 'agent-down') this.#lost.clear();
    if (phase === this.#phase) return;
    this.#phase = phase;
    this.#handlers.phase(phase);
  }

  #close() {
    this.#source?.close();
    this.#source = null;
    this.#known = false;
    this.#reading++;
    this.#silence.clear();
    this.#retry.clear();
  }

  #open() {
    if (!this.#running) return;
    this.#close();
    const source = new EventSource(kEvents);
    this.#source = source;
    this.#lastHeard = Date.now();
    this.#silence.set(kFirstEvent);
    source.onerror = () => source === this.#source && this.#ended();
    const listen = (name, act) => source.addEventListener(name, (event) => {
      if (source !== this.#source) return;
      this.#lastHeard = Date.now();
      this.#silence.set(kSilence);
      act(JSON.parse(event.data));
    });
    listen('beat', () => {});
    listen('state', (state) => this.#stateCame(state));
    listen('windows', ({ windows }) => this.#windowsCame(windows));
    listen('session', (session) => this.#sessionCame(session));
    listen('list', () => this.#readPackages());
    listen('agent', ({ agent }) => agent === 'down' && this.#agentLeft());
  }

  #agentLeft() {
    this.#known = false;
    this.#reading++;
    this.#setPhase('agent-down');
  }

  #stateCame({ agent, windows, session }) {
    if (agent !== 'up') return this.#agentLeft();
    this.#known = true;
    this.#windows = windows;
    return this.#sessionCame(session);
  }

  #windowsCame(windows) {
    this.#windows = windows;
    if (this.live) this.#handlers.windows(windows);
  }

  // Another session has other packages.
  #sessionCame(session) {
    this.#session = session;
    return this.#readPackages();
  }

  // Only the answer to the latest question counts.
  async #readPackages() {
    if (!this.#known) return;
    const reading = ++this.#reading;
    const answer = await readPackages();
    if (reading !== this.#reading) return;
    if (answer.kind === 'not-paired') this.#refused();
    else if (answer.ok) this.#tell(answer.body);
    else this.#failed();
  }

  #tell({ server, packages }) {
    this.#attempts = 0;
    this.#handlers.state({ server, packages, windows: this.#windows, session: this.#session });
    this.#setPhase('live');
  }

  #silent() {
    if (this.#silence.late > kOverslept) this.start();
    else this.#failed();
  }

  // An event stream does not tell why it ended: a device that was revoked learns it from a call.
  async #ended() {
    this.#failed();
    const answer = await readSession();
    if (this.#running && answer.kind === 'not-paired') this.#refused();
  }

  #failed() {
    this.#close();
    if (this.#phase === 'live' || this.#phase === 'agent-down') {
      this.#setPhase('quiet');
      this.#lost.set(Math.max(0, this.#lastHeard + kSilence - Date.now()));
    }
    this.#retry.set(kPauses[Math.min(this.#attempts++, kPauses.length - 1)]);
  }

  #refused() {
    this.stop();
    this.#handlers.unpaired();
  }
}

// A timer that knows how late it rang.
class Alarm {
  #ring;
  #id = 0;
  #due = 0;

  constructor(ring) {
    this.#ring = () => {
      this.#id = 0;
      ring();
    };
  }

  get pending() {
    return this.#id !== 0;
  }

  get late() {
    return Date.now() - this.#due;
  }

  set(milliseconds) {
    this.clear();
    this.#due = Date.now() + milliseconds;
    this.#id = setTimeout(this.#ring, milliseconds);
  }

  clear() {
    clearTimeout(this.#id);
    this.#id = 0;
  }
}
