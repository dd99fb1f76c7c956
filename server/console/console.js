// The bridge console: what the native host injected into this page, everything it has sent
// since, and a control for every service it offers the page. The modules export their helpers
// so node can test them without a browser; the page starts itself only where there is a
// document.
//
// Text from the host goes into the DOM through textContent only: it can hold quotes,
// backslashes, U+2028 or "</script>".
//
// For end-to-end tests the page keeps a record on window.briselConsole:
//   events: [{ name, detail, early }] in the order received, where name is "omvane:native",
//           "brisel:auth-result" or "brisel:export-result", detail the event's detail as sent,
//           and early true only for the event read from __omvaneLastNative at start;
//   sent:   [{ body, delivered }] for every post, delivered false when there was no channel;
//   post(body): posts one body on the channel as the buttons do; true when it was handed over.
import { controlFactory, elementFactory } from './dom.js';
import { messageChannel, NATIVE_EVENT, WINDOW_EVENTS } from './native.js';
import { randomBytesFrom } from './messages.js';
import { eventLogSection, headerSection, hostSection, sentSection, statusSection } from './panels-state.js';
import {
  actionsSection, authSection, errorsSection, exportSection, readingControlsSection,
} from './panels-requests.js';

// A new panel is one more function of the shared context, and one more entry here.
export const SECTIONS = [
  headerSection, hostSection, statusSection, eventLogSection, sentSection,
  actionsSection, authSection, readingControlsSection, exportSection, errorsSection,
];

// Fills #root, starts listening and publishes window.briselConsole. Returns false when the
// page has no root.
export function startConsole(win, doc = win.document, {
  now = () => new Date(),
  random = randomBytesFrom(win.crypto ?? globalThis.crypto),
} = {}) {
  const root = doc.getElementById('root');
  if (!root) return false;

  const record = { events: [], sent: [], post };
  const eventListeners = [];
  const sentListeners = [];

  function post(body) {
    const channel = messageChannel(win);
    let delivered = false;
    if (channel) {
      try {
        channel.postMessage(body);
        delivered = true;
      } catch {
        delivered = false;
      }
    }
    const entry = { body, delivered };
    record.sent.push(entry);
    for (const listener of sentListeners) listener(entry);
    return delivered;
  }

  const el = elementFactory(doc);
  const context = {
    win,
    doc,
    el,
    ui: controlFactory(el),
    now,
    random,
    post,
    onEvent: (listener) => eventListeners.push(listener),
    onSent: (listener) => sentListeners.push(listener),
  };
  root.textContent = '';
  for (const section of SECTIONS) root.append(section(context));

  const deliver = (name, detail, early) => {
    const entry = { name, detail, early };
    record.events.push(entry);
    for (const listener of eventListeners) listener(entry);
  };
  // The host keeps its last non-selection event here for pages that start listening late.
  const last = win.__omvaneLastNative;
  if (last !== undefined && last !== null) deliver(NATIVE_EVENT, last, true);
  for (const name of WINDOW_EVENTS) win.addEventListener(name, (event) => deliver(name, event.detail, false));
  win.briselConsole = record;
  return true;
}

if (typeof window !== 'undefined' && typeof document !== 'undefined') startConsole(window, document);
