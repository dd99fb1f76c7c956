// Shared by the server tests: starts the real entry scripts as child processes on free loopback
// ports and talks raw HTTP to them, so request paths reach the server exactly as written.
import { spawn } from 'node:child_process';
import http from 'node:http';
import net from 'node:net';
import { fileURLToPath } from 'node:url';

export const SERVER_DIR = fileURLToPath(new URL('..', import.meta.url));

// A port the OS just handed out on `host`, closed again for the server to take.
export function freePort(host = '127.0.0.1') {
  return new Promise((resolve, reject) => {
    const probe = net.createServer();
    probe.once('error', reject);
    probe.listen(0, host, () => {
      const { port } = probe.address();
      probe.close(() => resolve(port));
    });
  });
}

export function canListenOn(host) {
  return new Promise((resolve) => {
    const probe = net.createServer();
    probe.once('error', () => resolve(false));
    probe.listen(0, host, () => probe.close(() => resolve(true)));
  });
}

function serverEnvironment(extra) {
  const env = { ...process.env, ...extra };
  // The runner's own settings are not the server's business (Brisel clears NODE_OPTIONS too).
  delete env.NODE_OPTIONS;
  delete env.NODE_TEST_CONTEXT;
  for (const [key, value] of Object.entries(env)) if (value === undefined) delete env[key];
  return env;
}

// Runs `script` (server.mjs or desktop-server.mjs). `closed` resolves with the exit code and
// signal once the process has ended and its output is complete.
export function spawnServer(script, env = {}) {
  const child = spawn(process.execPath, [script], {
    cwd: SERVER_DIR,
    env: serverEnvironment(env),
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  const output = { stdout: '', stderr: '' };
  child.stdout.setEncoding('utf8').on('data', (text) => { output.stdout += text; });
  child.stderr.setEncoding('utf8').on('data', (text) => { output.stderr += text; });
  const closed = new Promise((resolve) => child.once('close', (code, signal) => resolve({ code, signal })));
  return { child, output, closed };
}

// Starts a server and waits for its "listening on" line; fails if it exits first.
export async function startServer(script, { host = '127.0.0.1', port, env = {} } = {}) {
  port ??= await freePort(host);
  const server = spawnServer(script, { HOST: host, PORT: String(port), ...env });
  const url = await new Promise((resolve, reject) => {
    const onData = () => {
      const match = /listening on (http:\/\/\S+)/.exec(server.output.stdout);
      if (!match) return;
      server.child.stdout.off('data', onData);
      resolve(match[1]);
    };
    server.child.stdout.on('data', onData);
    server.closed.then(({ code, signal }) =>
      reject(new Error(`server ended before listening (${code ?? signal}): ${server.output.stderr}`)));
  });
  return {
    ...server,
    host,
    port,
    url,
    async stop() {
      if (server.child.exitCode === null && server.child.signalCode === null) server.child.kill('SIGTERM');
      return server.closed;
    },
  };
}

// One request without a pooled connection. `path` is sent verbatim, dot segments and all.
export function request(port, path, { method = 'GET', host = '127.0.0.1', headers = {}, agent = false } = {}) {
  return new Promise((resolve, reject) => {
    const req = http.request({ host, port, path, method, headers, agent }, (res) => {
      const chunks = [];
      res.on('data', (chunk) => chunks.push(chunk));
      res.on('end', () => resolve({ status: res.statusCode, headers: res.headers, body: Buffer.concat(chunks).toString('utf8') }));
      res.on('error', reject);
    });
    req.on('error', reject);
    req.end();
  });
}
