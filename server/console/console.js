// The bridge console: what the native host injected into this page and every event it has
// delivered since. The helpers are exported so node can test them without a browser; the page
// starts itself only where there is a document.
//
// Text from the host goes into the DOM through textContent only: it can hold quotes,
// backslashes, U+2028 or "</script>".

export const NATIVE_EVENT = 'omvane:native';
export const LOG_LIMIT = 200;

// Set by the host at document start, before any page script runs.
export const HOST_FLAGS = [
  'omvaneNative',
  'briselNativeAuth',
  'briselNativePlatform',
  'briselNativeReadingControls',
  'briselNativeExport',
  'briselNativeShortcuts',
];

export const isObject = (value) =>
  value !== null && typeof value === 'object' && !Array.isArray(value);

export function runsInNativeHost(win) {
  return win.omvaneNative === true;
}

export function hostSummary(win) {
  return runsInNativeHost(win) ? 'ネイティブホスト内で動作中' : 'ブラウザで表示中（ネイティブホストなし）';
}

// The channel the page posts to; absent in a plain browser.
export function hasMessageChannel(win) {
  try {
    return Boolean(win.webkit?.messageHandlers?.omvane);
  } catch {
    return false;
  }
}

// JSON for display. U+2028 and U+2029 are written as escapes so they are visible in the log;
// values JSON cannot hold still show something.
export function jsonText(value) {
  let text;
  try {
    text = JSON.stringify(value);
  } catch {
    text = undefined;
  }
  if (text === undefined) {
    try {
      return String(value);
    } catch {
      return '(unprintable)';
    }
  }
  return text.replace(/[\u2028\u2029]/g, (c) => `\\u${c.charCodeAt(0).toString(16)}`);
}

// Flags are shown as literals: the host sets `true`, and a string "true" is a bug worth seeing.
export function flagText(value) {
  return value === undefined ? 'undefined' : jsonText(value);
}

// Field values read better without quotes around plain strings.
export function fieldText(value) {
  return typeof value === 'string' ? value : flagText(value);
}

export function hostRows(win) {
  return [
    ...HOST_FLAGS.map((name) => [`window.${name}`, flagText(win[name])]),
    ['webkit.messageHandlers.omvane', hasMessageChannel(win) ? 'available' : 'missing'],
  ];
}

// A status event as the page shows it: the error on its own, every other field as a row.
export function summariseStatus(detail) {
  const rows = Object.entries(detail)
    .filter(([key]) => key !== 'type' && key !== 'error')
    .map(([key, value]) => [key, fieldText(value)]);
  const { error } = detail;
  return {
    error: error === undefined || error === null || error === '' ? null : fieldText(error),
    rows,
  };
}

export function eventType(detail) {
  return isObject(detail) && typeof detail.type === 'string' ? detail.type : '(no type)';
}

const pad = (number, width = 2) => String(number).padStart(width, '0');

export function formatTime(date) {
  const clock = [date.getHours(), date.getMinutes(), date.getSeconds()].map((part) => pad(part)).join(':');
  return `${clock}.${pad(date.getMilliseconds(), 3)}`;
}

// One line of the event log. `early` marks the event the host left in __omvaneLastNative
// before this page listened; when it arrived is unknown, so it carries no time.
export function eventRow(detail, at, early = false) {
  return { time: early ? '起動前' : formatTime(at), type: eventType(detail), json: jsonText(detail), early };
}

// ---- DOM ----

function elementFactory(doc) {
  return (tag, className, content) => {
    const node = doc.createElement(tag);
    if (className) node.className = className;
    if (typeof content === 'string') node.textContent = content;
    else if (Array.isArray(content)) node.append(...content);
    return node;
  };
}

function fieldTable(el, rows) {
  return el('table', 'fields', [
    el('tbody', null, rows.map(([key, value]) => el('tr', null, [el('th', null, key), el('td', null, value)]))),
  ]);
}

// Each section is built once from the shared context and may subscribe to native events.
// A new panel is one more function here and one more entry in SECTIONS.

function headerSection({ el }) {
  return el('header', 'console-header', [
    el('h1', null, 'ブリッジコンソール'),
    el('p', 'subtitle', 'Brisel bridge console'),
  ]);
}

function hostSection({ el, win }) {
  return el('section', 'card host', [
    el('h2', null, 'ネイティブホスト'),
    el('p', runsInNativeHost(win) ? 'host-line native' : 'host-line browser', hostSummary(win)),
    fieldTable(el, hostRows(win)),
  ]);
}

function statusSection({ el, onNative }) {
  const body = el('div', 'status-body', [el('p', 'empty', 'status イベントはまだありません')]);
  onNative((detail) => {
    if (!isObject(detail) || detail.type !== 'status') return;
    const { error, rows } = summariseStatus(detail);
    body.textContent = '';
    if (error !== null) {
      const line = el('p', 'error', error);
      line.setAttribute('role', 'alert');
      body.append(line);
    }
    body.append(rows.length ? fieldTable(el, rows) : el('p', 'empty', '(no fields)'));
  });
  return el('section', 'card status', [el('h2', null, 'ホストの状態'), body]);
}

function eventLogSection({ el, onNative }) {
  const count = el('span', 'count', '0');
  const empty = el('p', 'empty', 'ネイティブイベントはまだありません');
  const list = el('ul', 'event-log');
  let received = 0;
  onNative((detail, { at, early }) => {
    const row = eventRow(detail, at, early);
    received += 1;
    count.textContent = String(received);
    empty.remove();
    list.prepend(el('li', row.early ? 'event early' : 'event', [
      el('div', 'event-meta', [el('span', 'event-time', row.time), el('span', 'event-type', row.type)]),
      el('pre', 'event-json', row.json),
    ]));
    while (list.childElementCount > LOG_LIMIT) list.lastElementChild.remove();
  });
  return el('section', 'card events', [
    el('h2', null, [el('span', null, 'ネイティブイベント（新しい順）'), count]),
    empty,
    list,
  ]);
}

export const SECTIONS = [headerSection, hostSection, statusSection, eventLogSection];

// Fills #root and starts listening. Returns false when the page has no root.
export function startConsole(win, doc = win.document, { now = () => new Date() } = {}) {
  const root = doc.getElementById('root');
  if (!root) return false;
  const listeners = [];
  const context = { win, doc, el: elementFactory(doc), onNative: (listener) => listeners.push(listener) };
  root.textContent = '';
  for (const section of SECTIONS) root.append(section(context));

  const deliver = (detail, early) => {
    const meta = { at: now(), early };
    for (const listener of listeners) listener(detail, meta);
  };
  // The host keeps its last non-selection event here for pages that start listening late.
  const last = win.__omvaneLastNative;
  if (last !== undefined && last !== null) deliver(last, true);
  win.addEventListener(NATIVE_EVENT, (event) => deliver(event.detail, false));
  return true;
}

if (typeof window !== 'undefined' && typeof document !== 'undefined') startConsole(window, document);
