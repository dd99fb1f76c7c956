// The server as a process: what ends it at start-up, and the signals Brisel stops it with.
import assert from 'node:assert/strict';
import http from 'node:http';
import net from 'node:net';
import { once } from 'node:events';
import { describe, test } from 'node:test';
import { request, spawnServer, startServer } from './harness.mjs';

describe('process lifecycle', { timeout: 15000 }, () => {
  test('a start that cannot listen ends with status 1 and one line on stderr', async () => {
    const holder = net.createServer().listen(0, '127.0.0.1');
    await once(holder, 'listening');
    const held = String(holder.address().port);
    const rows = [
      ['server.mjs', held, /^brisel page server \(local\): cannot listen on 127\.0\.0\.1:\d+: .*EADDRINUSE/, 'a port in use'],
      ['desktop-server.mjs', held, /^brisel page server \(cloud\): cannot listen on/, 'the same in cloud mode'],
      ['server.mjs', 'eighty', /^brisel page server \(local\): cannot start: PORT must be a number .*"eighty"/, 'no port'],
    ];
    try {
      for (const [script, port, line, why] of rows) {
        const server = spawnServer(script, { HOST: '127.0.0.1', PORT: port });
        assert.deepEqual(await server.closed, { code: 1, signal: null }, why);
        assert.equal(server.output.stdout, '', why);
        assert.match(server.output.stderr, line, why);
        assert.match(server.output.stderr, /^[^\n]+\n$/, `${why}: one line`);
      }
    } finally {
      holder.close();
    }
  });

  for (const signal of ['SIGTERM', 'SIGINT']) {
    test(`${signal} closes the server and exits with status 0, even with a connection kept alive`, async () => {
      const server = await startServer('server.mjs');
      const agent = new http.Agent({ keepAlive: true });
      try {
        assert.equal((await request(server.port, '/api/status', { agent })).status, 200);
        server.child.kill(signal);
        assert.deepEqual(await server.closed, { code: 0, signal: null });
        assert.equal(server.output.stderr, '');
        await assert.rejects(request(server.port, '/api/status'), { code: 'ECONNREFUSED' });
      } finally {
        agent.destroy();
      }
    });
  }
});
