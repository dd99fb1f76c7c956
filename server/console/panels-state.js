// The panels that show what the host said: its flags, its last status, every event it sent, and
// what the page posted to it. Each panel is a function of the shared context (see console.js).
import { fieldTable, withId } from './dom.js';
import { jsonText } from './format.js';
import {
  HOST_FLAGS, NATIVE_EVENT, eventRow, hostRows, hostSummary, isStatus, runsInNativeHost, summariseStatus,
} from './native.js';

export const LOG_LIMIT = 200;

export function headerSection({ el }) {
  return el('header', 'console-header', [
    el('h1', null, 'ブリッジコンソール'),
    el('p', 'subtitle', 'Brisel bridge console: every native service, one button each'),
  ]);
}

export function hostSection({ el, win }) {
  const rows = hostRows(win).map(([name, value], index) =>
    [name, value, index < HOST_FLAGS.length ? `flag-${HOST_FLAGS[index]}` : 'flag-messageChannel']);
  return el('section', 'card host', [
    el('h2', null, 'ネイティブホスト'),
    withId(el('p', runsInNativeHost(win) ? 'host-line native' : 'host-line browser', hostSummary(win)), 'host-summary'),
    fieldTable(el, rows, 'host-flags'),
  ]);
}

function shortcutTable(el, rows) {
  const header = el('tr', null, ['action', 'label', 'code', 'key', 'modifiers'].map((name) => el('th', null, name)));
  return el('table', 'fields shortcuts', [
    el('thead', null, [header]),
    el('tbody', null, rows.map((row) => el('tr', null, [
      el('th', null, row.action),
      el('td', null, row.label),
      el('td', null, row.code),
      el('td', null, row.key),
      el('td', null, row.modifiers),
    ]))),
  ]);
}

export function statusSection({ el, onEvent }) {
  const error = withId(el('p', 'error', ''), 'status-error');
  error.setAttribute('role', 'alert');
  error.hidden = true;
  const accessibility = withId(el('td', null, '—'), 'status-accessibility');
  const shortcut = withId(el('td', null, '—'), 'status-shortcut');
  const received = withId(el('p', 'empty', 'status イベントはまだありません'), 'status-empty');
  const shortcuts = withId(el('div', 'status-shortcuts'), 'status-shortcuts');
  const other = withId(el('div', 'status-other'), 'status-other');

  onEvent(({ name, detail }) => {
    if (name !== NATIVE_EVENT || !isStatus(detail)) return;
    const summary = summariseStatus(detail);
    received.remove();
    error.textContent = summary.error ?? '';
    error.hidden = summary.error === null;
    accessibility.textContent = summary.accessibility;
    shortcut.textContent = summary.shortcut;
    shortcuts.textContent = '';
    if (summary.shortcuts.length) shortcuts.append(shortcutTable(el, summary.shortcuts));
    other.textContent = '';
    if (summary.other.length) other.append(fieldTable(el, summary.other));
  });

  return el('section', 'card status', [
    el('h2', null, 'ホストの状態 (status)'),
    received,
    error,
    el('table', 'fields', [el('tbody', null, [
      el('tr', null, [el('th', null, 'accessibility'), accessibility]),
      el('tr', null, [el('th', null, 'shortcut'), shortcut]),
    ])]),
    shortcuts,
    other,
  ]);
}

export function eventLogSection({ el, onEvent, now }) {
  const count = withId(el('span', 'count', '0'), 'event-count');
  const empty = el('p', 'empty', 'ネイティブイベントはまだありません');
  const list = withId(el('ul', 'event-log'), 'event-log');
  let received = 0;
  onEvent((record) => {
    const row = eventRow(record, now());
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

export function sentSection({ el, onSent }) {
  const count = withId(el('span', 'count', '0'), 'sent-count');
  const last = withId(el('pre', 'event-json', '—'), 'sent-last');
  const channel = withId(el('p', 'empty', ''), 'sent-channel');
  let sent = 0;
  onSent(({ body, delivered }) => {
    sent += 1;
    count.textContent = String(sent);
    last.textContent = jsonText(body);
    channel.textContent = delivered ? '' : 'メッセージチャンネルがないため送信されていません';
  });
  return el('section', 'card sent', [
    el('h2', null, [el('span', null, '最後に送ったメッセージ (postMessage)'), count]),
    last,
    channel,
  ]);
}
