// What the native host gives the page: the flags it injects before any page script, the events
// it dispatches on window, and how the console reads them.
import { fieldText, flagText, formatTime, isObject, jsonText, withoutTokens } from './format.js';

export const NATIVE_EVENT = 'omvane:native';
export const AUTH_RESULT_EVENT = 'brisel:auth-result';
export const EXPORT_RESULT_EVENT = 'brisel:export-result';
export const WINDOW_EVENTS = [NATIVE_EVENT, AUTH_RESULT_EVENT, EXPORT_RESULT_EVENT];

// Set by the host at document start, before any page script runs.
export const HOST_FLAGS = [
  'omvaneNative',
  'briselNativeAuth',
  'briselNativePlatform',
  'briselNativeReadingControls',
  'briselNativeExport',
  'briselNativeShortcuts',
];

// The native reading controls send these as native events, with the note session's controlId.
// ("returnRequested" also comes without a controlId when the user closes the panel.)
export const READING_CONTROL_ACTIONS = ['saveAndReturnRequested', 'returnRequested'];

// The three re-bindable actions, in the order the host lists them.
export const SHORTCUT_ACTIONS = ['capture', 'saveAndReturn', 'returnToReading'];

export function runsInNativeHost(win) {
  return win.omvaneNative === true;
}

export function hostSummary(win) {
  return runsInNativeHost(win) ? 'ネイティブホスト内で動作中' : 'ブラウザで表示中（ネイティブホストなし）';
}

// The channel the page posts to; absent in a plain browser.
export function messageChannel(win) {
  try {
    const channel = win.webkit?.messageHandlers?.omvane;
    return channel && typeof channel.postMessage === 'function' ? channel : null;
  } catch {
    return null;
  }
}

export function hostRows(win) {
  return [
    ...HOST_FLAGS.map((name) => [`window.${name}`, flagText(win[name])]),
    ['webkit.messageHandlers.omvane', messageChannel(win) ? 'available' : 'missing'],
  ];
}

// One binding as the host hands it over: code, key, label and four modifier booleans. The key
// is shown as a literal because it can be a space or a control character.
function shortcutRow(action, binding) {
  if (!isObject(binding)) return { action, label: jsonText(binding), code: '', key: '', modifiers: '' };
  const modifiers = ['meta', 'alt', 'ctrl', 'shift'].filter((name) => binding[name] === true).join(' ');
  return {
    action,
    label: fieldText(binding.label),
    code: fieldText(binding.code),
    key: flagText(binding.key),
    modifiers,
  };
}

export function shortcutRows(shortcuts) {
  if (!isObject(shortcuts)) return [];
  const actions = [...SHORTCUT_ACTIONS.filter((name) => name in shortcuts),
    ...Object.keys(shortcuts).filter((name) => !SHORTCUT_ACTIONS.includes(name))];
  return actions.map((action) => shortcutRow(action, shortcuts[action]));
}

const KNOWN_STATUS_FIELDS = new Set(['type', 'accessibility', 'shortcut', 'shortcuts', 'error']);

// A status event as the page shows it. The error and the labels are the host's own text.
export function summariseStatus(detail) {
  const { error } = detail;
  return {
    accessibility: flagText(detail.accessibility),
    shortcut: fieldText(detail.shortcut),
    error: error === undefined || error === null || error === '' ? null : fieldText(error),
    shortcuts: shortcutRows(detail.shortcuts),
    other: Object.entries(detail)
      .filter(([key]) => !KNOWN_STATUS_FIELDS.has(key))
      .map(([key, value]) => [key, fieldText(value)]),
  };
}

export const isStatus = (detail) => isObject(detail) && detail.type === 'status';

export function eventType(detail) {
  return isObject(detail) && typeof detail.type === 'string' ? detail.type : '(no type)';
}

// One line of the event log. `early` marks the event the host left in __omvaneLastNative
// before this page listened; when it arrived is unknown, so it carries no time.
export function eventRow({ name, detail, early }, at) {
  return {
    time: early ? '起動前' : formatTime(at),
    type: name === NATIVE_EVENT ? eventType(detail) : name,
    json: jsonText(withoutTokens(detail)),
    early,
  };
}
