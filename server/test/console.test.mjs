// The console page in node, against a small fake DOM that refuses any HTML parsing, so text can
// only ever arrive as text. Its controls are clicked by id, as the shell's end-to-end test does.
import assert from 'node:assert/strict';
import { readdir, readFile } from 'node:fs/promises';
import path from 'node:path';
import { describe, test } from 'node:test';
import { startConsole } from '../console/console.js';
import { LOG_LIMIT } from '../console/panels-state.js';
import { UUID_PATTERN } from '../console/messages.js';
import { SERVER_DIR } from './harness.mjs';

const refuse = (what) => () => { throw new Error(`${what} is not allowed in the console page`); };

class FakeElement extends EventTarget {
  #text = '';
  constructor(tagName) {
    super();
    Object.assign(this, { tagName: tagName.toUpperCase(), children: [], parentElement: null, className: '', attributes: new Map(), hidden: false, value: '', checked: false });
  }
  get id() { return this.attributes.get('id') ?? ''; }
  get childElementCount() { return this.children.length; }
  get lastElementChild() { return this.children.at(-1) ?? null; }
  get textContent() { return this.#text + this.children.map((child) => child.textContent).join(''); }
  set textContent(value) {
    for (const child of this.children) child.parentElement = null;
    this.children = [];
    this.#text = String(value);
  }
  set innerHTML(_) { refuse('innerHTML')(); }
  set outerHTML(_) { refuse('outerHTML')(); }
  insertAdjacentHTML = refuse('insertAdjacentHTML');
  #adopt(nodes) {
    for (const node of nodes) {
      if (!(node instanceof FakeElement)) throw new TypeError('the console appends elements only');
      node.remove();
      node.parentElement = this;
    }
    return nodes;
  }
  append(...nodes) { this.children.push(...this.#adopt(nodes)); }
  prepend(...nodes) { this.children.unshift(...this.#adopt(nodes)); }
  remove() {
    this.parentElement?.children.splice(this.parentElement.children.indexOf(this), 1);
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

const NATIVE_FLAGS = { omvaneNative: true, briselNativeAuth: true, briselNativePlatform: 'linux', briselNativeReadingControls: true, briselNativeExport: true, briselNativeShortcuts: true };
const TIME = new Date(Date.UTC(2025, 4, 6, 7, 8, 9, 10));
const HOSTILE = 'a "quote", a \\ backslash, a\u2028line, </script><script>alert(1)</script><img src=x onerror=alert(2)>';

// The page started in `flags` (none: a browser), with bytes 0, 1, 2, ... for its randomness.
function startPage(flags = { ...NATIVE_FLAGS }) {
  const posted = [];
  if (flags.omvaneNative) flags.webkit = { messageHandlers: { omvane: { postMessage: (body) => posted.push(structuredClone(body)) } } };
  const body = new FakeElement('body');
  body.append(new FakeElement('div'));
  body.children[0].setAttribute('id', 'root');
  const byId = (id) => [...body.walk()].find((node) => node.id === id) ?? null;
  const window = Object.assign(new EventTarget(), flags);
  let next = 0;
  const random = (length) => Uint8Array.from({ length }, () => (next++) & 0xff);
  startConsole(window, { createElement: (tag) => new FakeElement(tag), getElementById: byId, write: refuse('document.write') }, { now: () => TIME, random });
  const $ = (id) => byId(id) ?? assert.fail(`#${id} exists`);
  const send = (detail, name = 'omvane:native') => window.dispatchEvent(new CustomEvent(name, { detail }));
  return { root: byId('root'), $, text: (id) => $(id).textContent, send, posted, record: window.briselConsole };
}

describe('console page in a fake DOM', () => {
  test('in a browser it fills the page, says there is no host, and posts nothing', () => {
    const { root, text, $, record } = startPage({});
    assert.ok(root.childElementCount > 0);
    assert.equal(text('host-summary'), 'ブラウザで表示中（ネイティブホストなし）');
    assert.equal(text('flag-messageChannel'), 'missing');
    $('action-capture').click();
    assert.deepEqual(record.sent, [{ body: { action: 'capture' }, delivered: false }]);
    assert.match(text('sent-channel'), /送信されていません/);
    assert.equal(startConsole(new EventTarget(), { getElementById: () => null }), false, 'no #root, no page');
  });

  test('inside the host it shows every flag and the event the host left before it listened', () => {
    const early = { type: 'status', accessibility: false, error: 'アクセシビリティの許可がありません' };
    const { text, $, record } = startPage({ ...NATIVE_FLAGS, __omvaneLastNative: early });
    assert.equal(text('host-summary'), 'ネイティブホスト内で動作中');
    for (const [flag, value] of Object.entries(NATIVE_FLAGS)) assert.equal(text(`flag-${flag}`), JSON.stringify(value), flag);
    assert.equal(text('flag-messageChannel'), 'available');
    assert.equal(text('status-error'), early.error);
    assert.equal($('event-log').children[0].className, 'event early');
    assert.deepEqual(record.events, [{ name: 'omvane:native', detail: early, early: true }]);
  });

  test('what the host sends is shown and recorded in order, sign-in tokens only by length', () => {
    const { send, text, $, record } = startPage();
    const capture = { code: 'KeyK', key: 'k', label: '⌥⌘K', meta: true, alt: true, ctrl: false, shift: false };
    send({ type: 'status', accessibility: false, shortcut: '⌥⌘K', shortcuts: { capture }, error: 'denied' });
    send({ type: 'selection', text: 'a passage' });
    const signedIn = { requestId: 'r1', provider: 'google.com', idToken: 'secret', accessToken: 'xy' };
    send(signedIn, 'brisel:auth-result');
    send({ requestId: 'r2', status: 'saved' }, 'brisel:export-result');
    assert.deepEqual(record.events.map(({ name, detail }) => [name, detail.type ?? detail.requestId]),
      [['omvane:native', 'status'], ['omvane:native', 'selection'], ['brisel:auth-result', 'r1'], ['brisel:export-result', 'r2']]);
    assert.equal(record.events[2].detail, signedIn, 'the record keeps the tokens');
    assert.deepEqual($('event-log').children.map((entry) => entry.children[0].children[1].textContent),
      ['brisel:export-result', 'brisel:auth-result', 'selection', 'status'], 'newest first');
    assert.equal(text('auth-result'), '{"requestId":"r1","provider":"google.com","idToken":"(6 chars)","accessToken":"(2 chars)"}');
    assert.equal(text('export-result'), '{"requestId":"r2","status":"saved"}');
    assert.deepEqual([text('status-error'), $('status-error').hidden, text('status-accessibility')], ['denied', false, 'false']);
    assert.equal(text('status-shortcuts'), 'actionlabelcodekeymodifierscapture⌥⌘KKeyK"k"meta alt');
    send({ type: 'status', accessibility: true, shortcut: '⌃⌥K' });
    assert.deepEqual([$('status-error').hidden, text('status-shortcut')], [true, '⌃⌥K'], 'no error clears the last one');
  });

  test(`hostile text arrives as text; odd details break nothing; the log shows the newest ${LOG_LIMIT}`, () => {
    const { send, text, $, record } = startPage();
    send({ type: 'status', error: HOSTILE, shortcut: HOSTILE });
    assert.deepEqual([text('status-error'), text('status-shortcut')], [HOSTILE, HOSTILE]);
    const json = $('event-log').children[0].children[1].textContent;
    assert.ok(json.includes('\\u2028') && !json.includes('\u2028'), 'U+2028 escaped');
    assert.deepEqual(JSON.parse(json), { type: 'status', error: HOSTILE, shortcut: HOSTILE });
    for (const odd of [null, undefined, 'text', [1, 2], { type: 7 }]) send(odd);
    assert.ok($('event-log').children.slice(0, 5).every((entry) => entry.children[0].children[1].textContent === '(no type)'));
    for (let index = 0; index < LOG_LIMIT; index += 1) send({ type: 'tick', index });
    assert.equal($('event-log').childElementCount, LOG_LIMIT);
    assert.equal(text('event-count'), String(LOG_LIMIT + 6));
    assert.equal(record.events.length, LOG_LIMIT + 6, 'the record keeps everything');
  });

  test('each control posts the body the host accepts', () => {
    const { $, posted, text } = startPage();
    const nonce = $('auth-nonce').value;
    assert.match(nonce, /^[A-Za-z0-9_-]{43}$/);
    const rows = [
      ['action-capture', {}, { action: 'capture' }, 'an action without fields'],
      ['action-returnToReading', {}, { action: 'returnToReading' }, 'an empty optional field is left out'],
      ['action-returnToReading', { 'action-returnToReading-measurementId': 'm-1' }, { action: 'returnToReading', measurementId: 'm-1' }, 'a filled one goes'],
      ['action-openAuthBrowser', {}, { action: 'openAuthBrowser', url: 'https://auth.brisel.app/#desktop-connect=console' }, 'the sign-in page by default'],
      ['auth-apple', {}, { action: 'authenticate', provider: 'apple.com', requestId: 'UUID', nonce }, 'Apple with its nonce'],
      ['auth-google', {}, { action: 'authenticate', provider: 'google.com', requestId: 'UUID' }, 'Google without'],
      ['auth-apple', { 'auth-nonce': '', 'auth-request-id': 'abc' }, { action: 'authenticate', provider: 'apple.com', requestId: 'abc' }, 'the id typed in, no nonce'],
      ['auth-cancel', {}, { action: 'cancelAuth', requestId: 'abc' }, 'cancels the last request'],
      ['auth-sign-out', {}, { action: 'nativeSignOut' }, 'sign-out'],
      ['rc-send', {}, { action: 'readingControls', visible: true, controlId: 'console-note-1', draft: true, pending: false, saving: false, returningAfterSave: false, saveAttempt: 0 }, 'exactly the eight keys'],
      ['rc-next-attempt', { 'rc-saving': true }, { action: 'readingControls', visible: true, controlId: 'console-note-1', draft: true, pending: false, saving: true, returningAfterSave: false, saveAttempt: 1 }, 'the next attempt, a whole number'],
      ['rc-hide', {}, { action: 'readingControls', visible: false, controlId: 'console-note-1', draft: true, pending: false, saving: true, returningAfterSave: false, saveAttempt: 1 }, 'hiding still sends all eight'],
      ['rc-send', { 'rc-save-attempt': 'two' }, undefined, 'an attempt that is no number is not sent'],
    ];
    for (const [id, fields, body, why] of rows) {
      for (const [field, value] of Object.entries(fields)) $(field)[typeof value === 'boolean' ? 'checked' : 'value'] = value;
      const before = posted.length;
      $(id).click();
      const sent = posted.slice(before).map((message) => (UUID_PATTERN.test(message.requestId) ? { ...message, requestId: 'UUID' } : message));
      assert.deepEqual(sent, body ? [body] : [], `${id}: ${why}`);
      if (body) assert.deepEqual(Object.keys(sent[0]), Object.keys(body), `${id}: key order`);
    }
    assert.match(text('rc-note'), /saveAttempt/);
    assert.equal(text('sent-count'), String(posted.length));
  });

  test('export: the archive request, its result, a refused archive and cancel', () => {
    const { $, posted, text } = startPage();
    $('export-send').click();
    const request = posted.at(-1);
    assert.deepEqual(Object.keys(request), ['action', 'requestId', 'filename', 'base64']);
    assert.deepEqual([request.action, request.filename], ['exportMarkdown', 'Brisel-20250506T070809Z.zip']);
    assert.match(request.requestId, UUID_PATTERN);
    const archive = Buffer.from(request.base64, 'base64');
    assert.equal(archive.toString('base64'), request.base64, 'standard base64, padded, no line breaks');
    assert.deepEqual([text('export-file-name'), text('export-archive-bytes'), text('export-request-id')], [request.filename, String(archive.length), request.requestId]);
    assert.equal(archive.readUInt32LE(archive.length - 22), 0x06054b50);
    $('export-send-commented').click();
    const commented = Buffer.from(posted.at(-1).base64, 'base64');
    assert.notEqual(commented.readUInt32LE(commented.length - 22), 0x06054b50, 'the end record is not the last 22 bytes');
    $('export-cancel').click();
    assert.deepEqual(posted.at(-1), { action: 'cancelMarkdownExport', requestId: posted.at(-2).requestId });
  });

  test('the error buttons raise a TypeError from a timer and an unhandled RangeError', () => {
    const timers = [];
    const rejections = [];
    class RecordingPromise {
      constructor(executor) { executor(() => {}, (reason) => rejections.push(reason)); }
    }
    const { $ } = startPage({ ...NATIVE_FLAGS, setTimeout: (callback) => timers.push(callback), Promise: RecordingPromise });
    $('error-throw').click();
    assert.throws(timers[0], TypeError);
    $('error-reject').click();
    assert.ok(rejections[0] instanceof RangeError);
  });

  test('every control has its own id, and no script of the page parses HTML or evaluates text', async () => {
    const nodes = [...startPage().root.walk()];
    const ids = nodes.map((node) => node.id).filter(Boolean);
    assert.equal(new Set(ids).size, ids.length);
    for (const node of nodes.filter((n) => n.tagName === 'BUTTON' || n.tagName === 'INPUT')) assert.ok(node.id, node.tagName);
    assert.ok(nodes.filter((node) => node.tagName === 'BUTTON').every((node) => node.getAttribute('type') === 'button'));
    const folder = path.join(SERVER_DIR, 'console');
    for (const file of (await readdir(folder)).filter((name) => name.endsWith('.js'))) {
      assert.doesNotMatch(await readFile(path.join(folder, file), 'utf8'), /innerHTML|outerHTML|insertAdjacentHTML|document\.write|\beval\(|new Function|style\s*=/, file);
    }
  });
});
