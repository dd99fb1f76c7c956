// The server as a process: the status the native probe checks, its address, its start and its stop.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import http from 'node:http';
import net from 'node:net';
import { test } from 'node:test';
import { listenAddress } from '../lib/page-server.mjs';
import { request, spawnServer, startServer } from './harness.mjs';

const LOCAL_STATUS = { provider: 'codex', version: 2,
  capabilities: ['explicit-save', 'knowledge-notes', 'note-suggestions', 'note-context', 'semantic-relations', 'privacy-minimal-v1'] };
const CLOUD_STATUS = { provider: 'openai', version: 3, storage: 'cloud', capabilities: ['desktop-cloud-runtime'] };

test('each mode answers its exact payload, never cached, whatever the query', { timeout: 15000 }, async () => {
  for (const [script, expected] of [['server.mjs', LOCAL_STATUS], ['desktop-server.mjs', CLOUD_STATUS]]) {
    const server = await startServer(script);
    try {
      const answer = await request(server.port, '/api/status?probe=1');
      assert.deepEqual([answer.status, answer.headers['cache-control'], JSON.parse(answer.body)], [200, 'no-store', expected], script);
      assert.match(answer.headers['content-type'], /^application\/json\b/);
      assert.match(answer.body, new RegExp(`"version":${expected.version}[,}]`), 'an integer, as the probe requires');
    } finally {
      await server.stop();
    }
  }
});

test('HOST and PORT from the environment, unset or empty meaning the product\'s address', () => {
  const rows = [
    [{}, { host: '127.0.0.1', port: 47831 }, 'unset'],
    [{ HOST: '', PORT: '' }, { host: '127.0.0.1', port: 47831 }, 'empty'],
    [{ HOST: '::1', PORT: '0' }, { host: '::1', port: 0 }, 'the lowest port: any free one'],
    [{ PORT: '65535' }, { host: '127.0.0.1', port: 65535 }, 'the highest port'],
  ];
  for (const [env, address, why] of rows) assert.deepEqual(listenAddress(env), address, why);
  for (const port of ['65536', 'abc', '-1', '80.5', ' 80', '0x50']) assert.throws(() => listenAddress({ PORT: port }), /PORT must be a number/, port);
});

test('a start that cannot listen ends with status 1 and one line on stderr', { timeout: 15000 }, async () => {
  const holder = net.createServer().listen(0, '127.0.0.1').unref();
  await once(holder, 'listening');
  const held = String(holder.address().port);
  const rows = [
    ['server.mjs', held, /^brisel page server \(local\): cannot listen on 127\.0\.0\.1:\d+: [^\n]*EADDRINUSE[^\n]*\n$/, 'a port in use'],
    ['desktop-server.mjs', 'eighty', /^brisel page server \(cloud\): cannot start: PORT must be a number [^\n]*"eighty"[^\n]*\n$/, 'no port'],
  ];
  for (const [script, port, line, why] of rows) {  // one line on stderr, nothing on stdout
    const server = spawnServer(script, { HOST: '127.0.0.1', PORT: port });
    assert.deepEqual([await server.closed, server.output.stdout], [{ code: 1, signal: null }, ''], why);
    assert.match(server.output.stderr, line, why);
  }
  holder.close();
});

for (const signal of ['SIGTERM', 'SIGINT']) {
  test(`${signal} closes the server and exits with status 0, even with a connection kept alive`, { timeout: 15000 }, async () => {
    const server = await startServer('server.mjs');
    const agent = new http.Agent({ keepAlive: true });
    try {
      assert.equal((await request(server.port, '/api/status', { agent })).status, 200);
      server.child.kill(signal);
      assert.deepEqual([await server.closed, server.output.stderr], [{ code: 0, signal: null }, '']);
      await assert.rejects(request(server.port, '/api/status'), { code: 'ECONNREFUSED' });
    } finally {
      agent.destroy();
    }
  });
}
