// The calls of the gate's JSON interface. A call never throws and never hangs.
const kBase = '/api/v1/';
const kUsual = 10_000;  // milliseconds until a call without an answer is given up
const kLong = 70_000;   // a launch or a stop may take the television a minute

export const kEvents = `${kBase}events`;

// {ok: true, body} (body null when there is none), or {ok: false, kind}: the kind of problem that
// the gate told, 'network' when it was not reached, 'timeout' when it did not answer in time.
async function call(path, sent, limit = kUsual) {
  try {
    const answer = await fetch(kBase + path, {
      ...(sent && {
        method: 'POST',
        headers: { 'Content-Type': 'application/json' },
        body: JSON.stringify(sent),
      }),
      cache: 'no-store',
      signal: AbortSignal.timeout(limit),
    });
    if (answer.status === 204) return { ok: true, body: null };
    if (answer.ok) return { ok: true, body: await answer.json() };
    const problem = await answer.json().catch(() => ({}));
    const kind = answer.status === 401 ? 'not-paired' : String(problem.type ?? '').split(':').pop();
    return { ok: false, kind };
  } catch (error) {
    return { ok: false, kind: error.name === 'TimeoutError' ? 'timeout' : 'network' };
  }
}

export const readPackages = () => call('packages');
export const readSession = () => call('session');
export const pair = (code) => call('pair', { code });
export const launch = (name) => call('launch', { package: name }, kLong);
export const stopAll = () => call('stop-all', {}, kLong);
export const logIn = (user, password) => call('login', { user, password });
export const logOut = () => call('logout', {}, kLong);

// The version makes a new icon's address differ from the one that the browser still keeps.
export function iconAddress({ name, version, icons }) {
  const size = ['phone', 'pad'].find((one) => icons.includes(one));
  return size && `${kBase}packages/${encodeURIComponent(name)}/icon/${size}?v=${encodeURIComponent(version)}`;
}
