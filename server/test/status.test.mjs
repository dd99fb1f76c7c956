// The /api/status contract the native probe checks before it loads the page, and the address
// the server listens on.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { DEFAULT_HOST, DEFAULT_PORT, listenAddress } from '../lib/page-server.mjs';
import { canListenOn, freePort, request, spawnServer, startServer } from './harness.mjs';

const LOCAL_STATUS = {
  provider: 'codex',
  version: 2,
  capabilities: ['explicit-save', 'knowledge-notes', 'note-suggestions', 'note-context',
    'semantic-relations', 'privacy-minimal-v1'],
};

const CLOUD_STATUS = {
  provider: 'openai',
  version: 3,
  storage: 'cloud',
  capabilities: ['desktop-cloud-runtime'],
};

for (const [script, expected] of [['server.mjs', LOCAL_STATUS], ['desktop-server.mjs', CLOUD_STATUS]]) {
  describe(`${script} /api/status`, { timeout: 15000 }, () => {
    let server;
    before(async () => { server = await startServer(script); });
    after(() => server?.stop());

    test('answers the exact payload of its mode', async () => {
      const answer = await request(server.port, '/api/status');
      assert.equal(answer.status, 200);
      assert.match(answer.headers['content-type'], /^application\/json\b/);
      assert.equal(answer.headers['cache-control'], 'no-store');
      assert.deepEqual(JSON.parse(answer.body), expected);
    });

    test('writes the version as an integer', async () => {
      const { body } = await request(server.port, '/api/status');
      assert.match(body, new RegExp(`"version":${expected.version}[,}]`));
      assert.ok(Number.isInteger(JSON.parse(body).version));
    });

    test('ignores a query string', async () => {
      const answer = await request(server.port, '/api/status?probe=1');
      assert.deepEqual(JSON.parse(answer.body), expected);
    });

    test('answers HEAD without a body', async () => {
      const answer = await request(server.port, '/api/status', { method: 'HEAD' });
      assert.equal(answer.status, 200);
      assert.equal(answer.body, '');
      assert.equal(Number(answer.headers['content-length']), Buffer.byteLength(JSON.stringify(expected)));
    });

    test('refuses other methods', async () => {
      for (const method of ['POST', 'PUT', 'DELETE', 'OPTIONS']) {
        const answer = await request(server.port, '/api/status', { method });
        assert.equal(answer.status, 405, method);
        assert.equal(answer.headers.allow, 'GET, HEAD');
      }
    });

    test('knows no other API path', async () => {
      for (const path of ['/api/status/', '/api/', '/api/notes', '/api/STATUS']) {
        assert.equal((await request(server.port, path)).status, 404, path);
      }
    });
  });
}

describe('listen address', { timeout: 15000 }, () => {
  test('defaults to 127.0.0.1:47831', () => {
    assert.deepEqual(listenAddress({}), { host: DEFAULT_HOST, port: DEFAULT_PORT });
    assert.deepEqual(listenAddress({ HOST: '', PORT: '' }), { host: '127.0.0.1', port: 47831 });
  });

  test('takes HOST and PORT from the environment', () => {
    assert.deepEqual(listenAddress({ HOST: '::1', PORT: '5173' }), { host: '::1', port: 5173 });
    assert.deepEqual(listenAddress({ PORT: '0' }), { host: '127.0.0.1', port: 0 });
  });

  test('refuses a PORT that is not a port', () => {
    for (const port of ['abc', '-1', '65536', '80.5', ' 80', '0x50', '123456']) {
      assert.throws(() => listenAddress({ PORT: port }), /PORT must be a number/, port);
    }
  });

  test('the server listens on the PORT it is given, on HOST', async () => {
    const port = await freePort();
    const server = await startServer('server.mjs', { host: '127.0.0.1', port });
    try {
      assert.equal(server.url, `http://127.0.0.1:${port}`);
      assert.equal((await request(port, '/api/status')).status, 200);
    } finally {
      await server.stop();
    }
  });

  test('HOST=::1 listens on IPv6 loopback only', async (t) => {
    if (!(await canListenOn('::1'))) return t.skip('no IPv6 loopback on this machine');
    const server = await startServer('server.mjs', { host: '::1' });
    try {
      assert.equal(server.url, `http://[::1]:${server.port}`);
      const answer = await request(server.port, '/api/status', { host: '::1' });
      assert.deepEqual(JSON.parse(answer.body), LOCAL_STATUS);
      const elsewhere = await request(server.port, '/api/status').catch((error) => error);
      assert.ok(elsewhere instanceof Error || elsewhere.body !== answer.body, 'not reachable on 127.0.0.1');
    } finally {
      await server.stop();
    }
  });

  test('an invalid PORT ends the process with status 1 and one line on stderr', async () => {
    const server = spawnServer('server.mjs', { HOST: '127.0.0.1', PORT: 'eighty' });
    const { code } = await server.closed;
    assert.equal(code, 1);
    assert.equal(server.output.stdout, '');
    assert.match(server.output.stderr, /^brisel page server \(local\): cannot start: PORT must be a number .*"eighty"\n$/);
  });
});
