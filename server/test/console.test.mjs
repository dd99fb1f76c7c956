// The console page script, in node: its helpers directly, and the whole page against a small
// fake DOM that refuses any HTML parsing, so text can only ever arrive as text.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import path from 'node:path';
import { describe, test } from 'node:test';
import {
  LOG_LIMIT, NATIVE_EVENT, eventRow, eventType, fieldText, flagText, formatTime, hostRows, hostSummary,
  jsonText, startConsole, summariseStatus,
} from '../console/console.js';
import { SERVER_DIR } from './harness.mjs';

const ALLOWED_TAGS = new Set(['HEADER', 'SECTION', 'H1', 'H2', 'P', 'DIV', 'SPAN', 'TABLE', 'TBODY', 'TR', 'TH', 'TD', 'UL', 'LI', 'PRE']);
const refuse = (what) => () => { throw new Error(`${what} is not allowed in the console page`); };

class FakeElement {
  #text = '';
  constructor(tagName) {
    this.tagName = tagName.toUpperCase();
    this.children = [];
    this.parentElement = null;
    this.className = '';
    this.attributes = new Map();
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
  *walk() {
    yield this;
    for (const child of this.children) yield* child.walk();
  }
  all(className) { return [...this.walk()].filter((node) => node.className.split(' ').includes(className)); }
  tagged(tagName) { return [...this.walk()].filter((node) => node.tagName === tagName); }
  one(className) {
    const found = this.all(className);
    assert.equal(found.length, 1, `exactly one .${className}`);
    return found[0];
  }
}

function fakePage(flags = {}, { time = new Date(2025, 4, 6, 7, 8, 9, 10) } = {}) {
  const body = new FakeElement('body');
  const root = new FakeElement('div');
  root.setAttribute('id', 'root');
  body.append(root);
  const document = {
    createElement(tag) {
      assert.ok(ALLOWED_TAGS.has(tag.toUpperCase()), `unexpected <${tag}>`);
      return new FakeElement(tag);
    },
    getElementById: (id) => [...body.walk()].find((node) => node.id === id) ?? null,
    write: refuse('document.write'),
  };
  const window = Object.assign(new EventTarget(), flags, { document });
  const send = (detail) => {
    if (detail?.type !== 'selection') window.__omvaneLastNative = detail;
    window.dispatchEvent(new CustomEvent(NATIVE_EVENT, { detail }));
  };
  const started = startConsole(window, document, { now: () => time });
  return { window, document, root, send, started };
}

const NATIVE_FLAGS = {
  omvaneNative: true,
  briselNativeAuth: true,
  briselNativePlatform: 'macos',
  briselNativeReadingControls: true,
  briselNativeExport: true,
  briselNativeShortcuts: true,
  webkit: { messageHandlers: { omvane: { postMessage() {} } } },
};

const HOSTILE = 'a "quote", a \\ backslash, a\u2028line, </script><script>alert(1)</script><img src=x onerror=alert(2)>';

describe('console helpers', () => {
  test('host summary follows window.omvaneNative === true only', () => {
    assert.equal(hostSummary({ omvaneNative: true }), 'ネイティブホスト内で動作中');
    assert.equal(hostSummary({}), 'ブラウザで表示中（ネイティブホストなし）');
    assert.equal(hostSummary({ omvaneNative: 'true' }), 'ブラウザで表示中（ネイティブホストなし）');
    assert.equal(hostSummary({ omvaneNative: 1 }), 'ブラウザで表示中（ネイティブホストなし）');
  });

  test('host rows show every flag as a literal and the message channel', () => {
    assert.deepEqual(hostRows(NATIVE_FLAGS), [
      ['window.omvaneNative', 'true'],
      ['window.briselNativeAuth', 'true'],
      ['window.briselNativePlatform', '"macos"'],
      ['window.briselNativeReadingControls', 'true'],
      ['window.briselNativeExport', 'true'],
      ['window.briselNativeShortcuts', 'true'],
      ['webkit.messageHandlers.omvane', 'available'],
    ]);
    const browser = hostRows({});
    assert.ok(browser.slice(0, 6).every(([, value]) => value === 'undefined'));
    assert.deepEqual(browser[6], ['webkit.messageHandlers.omvane', 'missing']);
    assert.equal(hostRows({ webkit: { messageHandlers: {} } })[6][1], 'missing');
    const throwing = { get webkit() { throw new Error('no'); } };
    assert.equal(hostRows(throwing)[6][1], 'missing');
  });

  test('a status summary puts the error apart and keeps field order', () => {
    const status = { type: 'status', accessibility: false, shortcut: '⌥⌘K', shortcuts: { capture: '⌥⌘K' }, error: 'no access' };
    assert.deepEqual(summariseStatus(status), {
      error: 'no access',
      rows: [['accessibility', 'false'], ['shortcut', '⌥⌘K'], ['shortcuts', '{"capture":"⌥⌘K"}']],
    });
    assert.equal(summariseStatus({ type: 'status', error: '' }).error, null);
    assert.equal(summariseStatus({ type: 'status', error: null }).error, null);
    assert.equal(summariseStatus({ type: 'status', error: { code: 3 } }).error, '{"code":3}');
  });

  test('event rows: time, type and JSON', () => {
    const at = new Date(2024, 0, 2, 3, 4, 5, 6);
    assert.equal(formatTime(at), '03:04:05.006');
    assert.deepEqual(eventRow({ type: 'status', ok: true }, at),
      { time: '03:04:05.006', type: 'status', json: '{"type":"status","ok":true}', early: false });
    assert.equal(eventRow({ type: 'status' }, at, true).time, '起動前');
    for (const odd of [null, 'text', 42, [1], {}, { type: 7 }]) assert.equal(eventType(odd), '(no type)');
  });

  test('JSON text shows U+2028 and U+2029 as escapes and survives what JSON cannot hold', () => {
    assert.equal(jsonText({ text: 'a\u2028b\u2029c' }), '{"text":"a\\u2028b\\u2029c"}');
    assert.equal(JSON.parse(jsonText({ text: 'a\u2028b' })).text, 'a\u2028b');
    const cyclic = {};
    cyclic.self = cyclic;
    assert.equal(typeof jsonText(cyclic), 'string');
    assert.equal(jsonText(10n), '10');
    assert.equal(jsonText(undefined), 'undefined');
    assert.equal(flagText(undefined), 'undefined');
    assert.equal(fieldText('plain'), 'plain');
    assert.equal(flagText('plain'), '"plain"');
  });
});

describe('console page in a fake DOM', () => {
  test('in a browser it fills #root and says there is no native host', () => {
    const { root, started } = fakePage();
    assert.equal(started, true);
    assert.ok(root.childElementCount > 0);
    assert.equal(root.one('host-line').textContent, 'ブラウザで表示中（ネイティブホストなし）');
    assert.match(root.one('host').textContent, /webkit\.messageHandlers\.omvanemissing/);
    assert.equal(root.one('count').textContent, '0');
    assert.equal(root.one('event-log').childElementCount, 0);
  });

  test('inside the host it shows the flags the host injected', () => {
    const { root } = fakePage({ ...NATIVE_FLAGS, briselNativePlatform: 'linux' });
    assert.equal(root.one('host-line').textContent, 'ネイティブホスト内で動作中');
    assert.equal(root.one('host-line').className, 'host-line native');
    const cells = root.one('host').tagged('TR')
      .map((row) => row.children.map((cell) => cell.textContent));
    assert.deepEqual(cells, hostRows({ ...NATIVE_FLAGS, briselNativePlatform: 'linux' }));
    assert.ok(cells.some(([name, value]) => name === 'window.briselNativePlatform' && value === '"linux"'));
  });

  test('a page without #root does nothing', () => {
    const window = new EventTarget();
    const document = { getElementById: () => null };
    assert.equal(startConsole(window, document), false);
  });

  test('the last event the host left before the page listened is shown', () => {
    const { root } = fakePage({
      ...NATIVE_FLAGS,
      __omvaneLastNative: { type: 'status', accessibility: false, shortcut: '⌥⌘K', error: 'アクセシビリティの許可がありません' },
    });
    assert.equal(root.one('error').textContent, 'アクセシビリティの許可がありません');
    assert.equal(root.one('count').textContent, '1');
    const entry = root.one('event-log').children[0];
    assert.equal(entry.className, 'event early');
    assert.equal(entry.one('event-time').textContent, '起動前');
    assert.equal(entry.one('event-type').textContent, 'status');
  });

  test('every native event is logged, newest first; the status panel follows the last status', () => {
    const { root, send } = fakePage(NATIVE_FLAGS);
    assert.match(root.one('status-body').textContent, /まだありません/);

    send({ type: 'status', accessibility: false, shortcut: '⌥⌘K', shortcuts: { capture: '⌥⌘K' }, error: 'denied' });
    send({ type: 'selection', text: 'a passage' });
    send({ type: 'shortcut-changed', shortcut: '⌃⌥K' });

    const log = root.one('event-log');
    assert.equal(root.one('count').textContent, '3');
    assert.deepEqual(log.children.map((entry) => entry.one('event-type').textContent), ['shortcut-changed', 'selection', 'status']);
    assert.ok(log.children.every((entry) => entry.one('event-time').textContent === '07:08:09.010'));
    assert.equal(log.children[1].one('event-json').textContent, '{"type":"selection","text":"a passage"}');

    const error = root.one('error');
    assert.equal(error.textContent, 'denied');
    assert.equal(error.getAttribute('role'), 'alert');
    const rows = root.one('status').tagged('TR').map((row) => row.children.map((cell) => cell.textContent));
    assert.deepEqual(rows, [['accessibility', 'false'], ['shortcut', '⌥⌘K'], ['shortcuts', '{"capture":"⌥⌘K"}']]);

    send({ type: 'status', accessibility: true });
    assert.equal(root.all('error').length, 0, 'a status without an error clears it');
    assert.match(root.one('status-body').textContent, /accessibilitytrue/);
  });

  test('hostile text reaches the page as text, unchanged', () => {
    const { root, send } = fakePage(NATIVE_FLAGS);
    send({ type: 'status', error: HOSTILE, note: HOSTILE });
    assert.equal(root.one('error').textContent, HOSTILE);
    const note = root.one('status').tagged('TD')[0];
    assert.equal(note.textContent, HOSTILE);
    const json = root.one('event-json').textContent;
    assert.ok(json.includes('</script><script>alert(1)</script>'));
    assert.ok(json.includes('\\u2028') && !json.includes('\u2028'));
    assert.deepEqual(JSON.parse(json), { type: 'status', error: HOSTILE, note: HOSTILE });
  });

  test('odd details are logged without breaking the page', () => {
    const { root, send } = fakePage(NATIVE_FLAGS);
    for (const odd of [null, undefined, 'text', [1, 2], { type: 7 }]) send(odd);
    assert.equal(root.one('count').textContent, '5');
    assert.ok(root.one('event-log').children.every((entry) => entry.one('event-type').textContent === '(no type)'));
    assert.match(root.one('status-body').textContent, /まだありません/);
  });

  test(`the log keeps the newest ${LOG_LIMIT} events`, () => {
    const { root, send } = fakePage(NATIVE_FLAGS);
    for (let index = 0; index < LOG_LIMIT + 5; index += 1) send({ type: 'tick', index });
    const log = root.one('event-log');
    assert.equal(log.childElementCount, LOG_LIMIT);
    assert.equal(root.one('count').textContent, String(LOG_LIMIT + 5));
    assert.equal(JSON.parse(log.children[0].one('event-json').textContent).index, LOG_LIMIT + 4);
    assert.equal(JSON.parse(log.lastElementChild.one('event-json').textContent).index, 5);
  });

  test('the script never parses HTML or evaluates text', async () => {
    const source = await readFile(path.join(SERVER_DIR, 'console/console.js'), 'utf8');
    assert.doesNotMatch(source, /innerHTML|outerHTML|insertAdjacentHTML|document\.write|\beval\(|new Function/);
  });
});
