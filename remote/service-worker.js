// Keeps the page's shell, so that it opens at once, and also when the server is away. Whatever the
// television says is never kept.
const kCache = 'shell-@VERSION@';
const kFolder = '/@VERSION@/';
const kPatience = 2000;  // milliseconds for the server to send the page itself
const kShell = ['/', ...['style.css', 'app.js', 'api.js', 'connection.js', 'forms.js', 'messages.js',
  'texts.js', 'texts-de.js', 'texts-en.js', 'tiles.js', 'icon.svg'].map((name) => kFolder + name)];

addEventListener('install', (event) => {
  skipWaiting();
  event.waitUntil(caches.open(kCache).then((cache) => cache.addAll(kShell)));
});

addEventListener('activate', (event) => {
  const others = caches.keys().then((names) => names.filter((name) => name !== kCache));
  event.waitUntil(others.then((names) => Promise.all(names.map((name) => caches.delete(name)))));
});

addEventListener('fetch', (event) => {
  const { method, url, mode } = event.request;
  const { origin, pathname } = new URL(url);
  if (method !== 'GET' || origin !== location.origin) return;
  if (mode === 'navigate' && pathname === '/') event.respondWith(page(event.request));
  else if (pathname.startsWith(kFolder)) event.respondWith(file(event.request));
});

// A newer page comes with the names of its newer files, so the server goes first.
async function page(request) {
  const kept = await caches.match('/', { cacheName: kCache });
  if (!kept) return fetch(request);
  const late = new Promise((resolve) => { setTimeout(resolve, kPatience, kept); });
  return Promise.race([fetch(request).catch(() => kept), late]);
}

async function file(request) {
  return await caches.match(request, { cacheName: kCache }) ?? fetch(request);
}
