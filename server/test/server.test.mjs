// The server as a process: the status the native probe checks, its address, its start and its stop.
import assert from 'node:assert/strict';
import http from 'node:http';
import { test } from 'node:test';
import { listenAddress } from '../lib/page-server.mjs';
import { request, startServer } from './harness.mjs';

const LOCAL_STATUS = { provider: 'codex', version: 2,
  capabilities: ['explicit-save', 'knowledge-notes', 'note-suggestions', 'note-context', 'semantic-relations', 'privacy-minimal-v1'] };
const CLOUD_STATUS = { provider: 'openai', version: 3, storage: 'cloud', capabilities: ['desktop-cloud-runtime'] };

// SIGTERM, the native launcher's stop, ends the server cleanly even with a connection kept alive.
test('each mode answers its exact payload, never cached, whatever the query, and stops on SIGTERM', { timeout: 15000 }, async () => {
  for (const [script, expected] of [['server.mjs', LOCAL_STATUS], ['desktop-server.mjs', CLOUD_STATUS]]) {
    const server = await startServer(script);
    const agent = new http.Agent({ keepAlive: true });
    try {
      const answer = await request(server.port, '/api/status?probe=1', { agent });
      assert.deepEqual([answer.status, answer.headers['cache-control'], JSON.parse(answer.body)], [200, 'no-store', expected], script);
      assert.match(answer.headers['content-type'], /^application\/json\b/);
      assert.match(answer.body, new RegExp(`"version":${expected.version}[,}]`), 'an integer, as the probe requires');
      assert.deepEqual([await server.stop(), server.output.stderr], [{ code: 0, signal: null }, ''], script);
      await assert.rejects(request(server.port, '/api/status'), { code: 'ECONNREFUSED' });
    } finally {
      agent.destroy();
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
