// The remote: puts what the connection tells into the views, and what is tapped into calls.
import * as api from './api.js';
import { Connection } from './connection.js';
import { LoginForm, PairForm } from './forms.js';
import { announce, ask, busy, dropQuestion, notice, takeBack } from './messages.js';
import { fillShell, reason, text } from './texts.js';
import { Icon, Tiles } from './tiles.js';

const byId = (id) => document.getElementById(id);
const kHeadings = { pair: 'pair-title', login: 'login-title', home: 'server' };
const kBanners = { lost: 'lost', 'agent-down': 'agentDown' };

fillShell();
showServer(null);

const pairForm = new PairForm(() => {
  showView('connecting');
  connection.start();
});
const loginForm = new LoginForm(mayAct, wentUnpaired);
const tiles = new Tiles(async (tile) => {
  if (mayAct()) wentUnpaired(await tile.launch());
});
const connection = new Connection({
  phase: showPhase,
  state({ server, packages, windows, session }) {
    if (!connection.live) tiles.forget();
    showServer(server);
    showPackages(packages);
    showWindows(windows);
    showSession(session);
  },
  windows: showWindows,
  unpaired: () => goToPairing(),
});

function showView(view) {
  const before = document.body.dataset.view;
  if (view === before) return;
  document.body.dataset.view = view;
  for (const name of ['connecting', 'pair', 'login', 'home']) byId(`view-${name}`).hidden = name !== view;
  // Who listens to the page or goes by keyboard is led along; the first view needs no leading.
  if (before !== 'connecting' && kHeadings[view]) byId(kHeadings[view]).focus();
  scrollTo(0, 0);
}

function showPhase(phase) {
  document.body.dataset.phase = phase;
  document.body.dataset.live = phase === 'live';
  byId('banner').textContent = kBanners[phase] ? text(kBanners[phase]) : '';
  if (phase !== 'live') dropQuestion();
  else takeBack(text('notLive'));
  markDead();
}

function markDead() {
  const dead = !connection.live;
  for (const button of document.querySelectorAll('[data-needs-live], .tile')) {
    button.ariaDisabled = dead ? 'true' : null;
  }
}

// What is tapped while the page is not live is not done, neither now nor later.
function mayAct() {
  if (!connection.live) notice(text('notLive'));
  return connection.live;
}

// True for the failure of a device that was revoked: it goes back to the pairing.
function wentUnpaired(kind) {
  if (kind !== 'not-paired') return false;
  connection.stop();
  goToPairing();
  return true;
}

function goToPairing() {
  const wasPaired = ['home', 'login'].includes(document.body.dataset.view);
  forgetHousehold();
  showView('pair');
  if (wasPaired) pairForm.complain(text('unpaired'));
}

// Nothing of a household stays on a device that does not belong to it.
function forgetHousehold() {
  dropQuestion();
  notice('');
  announce('');
  showServer(null);
  showUser(null);
  showPackages([]);
  showWindows([]);
  loginForm.reset();
  byId('user').value = '';
}

function showServer(server) {
  const name = server && (server.name || text('television'));
  byId('server').textContent = name ?? text('remote');
  byId('model').textContent = server?.model ?? '';
  document.title = name ? `${name} – ${text('remote')}` : text('remote');
}

function showUser(user) {
  byId('account').hidden = byId('logout').hidden = !user;
  byId('who').textContent = user ?? '';
}

function showSession({ desktop, user }) {
  showUser(user);
  byId('getting-ready').hidden = Boolean(user);
  const view = desktop ? 'home' : 'login';
  if (document.body.dataset.view !== view) loginForm.reset();
  showView(view);
}

function showPackages(packages) {
  tiles.show(packages);
  markDead();
}

function showWindows(windows) {
  tiles.showOpen(windows);
  byId('no-windows').hidden = windows.length > 0;
  byId('windows').replaceChildren(...windows.map((window) => {
    const item = document.createElement('li');
    const title = document.createElement('span');
    const pack = tiles.find(window.package)?.pack;
    const icon = new Icon();
    title.textContent = window.title || pack?.title || text('untitled');
    item.dataset.window = window.id;
    icon.show(window.package ?? window.title, title.textContent, pack && api.iconAddress(pack));
    item.append(icon.element, title);
    return item;
  }));
}

// Asks, does it, and says how it went.
async function askAndDo(button, question, progress, call, done) {
  if (!mayAct() || !await ask(...question) || !mayAct()) return;
  announce(text(progress));
  const answer = await busy(button, progress, call);
  if (wentUnpaired(answer.kind)) return;
  notice(answer.ok ? text(done) : reason('failed', answer.kind));
}

byId('stop-all').addEventListener('click', () => askAndDo(byId('stop-all'),
  [text('askStopAll'), text('askStopAllText'), text('stopAll')], 'stopping', api.stopAll, 'stopped'));
byId('logout').addEventListener('click', () => askAndDo(byId('logout'),
  [text('askLogOut', { user: byId('who').textContent }), text('askLogOutText'), text('logOut')],
  'loggingOut', api.logOut, 'loggedOut'));

// A scanned code stands in the address. It is good for one use, so it does not stay there; scanned
// twice, it is refused on a phone that is paired.
async function begin() {
  const code = /^#pair=(.+)$/.exec(location.hash)?.[1];
  if (code) {
    history.replaceState(null, '', location.pathname);
    connection.stop();
    showView('pair');
    if (await pairForm.pair(code)) return;
  }
  connection.start();
}

addEventListener('hashchange', () => location.hash.startsWith('#pair=') && begin());
begin();
// Refused under a certificate that the browser does not trust; the page is whole without it.
navigator.serviceWorker?.register('/service-worker.js').catch(() => {});
