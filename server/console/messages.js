// The bodies the page posts on window.webkit.messageHandlers.omvane. The host checks them
// strictly (exact key sets, true booleans, whole numbers, UUID request ids) and drops anything
// else without a word, so each body is built here in exactly its accepted shape.
import { buildZip } from './zip.js';

// Actions of the host's own table, with the optional string fields each one reads.
export const PAGE_ACTIONS = [
  { action: 'desktopSignedIn', note: 'cloud backend only' },
  { action: 'openAuthBrowser', fields: ['url'], note: 'cloud backend only' },
  { action: 'openBilling', fields: ['url'] },
  { action: 'capture' },
  { action: 'openSettings' },
  { action: 'returnToReading', fields: ['measurementId'] },
  { action: 'returnAfterSave', fields: ['measurementId'] },
  { action: 'openAccessibilitySettings' },
  { action: 'expandMap' },
  { action: 'compactMap' },
  { action: 'openDictionary' },
  { action: 'quit' },
];

// Addresses the host opens (its own sign-in host and the App Store's subscription page); any
// other address is dropped by the host.
export const DEFAULT_URLS = {
  openAuthBrowser: 'https://auth.brisel.app/#desktop-connect=console',
  openBilling: 'https://apps.apple.com/account/subscriptions',
};

export const APPLE_PROVIDER = 'apple.com';
export const GOOGLE_PROVIDER = 'google.com';

// An empty optional field is left out rather than sent as "".
export function actionBody(action, fields = {}) {
  const body = { action };
  for (const [key, value] of Object.entries(fields)) if (value !== '') body[key] = value;
  return body;
}

// ---- ids and nonces ----

// `random(n)` gives n random bytes; the page passes crypto.getRandomValues, which (unlike
// crypto.randomUUID) also exists outside secure contexts.
export function randomBytesFrom(cryptoObject) {
  return (length) => cryptoObject.getRandomValues(new Uint8Array(length));
}

const hex = (bytes) => Array.from(bytes, (byte) => byte.toString(16).padStart(2, '0')).join('');

export function uuid(random) {
  const bytes = random(16);
  bytes[6] = (bytes[6] & 0x0f) | 0x40;
  bytes[8] = (bytes[8] & 0x3f) | 0x80;
  const text = hex(bytes);
  return [text.slice(0, 8), text.slice(8, 12), text.slice(12, 16), text.slice(16, 20), text.slice(20)].join('-');
}

export const UUID_PATTERN = /^[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}$/;

const BASE64 = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';

// Standard base64 with padding and no line breaks: what the host decodes.
export function base64(bytes, alphabet = BASE64, padding = true) {
  let text = '';
  for (let i = 0; i < bytes.length; i += 3) {
    const chunk = (bytes[i] << 16) | ((bytes[i + 1] ?? 0) << 8) | (bytes[i + 2] ?? 0);
    const count = Math.min(3, bytes.length - i);
    for (let j = 0; j <= count; j += 1) text += alphabet[(chunk >> (18 - 6 * j)) & 63];
    if (padding) text += '='.repeat(3 - count);
  }
  return text;
}

// Sign in with Apple wants a raw nonce of 43 characters from A-Z a-z 0-9 "-" "_": 32 random
// bytes in unpadded base64url are exactly that.
export function appleNonce(random) {
  return base64(random(32), `${BASE64.slice(0, 62)}-_`, false);
}

// ---- sign-in ----

export function authenticateBody({ provider, requestId, nonce }) {
  const body = { action: 'authenticate', provider, requestId };
  if (nonce !== undefined && nonce !== '') body.nonce = nonce;
  return body;
}

// Without an id the host takes the message and does nothing, which is also worth trying.
export function cancelAuthBody(requestId) {
  return requestId === undefined ? { action: 'cancelAuth' } : { action: 'cancelAuth', requestId };
}

export const SIGN_OUT_BODY = Object.freeze({ action: 'nativeSignOut' });

// ---- reading controls ----

export const READING_CONTROL_FLAGS = ['visible', 'draft', 'pending', 'saving', 'returningAfterSave'];

// Exactly the eight keys the host accepts; a hide message still carries them all.
export function readingControlsBody({ visible, controlId, draft, pending, saving, returningAfterSave, saveAttempt }) {
  return { action: 'readingControls', visible, controlId, draft, pending, saving, returningAfterSave, saveAttempt };
}

// The save-attempt field as a number; empty means 0. Fractions and negatives pass through so
// the host's refusal of them can be tried; text that is no number at all gives NaN.
export function parseSaveAttempt(text) {
  const trimmed = String(text).trim();
  return trimmed === '' ? 0 : Number(trimmed);
}

// ---- Markdown export ----

const pad = (number) => String(number).padStart(2, '0');

// "Brisel-" + the UTC time stamp yyyymmddThhmmssZ + ".zip", the only name the host accepts.
export function exportFileName(date) {
  const day = `${date.getUTCFullYear()}${pad(date.getUTCMonth() + 1)}${pad(date.getUTCDate())}`;
  const time = `${pad(date.getUTCHours())}${pad(date.getUTCMinutes())}${pad(date.getUTCSeconds())}`;
  return `Brisel-${day}T${time}Z.zip`;
}

export const EXPORT_FILE_NAME_PATTERN = /^Brisel-[0-9]{8}T[0-9]{6}Z\.zip$/;

// The demo export: two Markdown files, one at the top and one in a folder.
export function demoMarkdownFiles(date) {
  const stamp = date.toISOString();
  return [
    {
      name: 'README.md',
      content: `# Brisel console export\n\nWritten by the bridge console at ${stamp}.\n\n- notes/console.md\n`,
    },
    {
      name: 'notes/console.md',
      content: `# ブリッジコンソール\n\n> 書き出しの動作確認用のメモです。\n\nCreated: ${stamp}\n`,
    },
  ];
}

// Builds the archive and the whole request: exactly action, requestId, filename and base64.
// `comment` adds an archive comment, which the host refuses (its end record must be the last
// 22 bytes); the console uses it to try the refusal.
export function exportRequest({ date, requestId, files = demoMarkdownFiles(date), comment = '' }) {
  const archive = buildZip(files, { date, comment });
  return {
    archive,
    body: { action: 'exportMarkdown', requestId, filename: exportFileName(date), base64: base64(archive) },
  };
}

// The host cancels the running export only when given its id; with none, it changes nothing.
export function cancelExportBody(requestId) {
  return requestId === undefined ? { action: 'cancelMarkdownExport' } : { action: 'cancelMarkdownExport', requestId };
}
