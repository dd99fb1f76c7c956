// The panels that ask the host for something: one button per page action, sign-in, the reading
// controls, the Markdown export, and deliberate script errors for the host's error reporter.
// Control ids are fixed (end-to-end tests click them by id); results show as the host sent them.
import { withId } from './dom.js';
import { jsonText, withoutTokens } from './format.js';
import {
  AUTH_RESULT_EVENT, EXPORT_RESULT_EVENT, NATIVE_EVENT, READING_CONTROL_ACTIONS, eventType,
} from './native.js';
import {
  APPLE_PROVIDER, DEFAULT_URLS, GOOGLE_PROVIDER, PAGE_ACTIONS, SIGN_OUT_BODY, actionBody, appleNonce,
  authenticateBody, cancelAuthBody, cancelExportBody, exportRequest, parseSaveAttempt, readingControlsBody, uuid,
} from './messages.js';

const card = (el, className, title, children) =>
  el('section', `card ${className}`, [el('h2', null, title), ...children]);

const outputRow = (el, label, output) => el('div', 'field', [el('span', 'caption', label), output]);

export function actionsSection({ el, ui, post }) {
  const rows = PAGE_ACTIONS.map(({ action, fields = [], note }) => {
    const inputs = fields.map((field) => {
      const id = `action-${action}-${field}`;
      return [field, ui.textField(id, field, DEFAULT_URLS[action] && field === 'url' ? DEFAULT_URLS[action] : '',
        field === 'measurementId' ? '(optional)' : '')];
    });
    const send = () => post(actionBody(action, Object.fromEntries(inputs.map(([field, { input }]) => [field, input.value]))));
    return el('div', 'action-row', [
      ui.button(`action-${action}`, action, send, action === 'quit' ? 'button danger' : 'button'),
      ...(note ? [el('span', 'note', note)] : []),
      ...inputs.map(([, { row }]) => row),
    ]);
  });
  return card(el, 'actions', 'ページのアクション (postMessage)', rows);
}

export function authSection({ el, ui, post, onEvent, random }) {
  const requestId = ui.textField('auth-request-id', 'requestId', '', '空なら毎回新しい UUID');
  const nonce = ui.textField('auth-nonce', 'nonce (Apple; 空なら送らない)', appleNonce(random));
  const lastId = ui.output('auth-last-request-id');
  const result = withId(el('pre', 'event-json', '—'), 'auth-result');
  let last;

  const authenticate = (provider) => {
    last = requestId.input.value || uuid(random);
    lastId.textContent = last;
    post(authenticateBody({ provider, requestId: last, nonce: provider === APPLE_PROVIDER ? nonce.input.value : undefined }));
  };
  onEvent(({ name, detail }) => {
    if (name === AUTH_RESULT_EVENT) result.textContent = jsonText(withoutTokens(detail));
  });

  return card(el, 'auth', 'ネイティブサインイン (brisel:auth-result)', [
    requestId.row,
    el('div', 'inline', [nonce.row, ui.button('auth-nonce-new', '新しい nonce', () => { nonce.input.value = appleNonce(random); })]),
    el('div', 'buttons', [
      ui.button('auth-apple', `authenticate ${APPLE_PROVIDER}`, () => authenticate(APPLE_PROVIDER)),
      ui.button('auth-google', `authenticate ${GOOGLE_PROVIDER}`, () => authenticate(GOOGLE_PROVIDER)),
      ui.button('auth-cancel', 'cancelAuth', () => post(cancelAuthBody(requestId.input.value || last))),
      ui.button('auth-sign-out', 'nativeSignOut', () => post(SIGN_OUT_BODY)),
    ]),
    outputRow(el, '最後の requestId', lastId),
    el('p', 'caption', '最後の結果'),
    result,
  ]);
}

export function readingControlsSection({ el, ui, post, onEvent }) {
  const flags = {
    visible: ui.checkbox('rc-visible', 'visible', true),
    draft: ui.checkbox('rc-draft', 'draft', true),
    pending: ui.checkbox('rc-pending', 'pending'),
    saving: ui.checkbox('rc-saving', 'saving'),
    returningAfterSave: ui.checkbox('rc-returning-after-save', 'returningAfterSave'),
  };
  const controlId = ui.textField('rc-control-id', 'controlId', 'console-note-1');
  const attempt = ui.numberField('rc-save-attempt', 'saveAttempt', 0);
  const note = withId(el('p', 'note', ''), 'rc-note');
  const count = ui.output('rc-action-count', '0');
  const lastAction = withId(el('pre', 'event-json', '—'), 'rc-last-action');
  let actions = 0;

  const send = (overrides = {}) => {
    const saveAttempt = parseSaveAttempt(attempt.input.value);
    if (!Number.isFinite(saveAttempt)) {
      note.textContent = 'saveAttempt が数ではないため送信しません';
      return;
    }
    note.textContent = '';
    const values = Object.fromEntries(Object.entries(flags).map(([key, { input }]) => [key, input.checked]));
    post(readingControlsBody({ ...values, controlId: controlId.input.value, saveAttempt, ...overrides }));
  };
  const nextAttempt = () => {
    const current = parseSaveAttempt(attempt.input.value);
    if (Number.isFinite(current)) attempt.input.value = String(current + 1);
    send();
  };
  onEvent(({ name, detail }) => {
    if (name !== NATIVE_EVENT || !READING_CONTROL_ACTIONS.includes(eventType(detail))) return;
    actions += 1;
    count.textContent = String(actions);
    lastAction.textContent = jsonText(detail);
  });

  return card(el, 'reading', '読書コントロール (readingControls)', [
    el('div', 'checks', Object.values(flags).map(({ row }) => row)),
    controlId.row,
    attempt.row,
    el('div', 'buttons', [
      ui.button('rc-send', 'readingControls を送る', () => send()),
      ui.button('rc-next-attempt', 'saveAttempt +1 して送る', nextAttempt),
      ui.button('rc-hide', '隠す (visible: false)', () => send({ visible: false })),
    ]),
    note,
    outputRow(el, '受け取ったアクション', count),
    lastAction,
  ]);
}

export function exportSection({ el, ui, post, onEvent, random, now }) {
  const fileName = ui.output('export-file-name');
  const archiveBytes = ui.output('export-archive-bytes');
  const base64Length = ui.output('export-base64-length');
  const requestId = ui.output('export-request-id');
  const result = withId(el('pre', 'event-json', '—'), 'export-result');
  let last;

  const send = (comment) => {
    const date = now();
    last = uuid(random);
    const { archive, body } = exportRequest({ date, requestId: last, comment });
    fileName.textContent = body.filename;
    archiveBytes.textContent = String(archive.length);
    base64Length.textContent = String(body.base64.length);
    requestId.textContent = last;
    post(body);
  };
  onEvent(({ name, detail }) => {
    if (name === EXPORT_RESULT_EVENT) result.textContent = jsonText(detail);
  });

  return card(el, 'export', 'Markdown 書き出し (brisel:export-result)', [
    el('p', 'note', 'README.md と notes/console.md を無圧縮 ZIP にして送ります。'),
    el('div', 'buttons', [
      ui.button('export-send', 'exportMarkdown', () => send('')),
      ui.button('export-send-commented', 'コメント付き ZIP (拒否される)', () => send('x')),
      ui.button('export-cancel', 'cancelMarkdownExport', () => post(cancelExportBody(last))),
    ]),
    outputRow(el, 'filename', fileName),
    outputRow(el, 'ZIP bytes', archiveBytes),
    outputRow(el, 'base64 length', base64Length),
    outputRow(el, 'requestId', requestId),
    el('p', 'caption', '最後の結果'),
    result,
  ]);
}

// The host's error reporter sends only the error's name: a TypeError thrown from a timer and a
// RangeError nobody catches are easy to find in its log.
export function errorsSection({ el, ui, win }) {
  return card(el, 'errors', 'スクリプトエラー (diagnostic)', [
    el('div', 'buttons', [
      ui.button('error-throw', 'TypeError を投げる', () => {
        win.setTimeout(() => { throw new TypeError('bridge console: thrown on purpose'); }, 0);
      }),
      ui.button('error-reject', 'RangeError で reject する', () => {
        new win.Promise((_, reject) => reject(new RangeError('bridge console: rejected on purpose')));
      }),
    ]),
  ]);
}
