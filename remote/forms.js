// The two forms: pairing by a code, and logging in.
import * as api from './api.js';
import { busy } from './messages.js';
import { reason, text } from './texts.js';

const kCode = /^[0-9A-HJKMNP-TV-Z]{8}$/;
const kStartLimit = 90_000;  // milliseconds that a television may take to start
const byId = (id) => document.getElementById(id);

// Says in words what is wrong with FIELDS; '' takes it back.
function complain(place, words, ...fields) {
  byId(place).textContent = words;
  for (const field of fields) field.ariaInvalid = words ? 'true' : 'false';
}

// People write blanks and hyphens, and take I and L for 1, O for 0.
const normalised = (code) =>
  code.toUpperCase().replace(/[\s-]/g, '').replace(/[IL]/g, '1').replace(/O/g, '0');

export class PairForm {
  #paired;

  // paired() is called when the gate has taken a code.
  constructor(paired) {
    this.#paired = paired;
    byId('pair-form').addEventListener('submit', (event) => {
      event.preventDefault();
      this.pair(byId('code').value);
    });
  }

  complain(words) {
    complain('pair-error', words);
  }

  // Resolves to whether the gate has taken the code.
  async pair(typed) {
    const field = byId('code');
    const code = normalised(typed);
    field.value = typed;
    complain('pair-error', '', field);
    if (!kCode.test(code)) {
      complain('pair-error', text('codeShape'), field);
      field.focus();
      return false;
    }
    const answer = await busy(byId('pair'), 'pairing', () => api.pair(code));
    if (answer.ok) {
      field.value = '';
      this.#paired();
      return true;
    }
    const wrong = ['wrong-code', 'bad-request'].includes(answer.kind);
    complain('pair-error', wrong ? text('wrongCode') : reason('failed', answer.kind), field);
    return false;
  }
}

export class LoginForm {
  #failed;
  #late = 0;

  // mayAct() tells whether the page is live; failed(kind) is called for what is no matter of this form.
  constructor(mayAct, failed) {
    this.#failed = failed;
    byId('login-form').addEventListener('submit', (event) => {
      event.preventDefault();
      if (mayAct()) this.#logIn();
    });
  }

  // Makes the form ready for the next one who logs in.
  reset() {
    clearTimeout(this.#late);
    byId('login-form').hidden = byId('login-how').hidden = false;
    byId('login-status').textContent = '';
    byId('password').value = '';
    complain('login-error', '', byId('user'), byId('password'));
  }

  async #logIn() {
    const [user, password] = [byId('user'), byId('password')];
    complain('login-error', '', user, password);
    const empty = [user, password].filter((field) => !field.value);
    if (empty.length) {
      complain('login-error', text('fillIn'), ...empty);
      empty[0].focus();
      return;
    }
    const answer = await busy(byId('login'), 'loggingIn', () => api.logIn(user.value, password.value));
    if (answer.ok) {
      this.#wait();
      return;
    }
    if (this.#failed(answer.kind)) return;
    const typed = ['login-refused', 'bad-request'].includes(answer.kind);
    complain('login-error', reason('failed', answer.kind), ...(typed ? [user, password] : []));
    if (typed) password.select();
  }

  // The desktop comes up some seconds later; the session event then leaves this view.
  #wait() {
    this.reset();
    byId('login-form').hidden = byId('login-how').hidden = true;
    byId('login-status').textContent = text('televisionStarts');
    this.#late = setTimeout(() => {
      this.reset();
      complain('login-error', text('televisionLate'));
    }, kStartLimit);
  }
}
