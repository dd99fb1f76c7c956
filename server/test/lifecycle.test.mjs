// The server as a process: a port already taken, and the signals Brisel stops it with.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import http from 'node:http';
import net from 'node:net';
import { once } from 'node:events';
import path from 'node:path';
import { describe, test } from 'node:test';
import { request, SERVER_DIR, spawnServer, startServer } from './harness.mjs';

describe('process lifecycle', { timeout: 15000 }, () => {
  for (const [script, mode] of [['server.mjs', 'local'], ['desktop-server.mjs', 'cloud']]) {
    test(`${script}: a port in use ends it with status 1 and one line on stderr`, async () => {
      const holder = net.createServer().listen(0, '127.0.0.1');
      await once(holder, 'listening');
      const { port } = holder.address();
      try {
        const server = spawnServer(script, { HOST: '127.0.0.1', PORT: String(port) });
        const { code, signal } = await server.closed;
        assert.equal(code, 1);
        assert.equal(signal, null);
        assert.equal(server.output.stdout, '');
        const lines = server.output.stderr.split('\n').filter(Boolean);
        assert.equal(lines.length, 1, server.output.stderr);
        assert.match(lines[0], new RegExp(`^brisel page server \\(${mode}\\): cannot listen on 127\\.0\\.0\\.1:${port}: .*EADDRINUSE`));
      } finally {
        holder.close();
      }
    });
  }

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

  test('the entry scripts only pick their mode; the server lives in lib/', async () => {
    for (const [script, mode] of [['server.mjs', 'local'], ['desktop-server.mjs', 'cloud']]) {
      const code = (await readFile(path.join(SERVER_DIR, script), 'utf8'))
        .split('\n').filter((line) => line.trim() && !line.trim().startsWith('//'));
      assert.deepEqual(code, ["import { runPageServer } from './lib/page-server.mjs';", `runPageServer('${mode}');`]);
    }
  });
});
