// The console page in node, against a small fake DOM that refuses HTML parsing, so text can only
// ever arrive as text. Its controls are clicked by id, as the shell's end-to-end test does, which
// also proves the host accepts what they post.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { startConsole } from '../console/console.js';
import { LOG_LIMIT } from '../console/panels-state.js';

class FakeElement extends EventTarget {
  #text = '';
  constructor(tagName) {
    super();
    Object.assign(this, { tagName: tagName.toUpperCase(), children: [], parentElement: null, className: '', attributes: new Map(), hidden: false, value: '', checked: false });
  }
  get id() { return this.attributes.get('id') ?? ''; }
  get childElementCount() { return this.children.length; }
  get lastElementChild() { return this.children.at(-1); }
  get textContent() { return this.#text + this.children.map((child) => child.textContent).join(''); }
  set textContent(value) {
    this.children = [];
    this.#text = String(value);
  }
  set innerHTML(_) { throw new Error('the console page parses no HTML'); }
  append(...nodes) { this.children.push(...nodes.map((node) => Object.assign(node, { parentElement: this }))); }
  prepend(...nodes) { this.children.unshift(...nodes.map((node) => Object.assign(node, { parentElement: this }))); }
  remove() {
    const siblings = this.parentElement?.children ?? [];
    if (siblings.includes(this)) siblings.splice(siblings.indexOf(this), 1);
    this.parentElement = null;
  }
  setAttribute(name, value) { this.attributes.set(name, String(value)); }
  getAttribute(name) { return this.attributes.get(name) ?? null; }
  click() { this.dispatchEvent(new Event('click')); }
  *walk() {
    yield this;
    for (const child of this.children) yield* child.walk();
  }
}

const HOST = { omvaneNative: true, briselNativeAuth: true, briselNativePlatform: 'linux', briselNativeReadingControls: true, briselNativeExport: true, briselNativeShortcuts: true };
const HOSTILE = 'a "quote", a \\ backslash, a\u2028line, </script><script>alert(1)</script><img src=x onerror=alert(2)>';

// The page started in a window with `flags` (none: a browser), at a fixed time, and with the
// bytes 0, 1, 2, ... for its randomness.
function startPage(flags = HOST) {
  const posted = [];
  const webkit = flags.omvaneNative ? { messageHandlers: { omvane: { postMessage: (body) => posted.push(body) } } } : undefined;
  const window = Object.assign(new EventTarget(), flags, { webkit });
  const body = new FakeElement('body');
  body.append(new FakeElement('div'));
  body.children[0].setAttribute('id', 'root');
  const $ = (id) => [...body.walk()].find((node) => node.id === id) ?? assert.fail(`no #${id}`);
  let next = 0;
  const random = (length) => Uint8Array.from({ length }, () => (next++) & 0xff);
  startConsole(window, { createElement: (tag) => new FakeElement(tag), getElementById: $ }, { now: () => new Date(Date.UTC(2025, 4, 6, 7, 8, 9)), random });
  const send = (detail, name = 'omvane:native') => window.dispatchEvent(new CustomEvent(name, { detail }));
  return { $, text: (id) => $(id).textContent, send, posted, record: window.briselConsole, root: $('root') };
}

test('what the host sends is shown as text, newest first, sign-in tokens only by length', () => {
  const early = { type: 'status', accessibility: false, error: 'アクセシビリティの許可がありません' };
  const { send, text, $, record } = startPage({ ...HOST, __omvaneLastNative: early });
  assert.deepEqual([text('host-summary'), text('flag-briselNativePlatform'), text('flag-messageChannel')], ['ネイティブホスト内で動作中', '"linux"', 'available']);
  assert.deepEqual([text('status-error'), $('event-log').children[0].className], [early.error, 'event early'], 'the event left before the page listened');
  const signedIn = { requestId: 'r1', provider: 'google.com', idToken: 'secret', accessToken: 'xy' };
  send(signedIn, 'brisel:auth-result');
  assert.equal(text('auth-result'), '{"requestId":"r1","provider":"google.com","idToken":"(6 chars)","accessToken":"(2 chars)"}');
  assert.equal(record.events.at(-1).detail, signedIn, 'the record keeps the tokens');
  send({ type: 'status', error: HOSTILE, shortcut: HOSTILE });
  assert.deepEqual([text('status-error'), text('status-shortcut'), $('status-error').hidden], [HOSTILE, HOSTILE, false]);
  const logged = $('event-log').children[0].children[1].textContent;
  assert.ok(logged.includes('\\u2028') && !logged.includes('\u2028'), 'U+2028 escaped in the log');
  assert.deepEqual(JSON.parse(logged), { type: 'status', error: HOSTILE, shortcut: HOSTILE });
  send({ type: 'status', accessibility: true });
  assert.equal($('status-error').hidden, true, 'a status without an error clears the last one');
  for (const odd of [...Array.from({ length: LOG_LIMIT }, (_, index) => ({ type: 'tick', index })), null, 'text', [1, 2], { type: 7 }]) send(odd);
  assert.deepEqual([$('event-log').childElementCount, text('event-count'), record.events.length], [LOG_LIMIT, String(LOG_LIMIT + 8), LOG_LIMIT + 8]);
  assert.ok($('event-log').children.slice(0, 4).every((entry) => entry.children[0].children[1].textContent === '(no type)'), 'odd details');
});

test('each control posts the body the host accepts; in a browser, nothing is delivered', () => {
  const { $, posted, text } = startPage();
  const nonce = $('auth-nonce').value;
  assert.match(nonce, /^[A-Za-z0-9_-]{43}$/);
  const rc = { action: 'readingControls', visible: true, controlId: 'console-note-1', draft: true, pending: false, saving: false, returningAfterSave: false, saveAttempt: 0 };
  const rows = [
    ['action-capture', {}, { action: 'capture' }, 'an action without fields'],
    ['action-returnToReading', {}, { action: 'returnToReading' }, 'an empty optional field is left out'],
    ['action-returnToReading', { 'action-returnToReading-measurementId': 'm-1' }, { action: 'returnToReading', measurementId: 'm-1' }, 'a filled one goes'],
    ['action-openAuthBrowser', {}, { action: 'openAuthBrowser', url: 'https://auth.brisel.app/#desktop-connect=console' }, 'the sign-in page'],
    ['auth-apple', {}, { action: 'authenticate', provider: 'apple.com', requestId: 'UUID', nonce }, 'Apple with its nonce'],
    ['auth-google', {}, { action: 'authenticate', provider: 'google.com', requestId: 'UUID' }, 'Google without'],
    ['auth-apple', { 'auth-nonce': '', 'auth-request-id': 'abc' }, { action: 'authenticate', provider: 'apple.com', requestId: 'abc' }, 'a typed id, no nonce'],
    ['auth-cancel', {}, { action: 'cancelAuth', requestId: 'abc' }, 'cancels the last request'],
    ['rc-send', {}, rc, 'exactly the eight keys'],
    ['rc-next-attempt', { 'rc-saving': true }, { ...rc, saving: true, saveAttempt: 1 }, 'the next attempt, a whole number'],
    ['rc-hide', {}, { ...rc, saving: true, saveAttempt: 1, visible: false }, 'hiding still sends all eight'],
    ['rc-send', { 'rc-save-attempt': 'two' }, undefined, 'an attempt that is no number is not sent'],
    ['export-send', {}, { action: 'exportMarkdown', requestId: 'UUID', filename: 'Brisel-20250506T070809Z.zip', base64: 'ZIP' }, 'the archive, named for the UTC time'],
    ['export-send-commented', {}, { action: 'exportMarkdown', requestId: 'UUID', filename: 'Brisel-20250506T070809Z.zip', base64: 'ZIP with a comment' }, 'one the host refuses'],
    ['export-cancel', {}, { action: 'cancelMarkdownExport', requestId: 'UUID' }, 'cancels the last export'],
  ];
  const uuid = /^[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$/;
  const zip = (base64) => {
    const bytes = Buffer.from(base64, 'base64');
    assert.equal(bytes.toString('base64'), base64, 'standard base64, padded, in one line');
    return bytes.readUInt32LE(bytes.length - 22) === 0x06054b50 ? 'ZIP' : 'ZIP with a comment';
  };
  const normal = (message) => ({ ...message, ...(uuid.test(message.requestId) && { requestId: 'UUID' }), ...(message.base64 && { base64: zip(message.base64) }) });
  for (const [id, fields, body, why] of rows) {
    for (const [field, value] of Object.entries(fields)) $(field)[typeof value === 'boolean' ? 'checked' : 'value'] = value;
    posted.length = 0;
    $(id).click();
    assert.deepEqual(posted.map(normal), body ? [body] : [], `${id}: ${why}`);
    if (body) assert.deepEqual(Object.keys(posted[0]), Object.keys(body), `${id}: key order`);
  }
  assert.match(text('rc-note'), /saveAttempt/);
  const ids = [...startPage().root.walk()].map((node) => node.id).filter(Boolean);
  assert.equal(new Set(ids).size, ids.length, 'ids are unique');

  const browser = startPage({});
  assert.equal(browser.text('host-summary'), 'ブラウザで表示中（ネイティブホストなし）');
  browser.$('action-capture').click();
  assert.deepEqual(browser.record.sent, [{ body: { action: 'capture' }, delivered: false }]);
});
