// The real entry scripts as child processes on free loopback ports, spoken to in raw HTTP.
import { spawn } from 'node:child_process';
import http from 'node:http';
import { fileURLToPath } from 'node:url';

export const SERVER_DIR = fileURLToPath(new URL('..', import.meta.url));

// Runs `script` with `env` over the runner's environment less its own settings (Brisel clears
// NODE_OPTIONS too); `closed` resolves with the exit code and signal once the output is complete.
export function spawnServer(script, env) {
  const { NODE_OPTIONS, NODE_TEST_CONTEXT, ...inherited } = process.env;
  const child = spawn(process.execPath, [script], { cwd: SERVER_DIR, env: { ...inherited, ...env }, stdio: ['ignore', 'pipe', 'pipe'] });
  const output = { stdout: '', stderr: '' };
  for (const stream of ['stdout', 'stderr']) child[stream].setEncoding('utf8').on('data', (text) => { output[stream] += text; });
  const closed = new Promise((resolve) => child.once('close', (code, signal) => resolve({ code, signal })));
  return { child, output, closed };
}

// Starts a server on a port the system picks (PORT=0), once it says where it listens.
export async function startServer(script) {
  const server = spawnServer(script, { HOST: '127.0.0.1', PORT: '0' });
  const url = await new Promise((resolve, reject) => {
    server.child.stdout.on('data', () => {
      const match = /listening on (http:\/\/\S+)/.exec(server.output.stdout);
      if (match) resolve(match[1]);
    });
    server.closed.then(({ code, signal }) => reject(new Error(`ended before listening (${code ?? signal}): ${server.output.stderr}`)));
  });
  return { ...server, port: Number(new URL(url).port), stop: () => (server.child.kill('SIGTERM'), server.closed) };
}

// One request, `path` verbatim.
export function request(port, path, { method = 'GET', host = '127.0.0.1', headers = {}, agent = false } = {}) {
  return new Promise((resolve, reject) => {
    http.request({ host, port, path, method, headers, agent }, (res) => {
      let body = '';
      res.setEncoding('utf8').on('data', (chunk) => { body += chunk; });
      res.on('end', () => resolve({ status: res.statusCode, headers: res.headers, body }));
    }).on('error', reject).end();
  });
}
