// The /api/status contract the native probe checks before it loads the page, and the address the
// server listens on.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { listenAddress } from '../lib/page-server.mjs';
import { freePort, request, startServer } from './harness.mjs';

const LOCAL_STATUS = {
  provider: 'codex',
  version: 2,
  capabilities: ['explicit-save', 'knowledge-notes', 'note-suggestions', 'note-context', 'semantic-relations', 'privacy-minimal-v1'],
};
const CLOUD_STATUS = { provider: 'openai', version: 3, storage: 'cloud', capabilities: ['desktop-cloud-runtime'] };

test('each mode answers its exact payload, never cached, whatever the query', { timeout: 15000 }, async () => {
  for (const [script, expected] of [['server.mjs', LOCAL_STATUS], ['desktop-server.mjs', CLOUD_STATUS]]) {
    const server = await startServer(script);
    try {
      for (const path of ['/api/status', '/api/status?probe=1']) {
        const answer = await request(server.port, path);
        assert.equal(answer.status, 200, path);
        assert.match(answer.headers['content-type'], /^application\/json\b/);
        assert.equal(answer.headers['cache-control'], 'no-store');
        assert.deepEqual(JSON.parse(answer.body), expected);
        assert.match(answer.body, new RegExp(`"version":${expected.version}[,}]`), 'an integer, as the probe requires');
      }
    } finally {
      await server.stop();
    }
  }
});

test('HOST and PORT from the environment, unset or empty meaning the product\'s address', () => {
  const rows = [
    [{}, { host: '127.0.0.1', port: 47831 }, 'unset'],
    [{ HOST: '', PORT: '' }, { host: '127.0.0.1', port: 47831 }, 'empty'],
    [{ HOST: '::1', PORT: '5173' }, { host: '::1', port: 5173 }, 'both given'],
    [{ PORT: '0' }, { host: '127.0.0.1', port: 0 }, 'the lowest port: any free one'],
    [{ PORT: '65535' }, { host: '127.0.0.1', port: 65535 }, 'the highest port'],
  ];
  for (const [env, address, why] of rows) assert.deepEqual(listenAddress(env), address, why);
  for (const port of ['65536', '123456', 'abc', '-1', '80.5', ' 80', '0x50']) {
    assert.throws(() => listenAddress({ PORT: port }), /PORT must be a number/, port);
  }
});

test('HOST=::1 listens on IPv6 loopback only', { timeout: 15000 }, async (t) => {
  if (!(await freePort('::1'))) return t.skip('no IPv6 loopback on this machine');
  const server = await startServer('server.mjs', '::1');
  try {
    assert.equal(server.url, `http://[::1]:${server.port}`);
    assert.equal((await request(server.port, '/api/status', { host: '::1' })).status, 200);
    await assert.rejects(request(server.port, '/api/status'), { code: 'ECONNREFUSED' }, 'not on 127.0.0.1');
  } finally {
    await server.stop();
  }
});
