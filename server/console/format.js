// Turning values from the host into text for the page. Everything here returns strings that
// the page puts into the DOM with textContent, never as markup.

export const isObject = (value) =>
  value !== null && typeof value === 'object' && !Array.isArray(value);

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

const pad = (number, width = 2) => String(number).padStart(width, '0');

export function formatTime(date) {
  const clock = [date.getHours(), date.getMinutes(), date.getSeconds()].map((part) => pad(part)).join(':');
  return `${clock}.${pad(date.getMilliseconds(), 3)}`;
}

// Sign-in tokens stay out of what the page shows (screenshots end up in test artefacts); the
// record for tests keeps them. Only their length is shown.
const TOKEN_FIELDS = ['idToken', 'accessToken'];

export function withoutTokens(detail) {
  if (!isObject(detail) || !TOKEN_FIELDS.some((key) => typeof detail[key] === 'string')) return detail;
  const shown = { ...detail };
  for (const key of TOKEN_FIELDS) {
    if (typeof shown[key] === 'string') shown[key] = `(${shown[key].length} chars)`;
  }
  return shown;
}
