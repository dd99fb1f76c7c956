// The page server behind both entry scripts. The mode only changes what /api/status says: the
// native side probes it before loading the page and refuses a server of the other backend mode,
// so each payload is fixed here and never assembled from input.
import { readFile } from 'node:fs/promises';
import { realpathSync } from 'node:fs';
import http from 'node:http';
import { fileURLToPath } from 'node:url';
import { resolveStaticFile } from './static-files.mjs';

export const DEFAULT_HOST = '127.0.0.1';
export const DEFAULT_PORT = 47831;

const deepFreeze = (value) => {
  for (const inner of Object.values(value)) if (typeof inner === 'object') deepFreeze(inner);
  return Object.freeze(value);
};

export const STATUS = deepFreeze({
  local: {
    provider: 'codex',
    version: 2,
    capabilities: ['explicit-save', 'knowledge-notes', 'note-suggestions', 'note-context',
      'semantic-relations', 'privacy-minimal-v1'],
  },
  cloud: {
    provider: 'openai',
    version: 3,
    storage: 'cloud',
    capabilities: ['desktop-cloud-runtime'],
  },
});

const CONSOLE_DIR = fileURLToPath(new URL('../console/', import.meta.url));

// The console page has no inline script or style; everything comes from this origin.
const CONTENT_SECURITY_POLICY = [
  "default-src 'none'",
  "script-src 'self'",
  "style-src 'self'",
  "img-src 'self' data:",
  "font-src 'self'",
  "connect-src 'self'",
  "base-uri 'none'",
  "form-action 'none'",
  "frame-ancestors 'none'",
].join('; ');

const SECURITY_HEADERS = {
  'Content-Security-Policy': CONTENT_SECURITY_POLICY,
  'X-Content-Type-Options': 'nosniff',
  'Referrer-Policy': 'no-referrer',
  'Cross-Origin-Resource-Policy': 'same-origin',
};

// PORT and HOST as the native launcher passes them. An unset or empty value takes the default;
// anything else that is not a port is an error rather than a silent fallback, so a bad launch
// shows up in the log instead of a server on a port nobody probes.
export function listenAddress(env = process.env) {
  const host = env.HOST || DEFAULT_HOST;
  const rawPort = env.PORT ?? '';
  if (rawPort === '') return { host, port: DEFAULT_PORT };
  if (!/^\d{1,5}$/.test(rawPort) || Number(rawPort) > 65535) {
    throw new Error(`PORT must be a number from 0 to 65535, not ${JSON.stringify(rawPort)}`);
  }
  return { host, port: Number(rawPort) };
}

const bracketed = (host) => (host.includes(':') && !host.startsWith('[') ? `[${host}]` : host);
const WILDCARDS = new Set(['0.0.0.0', '[::]']);

// A web page elsewhere can rebind its own name to 127.0.0.1 and read what this server says;
// its requests still carry that name in Host, so only loopback names and our own host pass.
function hostChecker(listenHost) {
  const own = bracketed(listenHost.toLowerCase());
  if (WILDCARDS.has(own)) return () => true;
  const allowed = new Set(['localhost', '127.0.0.1', '[::1]', own]);
  return (header) => {
    if (header === undefined) return true;
    const value = header.toLowerCase();
    const name = value.startsWith('[') ? value.slice(0, value.indexOf(']') + 1) : value.split(':')[0];
    return allowed.has(name);
  };
}

function send(req, res, status, headers, body = '') {
  res.writeHead(status, { ...SECURITY_HEADERS, ...headers, 'Content-Length': Buffer.byteLength(body) });
  res.end(req.method === 'HEAD' ? undefined : body);
}

const TEXT = { 'Content-Type': 'text/plain; charset=utf-8', 'Cache-Control': 'no-store' };
const JSON_TYPE = { 'Content-Type': 'application/json; charset=utf-8', 'Cache-Control': 'no-store' };

function sendText(req, res, status, text, headers = {}) {
  send(req, res, status, { ...TEXT, ...headers }, `${text}\n`);
}

const REASONS = { 400: 'Bad request', 404: 'Not found' };

export function createPageServer({ mode, host = DEFAULT_HOST, consoleDir = CONSOLE_DIR }) {
  const status = STATUS[mode];
  if (!status) throw new Error(`unknown backend mode ${JSON.stringify(mode)}`);
  const statusBody = JSON.stringify(status);
  const root = realpathSync(consoleDir);
  const hostAllowed = hostChecker(host);

  async function handle(req, res) {
    if (!hostAllowed(req.headers.host)) return sendText(req, res, 421, 'Misdirected request');
    if (req.method !== 'GET' && req.method !== 'HEAD') {
      return sendText(req, res, 405, 'Method not allowed', { Allow: 'GET, HEAD' });
    }
    const query = req.url.indexOf('?');
    const pathname = query === -1 ? req.url : req.url.slice(0, query);
    if (pathname === '/api/status') {
      return send(req, res, 200, JSON_TYPE, statusBody);
    }
    // The API namespace is never shadowed by a file.
    if (pathname.startsWith('/api/')) return sendText(req, res, 404, REASONS[404]);
    const found = await resolveStaticFile(root, pathname);
    if (found.status) return sendText(req, res, found.status, REASONS[found.status]);
    const body = await readFile(found.file);
    send(req, res, 200, { 'Content-Type': found.type, 'Cache-Control': 'no-cache' }, body);
  }

  return http.createServer((req, res) => {
    handle(req, res).catch(() => {
      if (!res.headersSent) sendText(req, res, 500, 'Internal error');
      else res.destroy();
    });
  });
}

const LISTEN_ERRORS = {
  EADDRINUSE: 'the address is already in use',
  EACCES: 'permission denied',
  EADDRNOTAVAIL: 'the address is not available on this machine',
  ENOTFOUND: 'the host name does not resolve',
};

function describeListenError(error) {
  const reason = LISTEN_ERRORS[error.code] ?? error.message;
  return error.code ? `${reason} (${error.code})` : reason;
}

// Runs the server as a process: one line on stdout once it listens, one line on stderr and exit
// status 1 if it cannot, exit status 0 on SIGTERM or SIGINT.
export function runPageServer(mode, env = process.env) {
  const label = `brisel page server (${mode})`;
  const fail = (message) => {
    process.stderr.write(`${label}: ${message}\n`);
    process.exit(1);
  };

  let address;
  let server;
  try {
    address = listenAddress(env);
    server = createPageServer({ mode, host: address.host });
  } catch (error) {
    return fail(`cannot start: ${error.message}`);
  }

  server.once('error', (error) => {
    fail(`cannot listen on ${bracketed(address.host)}:${address.port}: ${describeListenError(error)}`);
  });
  server.listen(address.port, address.host, () => {
    const bound = server.address();
    process.stdout.write(`${label} listening on http://${bracketed(bound.address)}:${bound.port}\n`);
  });

  const stop = () => {
    server.close(() => process.exit(0));
    // Idle keep-alive connections (the web view holds some) would keep close() waiting.
    server.closeAllConnections();
    setTimeout(() => process.exit(0), 2000).unref();
  };
  process.once('SIGTERM', stop);
  process.once('SIGINT', stop);
}
