// The real entry scripts as child processes on free loopback ports, spoken to in raw HTTP.
import { spawn } from 'node:child_process';
import http from 'node:http';
import { fileURLToPath } from 'node:url';

export const SERVER_DIR = fileURLToPath(new URL('..', import.meta.url));

// Runs `script` on a port the system picks (PORT=0), with the runner's environment less its own
// settings (Brisel clears NODE_OPTIONS too), once it says where it listens. `stop` sends SIGTERM
// and resolves with the exit code and signal once the output is complete.
export async function startServer(script) {
  const { NODE_OPTIONS, NODE_TEST_CONTEXT, ...inherited } = process.env;
  const env = { ...inherited, HOST: '127.0.0.1', PORT: '0' };
  const child = spawn(process.execPath, [script], { cwd: SERVER_DIR, env, stdio: ['ignore', 'pipe', 'pipe'] });
  const output = { stdout: '', stderr: '' };
  for (const stream of ['stdout', 'stderr']) child[stream].setEncoding('utf8').on('data', (text) => { output[stream] += text; });
  const closed = new Promise((resolve) => child.once('close', (code, signal) => resolve({ code, signal })));
  const url = await new Promise((resolve, reject) => {
    child.stdout.on('data', () => {
      const match = /listening on (http:\/\/\S+)/.exec(output.stdout);
      if (match) resolve(match[1]);
    });
    closed.then(({ code, signal }) => reject(new Error(`ended before listening (${code ?? signal}): ${output.stderr}`)));
  });
  return { output, port: Number(new URL(url).port), stop: () => (child.kill('SIGTERM'), closed) };
}

// One request, `path` verbatim.
export function request(port, path, { method = 'GET', headers = {}, agent = false } = {}) {
  return new Promise((resolve, reject) => {
    http.request({ host: '127.0.0.1', port, path, method, headers, agent }, (res) => {
      let body = '';
      res.setEncoding('utf8').on('data', (chunk) => { body += chunk; });
      res.on('end', () => resolve({ status: res.statusCode, headers: res.headers, body }));
    }).on('error', reject).end();
  });
}
