// The console page in node: its helpers directly, and the whole page against a small fake DOM
// that refuses any HTML parsing, so text can only ever arrive as text. The page's controls are
// clicked by id, as the end-to-end test in the native shell does.
import assert from 'node:assert/strict';
import { readdir, readFile } from 'node:fs/promises';
import path from 'node:path';
import { describe, test } from 'node:test';
import { startConsole } from '../console/console.js';
import { formatTime, jsonText } from '../console/format.js';
import {
  AUTH_RESULT_EVENT, EXPORT_RESULT_EVENT, NATIVE_EVENT, eventRow, hostRows, hostSummary, summariseStatus,
} from '../console/native.js';
import { LOG_LIMIT } from '../console/panels-state.js';
import { UUID_PATTERN } from '../console/messages.js';
import { SERVER_DIR } from './harness.mjs';

const ALLOWED_TAGS = new Set(['HEADER', 'SECTION', 'H1', 'H2', 'P', 'DIV', 'SPAN', 'TABLE', 'THEAD', 'TBODY', 'TR',
  'TH', 'TD', 'UL', 'LI', 'PRE', 'BUTTON', 'INPUT', 'LABEL']);
const refuse = (what) => () => { throw new Error(`${what} is not allowed in the console page`); };

class FakeElement extends EventTarget {
  #text = '';
  constructor(tagName) {
    super();
    this.tagName = tagName.toUpperCase();
    this.children = [];
    this.parentElement = null;
    this.className = '';
    this.attributes = new Map();
    this.hidden = false;
    this.value = '';
    this.checked = false;
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
  get innerHTML() { return refuse('innerHTML')(); }
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
    if (!this.parentElement) return;
    const siblings = this.parentElement.children;
    siblings.splice(siblings.indexOf(this), 1);
    this.parentElement = null;
  }
  setAttribute(name, value) { this.attributes.set(name, String(value)); }
  getAttribute(name) { return this.attributes.get(name) ?? null; }
  click() { this.dispatchEvent(new Event('click')); }
  *walk() {
    yield this;
    for (const child of this.children) yield* child.walk();
  }
  tagged(tagName) { return [...this.walk()].filter((node) => node.tagName === tagName); }
}

// Bytes 0, 1, 2, ... so ids and nonces are predictable.
function countingRandom() {
  let next = 0;
  return (length) => Uint8Array.from({ length }, () => (next++) & 0xff);
}

const TIME = new Date(Date.UTC(2025, 4, 6, 7, 8, 9, 10));

function fakePage(flags = {}) {
  const body = new FakeElement('body');
  const root = new FakeElement('div');
  root.setAttribute('id', 'root');
  body.append(root);
  const byId = (id) => [...body.walk()].find((node) => node.id === id) ?? null;
  const document = {
    createElement(tag) {
      assert.ok(ALLOWED_TAGS.has(tag.toUpperCase()), `unexpected <${tag}>`);
      return new FakeElement(tag);
    },
    getElementById: byId,
    write: refuse('document.write'),
  };
  const window = Object.assign(new EventTarget(), flags, { document });
  const send = (detail, name = NATIVE_EVENT) => {
    if (name === NATIVE_EVENT && detail?.type !== 'selection') window.__omvaneLastNative = detail;
    window.dispatchEvent(new CustomEvent(name, { detail }));
  };
  const started = startConsole(window, document, { now: () => TIME, random: countingRandom() });
  const $ = (id) => {
    const node = byId(id);
    assert.ok(node, `#${id} exists`);
    return node;
  };
  const text = (id) => $(id).textContent;
  return { window, root, send, started, $, text, record: window.briselConsole };
}

function nativePage(extra = {}) {
  const posted = [];
  const page = fakePage({
    ...NATIVE_FLAGS,
    webkit: { messageHandlers: { omvane: { postMessage: (body) => posted.push(structuredClone(body)) } } },
    ...extra,
  });
  return { ...page, posted };
}

const NATIVE_FLAGS = {
  omvaneNative: true,
  briselNativeAuth: true,
  briselNativePlatform: 'linux',
  briselNativeReadingControls: true,
  briselNativeExport: true,
  briselNativeShortcuts: true,
};

const binding = (code, key, label, meta, alt, ctrl, shift) => ({ code, key, label, meta, alt, ctrl, shift });
const SHORTCUTS = {
  capture: binding('KeyK', 'k', '⌥⌘K', true, true, false, false),
  saveAndReturn: binding('Enter', 'Enter', '⌘Enter', true, false, false, false),
  returnToReading: binding('Escape', 'Escape', 'Esc', false, false, false, false),
};

const HOSTILE = 'a "quote", a \\ backslash, a\u2028line, </script><script>alert(1)</script><img src=x onerror=alert(2)>';

describe('console helpers', () => {
  test('host summary and flag rows follow what the host set, literally', () => {
    assert.equal(hostSummary({ omvaneNative: true }), 'ネイティブホスト内で動作中');
    for (const odd of [{}, { omvaneNative: 'true' }, { omvaneNative: 1 }]) {
      assert.equal(hostSummary(odd), 'ブラウザで表示中（ネイティブホストなし）');
    }
    const rows = hostRows({ ...NATIVE_FLAGS, webkit: { messageHandlers: { omvane: { postMessage() {} } } } });
    assert.deepEqual(rows.slice(2, 3), [['window.briselNativePlatform', '"linux"']]);
    assert.deepEqual(rows.at(-1), ['webkit.messageHandlers.omvane', 'available']);
    assert.ok(hostRows({}).slice(0, 6).every(([, value]) => value === 'undefined'));
    assert.equal(hostRows({ get webkit() { throw new Error('no'); } }).at(-1)[1], 'missing');
  });

  test('a status summary: error apart, the three bindings as rows, other fields kept', () => {
    const summary = summariseStatus({ type: 'status', accessibility: false, shortcut: '⌥⌘K', shortcuts: SHORTCUTS, error: 'no access', extra: 1 });
    assert.equal(summary.error, 'no access');
    assert.equal(summary.accessibility, 'false');
    assert.equal(summary.shortcut, '⌥⌘K');
    assert.deepEqual(summary.shortcuts.map((row) => [row.action, row.label, row.code, row.key, row.modifiers]), [
      ['capture', '⌥⌘K', 'KeyK', '"k"', 'meta alt'],
      ['saveAndReturn', '⌘Enter', 'Enter', '"Enter"', 'meta'],
      ['returnToReading', 'Esc', 'Escape', '"Escape"', ''],
    ]);
    assert.deepEqual(summary.other, [['extra', '1']]);
    for (const none of ['', null, undefined]) assert.equal(summariseStatus({ type: 'status', error: none }).error, null);
    assert.deepEqual(summariseStatus({ type: 'status', shortcuts: 'odd' }).shortcuts, []);
  });

  test('log rows: native events by type, results by name, tokens only by length', () => {
    const at = new Date(2024, 0, 2, 3, 4, 5, 6);
    assert.deepEqual(eventRow({ name: NATIVE_EVENT, detail: { type: 'captureStarted' }, early: false }, at),
      { time: '03:04:05.006', type: 'captureStarted', json: '{"type":"captureStarted"}', early: false });
    assert.equal(eventRow({ name: NATIVE_EVENT, detail: null, early: true }, at).time, '起動前');
    const auth = eventRow({ name: AUTH_RESULT_EVENT, detail: { requestId: 'r', provider: 'google.com', idToken: 'secret', accessToken: 'xy' } }, at);
    assert.equal(auth.type, AUTH_RESULT_EVENT);
    assert.equal(auth.json, '{"requestId":"r","provider":"google.com","idToken":"(6 chars)","accessToken":"(2 chars)"}');
    assert.equal(jsonText({ text: 'a\u2028b' }), '{"text":"a\\u2028b"}');
    const cyclic = {};
    cyclic.self = cyclic;
    assert.equal(typeof jsonText(cyclic), 'string');
  });
});

describe('console page in a fake DOM', () => {
  test('in a browser it fills #root, says there is no host, and posts nothing', () => {
    const { root, started, text, $, record } = fakePage();
    assert.equal(started, true);
    assert.ok(root.childElementCount > 0);
    assert.equal(text('host-summary'), 'ブラウザで表示中（ネイティブホストなし）');
    assert.equal(text('flag-messageChannel'), 'missing');
    assert.equal(text('event-count'), '0');
    $('action-capture').click();
    assert.deepEqual(record.sent, [{ body: { action: 'capture' }, delivered: false }]);
    assert.equal(record.post({ action: 'quit' }), false);
    assert.match(text('sent-channel'), /送信されていません/);
  });

  test('a page without #root does nothing', () => {
    assert.equal(startConsole(new EventTarget(), { getElementById: () => null }), false);
  });

  test('inside the host it shows every injected flag by id', () => {
    const { text } = nativePage();
    assert.equal(text('host-summary'), 'ネイティブホスト内で動作中');
    assert.equal(text('flag-briselNativePlatform'), '"linux"');
    for (const flag of ['omvaneNative', 'briselNativeAuth', 'briselNativeReadingControls', 'briselNativeExport', 'briselNativeShortcuts']) {
      assert.equal(text(`flag-${flag}`), 'true', flag);
    }
    assert.equal(text('flag-messageChannel'), 'available');
  });

  test('the event the host left before the page listened is shown and recorded as early', () => {
    const early = { type: 'status', accessibility: false, shortcut: '⌥⌘K', shortcuts: SHORTCUTS, error: 'アクセシビリティの許可がありません' };
    const { text, $, record } = nativePage({ __omvaneLastNative: early });
    assert.equal(text('status-error'), early.error);
    assert.equal(text('event-count'), '1');
    assert.equal($('event-log').children[0].className, 'event early');
    assert.deepEqual(record.events, [{ name: NATIVE_EVENT, detail: early, early: true }]);
  });

  test('native events, auth and export results are logged and recorded in order', () => {
    const { send, text, $, record } = nativePage();
    send({ type: 'status', accessibility: false, shortcut: '⌥⌘K', shortcuts: SHORTCUTS, error: 'denied' });
    send({ type: 'selection', text: 'a passage' });
    send({ requestId: 'r1', provider: 'apple.com', error: 'cancelled' }, AUTH_RESULT_EVENT);
    send({ requestId: 'r2', status: 'saved' }, EXPORT_RESULT_EVENT);
    assert.deepEqual(record.events.map(({ name, detail }) => [name, detail.type ?? detail.requestId]),
      [[NATIVE_EVENT, 'status'], [NATIVE_EVENT, 'selection'], [AUTH_RESULT_EVENT, 'r1'], [EXPORT_RESULT_EVENT, 'r2']]);
    assert.equal(text('event-count'), '4');
    assert.deepEqual($('event-log').children.map((entry) => entry.children[0].children[1].textContent),
      [EXPORT_RESULT_EVENT, AUTH_RESULT_EVENT, 'selection', 'status']);
    assert.equal($('event-log').children[0].children[0].children[0].textContent, formatTime(TIME));

    assert.equal(text('status-error'), 'denied');
    assert.equal($('status-error').hidden, false);
    assert.equal($('status-error').getAttribute('role'), 'alert');
    assert.equal(text('status-accessibility'), 'false');
    assert.equal(text('status-shortcut'), '⌥⌘K');
    assert.deepEqual($('status-shortcuts').tagged('TR').slice(1).map((row) => row.children.map((cell) => cell.textContent)), [
      ['capture', '⌥⌘K', 'KeyK', '"k"', 'meta alt'],
      ['saveAndReturn', '⌘Enter', 'Enter', '"Enter"', 'meta'],
      ['returnToReading', 'Esc', 'Escape', '"Escape"', ''],
    ]);
    assert.equal(text('auth-result'), '{"requestId":"r1","provider":"apple.com","error":"cancelled"}');
    assert.equal(text('export-result'), '{"requestId":"r2","status":"saved"}');

    send({ type: 'status', accessibility: true, shortcut: '⌃⌥K' });
    assert.equal($('status-error').hidden, true, 'a status without an error clears it');
    assert.equal(text('status-shortcut'), '⌃⌥K');
  });

  test('hostile text reaches the page as text, unchanged', () => {
    const { send, text, $ } = nativePage();
    send({ type: 'status', error: HOSTILE, shortcut: HOSTILE });
    assert.equal(text('status-error'), HOSTILE);
    assert.equal(text('status-shortcut'), HOSTILE);
    const json = $('event-log').children[0].children[1].textContent;
    assert.ok(json.includes('</script><script>alert(1)</script>') && json.includes('\\u2028') && !json.includes('\u2028'));
    assert.deepEqual(JSON.parse(json), { type: 'status', error: HOSTILE, shortcut: HOSTILE });
  });

  test(`odd details do not break the page; the log shows the newest ${LOG_LIMIT}`, () => {
    const { send, text, $, record } = nativePage();
    for (const odd of [null, undefined, 'text', [1, 2], { type: 7 }]) send(odd);
    assert.ok($('event-log').children.every((entry) => entry.children[0].children[1].textContent === '(no type)'));
    for (let index = 0; index < LOG_LIMIT; index += 1) send({ type: 'tick', index });
    assert.equal($('event-log').childElementCount, LOG_LIMIT);
    assert.equal(text('event-count'), String(LOG_LIMIT + 5));
    assert.equal(record.events.length, LOG_LIMIT + 5, 'the record keeps everything');
    assert.equal(text('status-accessibility'), '—');
  });

  test('every page action has a button, and its fields go with it', () => {
    const { $, posted, text } = nativePage();
    const simple = ['desktopSignedIn', 'capture', 'openSettings', 'returnToReading', 'returnAfterSave',
      'openAccessibilitySettings', 'expandMap', 'compactMap', 'openDictionary', 'quit'];
    for (const action of simple) $(`action-${action}`).click();
    assert.deepEqual(posted, simple.map((action) => ({ action })), 'empty optional fields are left out');

    posted.length = 0;
    $('action-returnToReading-measurementId').value = 'm-1';
    $('action-returnToReading').click();
    $('action-returnAfterSave-measurementId').value = 'm-2';
    $('action-returnAfterSave').click();
    $('action-openAuthBrowser').click();
    $('action-openBilling-url').value = 'https://checkout.stripe.com/c/pay';
    $('action-openBilling').click();
    assert.deepEqual(posted, [
      { action: 'returnToReading', measurementId: 'm-1' },
      { action: 'returnAfterSave', measurementId: 'm-2' },
      { action: 'openAuthBrowser', url: 'https://auth.brisel.app/#desktop-connect=console' },
      { action: 'openBilling', url: 'https://checkout.stripe.com/c/pay' },
    ]);
    assert.equal(text('sent-count'), '14');
    assert.equal(text('sent-last'), JSON.stringify(posted.at(-1)));
  });

  test('sign-in: both providers, a fresh UUID each time, the Apple nonce, cancel and sign-out', () => {
    const { $, posted, text, send, record } = nativePage();
    const nonce = $('auth-nonce').value;
    assert.match(nonce, /^[A-Za-z0-9_-]{43}$/);
    $('auth-apple').click();
    $('auth-google').click();
    $('auth-cancel').click();
    $('auth-sign-out').click();
    const [apple, google, cancel, signOut] = posted;
    assert.deepEqual(Object.keys(apple), ['action', 'provider', 'requestId', 'nonce']);
    assert.deepEqual({ ...apple, requestId: 'id' }, { action: 'authenticate', provider: 'apple.com', requestId: 'id', nonce });
    assert.deepEqual({ ...google, requestId: 'id' }, { action: 'authenticate', provider: 'google.com', requestId: 'id' });
    assert.match(apple.requestId, UUID_PATTERN);
    assert.match(google.requestId, UUID_PATTERN);
    assert.notEqual(apple.requestId, google.requestId);
    assert.deepEqual(cancel, { action: 'cancelAuth', requestId: google.requestId });
    assert.deepEqual(signOut, { action: 'nativeSignOut' });
    assert.equal(text('auth-last-request-id'), google.requestId);

    $('auth-nonce-new').click();
    assert.notEqual($('auth-nonce').value, nonce);
    $('auth-nonce').value = '';
    $('auth-request-id').value = 'abc';
    $('auth-apple').click();
    assert.deepEqual(posted.at(-1), { action: 'authenticate', provider: 'apple.com', requestId: 'abc' });

    const success = { requestId: google.requestId, provider: 'google.com', idToken: 'id-token', accessToken: 'access' };
    send(success, AUTH_RESULT_EVENT);
    assert.equal(text('auth-result'), jsonText({ ...success, idToken: '(8 chars)', accessToken: '(6 chars)' }));
    assert.deepEqual(record.events.at(-1).detail, success, 'the record keeps the tokens');
  });

  test('reading controls: the eight keys, whole-number attempts, hide, and the actions received', () => {
    const { $, posted, text, send } = nativePage();
    $('rc-send').click();
    assert.deepEqual(posted.at(-1), {
      action: 'readingControls', visible: true, controlId: 'console-note-1', draft: true, pending: false,
      saving: false, returningAfterSave: false, saveAttempt: 0,
    });
    $('rc-saving').checked = true;
    $('rc-returning-after-save').checked = true;
    $('rc-next-attempt').click();
    assert.equal($('rc-save-attempt').value, '1');
    assert.deepEqual([posted.at(-1).saving, posted.at(-1).returningAfterSave, posted.at(-1).saveAttempt], [true, true, 1]);
    $('rc-hide').click();
    assert.equal(posted.at(-1).visible, false);
    assert.equal(Object.keys(posted.at(-1)).length, 8);
    assert.equal($('rc-visible').checked, true, 'hiding once leaves the form as it was');

    const before = posted.length;
    $('rc-save-attempt').value = 'two';
    $('rc-send').click();
    assert.equal(posted.length, before, 'an attempt that is no number is not sent');
    assert.match(text('rc-note'), /saveAttempt/);

    send({ type: 'saveAndReturnRequested', controlId: 'console-note-1' });
    send({ type: 'captureStarted' });
    send({ type: 'returnRequested', controlId: 'console-note-1' });
    assert.equal(text('rc-action-count'), '2');
    assert.equal(text('rc-last-action'), '{"type":"returnRequested","controlId":"console-note-1"}');
  });

  test('export: the request the host accepts, its result, a refused archive, and cancel', () => {
    const { $, posted, text, send } = nativePage();
    $('export-send').click();
    const request = posted.at(-1);
    assert.deepEqual(Object.keys(request), ['action', 'requestId', 'filename', 'base64']);
    assert.equal(request.action, 'exportMarkdown');
    assert.match(request.requestId, UUID_PATTERN);
    assert.equal(request.filename, 'Brisel-20250506T070809Z.zip');
    const archive = Buffer.from(request.base64, 'base64');
    assert.equal(text('export-file-name'), request.filename);
    assert.equal(text('export-archive-bytes'), String(archive.length));
    assert.equal(text('export-base64-length'), String(request.base64.length));
    assert.equal(text('export-request-id'), request.requestId);
    assert.equal(archive.readUInt32LE(archive.length - 22), 0x06054b50);

    send({ requestId: request.requestId, status: 'canceled' }, EXPORT_RESULT_EVENT);
    assert.equal(text('export-result'), `{"requestId":"${request.requestId}","status":"canceled"}`);

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
    const { $ } = nativePage({ setTimeout: (callback) => timers.push(callback), Promise: RecordingPromise });
    $('error-throw').click();
    assert.equal(timers.length, 1);
    assert.throws(timers[0], TypeError);
    $('error-reject').click();
    assert.ok(rejections[0] instanceof RangeError);
  });

  test('control ids are unique and every button and field has one', () => {
    const { root } = nativePage();
    const nodes = [...root.walk()];
    const ids = nodes.map((node) => node.id).filter(Boolean);
    assert.equal(new Set(ids).size, ids.length);
    for (const node of nodes.filter((n) => n.tagName === 'BUTTON' || n.tagName === 'INPUT')) {
      assert.ok(node.id, `a <${node.tagName.toLowerCase()}> without an id`);
    }
    assert.ok(nodes.filter((node) => node.tagName === 'BUTTON').every((node) => node.getAttribute('type') === 'button'));
  });

  test('no script of the page parses HTML or evaluates text', async () => {
    const folder = path.join(SERVER_DIR, 'console');
    for (const file of (await readdir(folder)).filter((name) => name.endsWith('.js'))) {
      const source = await readFile(path.join(folder, file), 'utf8');
      assert.doesNotMatch(source, /innerHTML|outerHTML|insertAdjacentHTML|document\.write|\beval\(|new Function|style\s*=/, file);
    }
  });
});
