// The console page and its assets over the real server: what is served, with which headers, and
// what never is.
import assert from 'node:assert/strict';
import { mkdtemp, mkdir, readdir, readFile, rm, symlink, writeFile } from 'node:fs/promises';
import { once } from 'node:events';
import os from 'node:os';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { createPageServer } from '../lib/page-server.mjs';
import { request, SERVER_DIR, startServer } from './harness.mjs';

const TYPES = { '.html': 'text/html; charset=utf-8', '.js': 'text/javascript; charset=utf-8', '.css': 'text/css; charset=utf-8' };
const REASONS = { 400: 'Bad request\n', 404: 'Not found\n' };

// [method, path, status, what it proves, Host header]
const ROWS = [
  ['GET', '/', 200, 'the console page at the root'],
  ['GET', '/console.css?v=1', 200, 'a query is no part of the path'],
  ['HEAD', '/console.css', 200, 'HEAD: the headers of GET and no body'],
  ['POST', '/', 405, 'only GET and HEAD'],
  ['PUT', '/console.js', 405, 'only GET and HEAD, on a file too'],
  ['DELETE', '/api/status', 405, 'only GET and HEAD, on the API too'],
  ['GET', '/missing', 404, 'nothing there'],
  ['GET', '/console/index.html', 404, 'the console folder is the root, not a path under it'],
  ['GET', '/index.html/', 404, 'a file is no folder'],
  ['GET', '//console.js', 404, 'an empty segment'],
  ['GET', '/.hidden', 404, 'dotfiles'],
  ['GET', '/server.mjs', 404, 'the server\'s own files'],
  ['GET', '/%252e%252e/server.mjs', 404, 'decoded once only'],
  ['GET', '/../server.mjs', 400, 'a dot segment'],
  ['GET', '/%2E%2E/server.mjs', 400, 'an encoded dot segment'],
  ['GET', '/./console.js/../../server.mjs', 400, 'dot segments further in'],
  ['GET', '/..%2fserver.mjs', 400, 'an encoded slash'],
  ['GET', '/..%5cserver.mjs', 400, 'an encoded backslash'],
  ['GET', '/..\\server.mjs', 400, 'a backslash'],
  ['GET', '/console.js%00.html', 400, 'an encoded NUL'],
  ['GET', '/%zz', 400, 'broken percent encoding'],
  ['GET', 'http://127.0.0.1/../server.mjs', 400, 'an absolute URL'],
  ['GET', '/api/status', 421, 'another host name (DNS rebinding)', 'attacker.example'],
  ['GET', '/api/status', 200, 'localhost by name', 'LOCALHOST'],
];

describe('console assets over the real server', { timeout: 15000 }, () => {
  let server;
  before(async () => { server = await startServer('server.mjs'); });
  after(() => server?.stop());

  test('each request gets its status, and every answer a strict policy', async () => {
    const leaks = [await readFile(path.join(SERVER_DIR, 'server.mjs'), 'utf8'), await readFile(path.join(SERVER_DIR, 'package.json'), 'utf8')];
    const page = await readFile(path.join(SERVER_DIR, 'console/index.html'), 'utf8');
    const css = await readFile(path.join(SERVER_DIR, 'console/console.css'), 'utf8');
    for (const [method, target, status, why, host] of ROWS) {
      const { status: got, headers, body } = await request(server.port, target, { method, headers: host ? { Host: host } : {} });
      assert.equal(got, status, `${method} ${target}: ${why}`);
      const policy = headers['content-security-policy'];
      assert.match(policy, /default-src 'none'.*script-src 'self'(;|$).*style-src 'self'(;|$)/, why);
      assert.doesNotMatch(policy, /unsafe-inline|unsafe-eval|\*/, why);
      assert.equal(headers['x-content-type-options'], 'nosniff', why);
      if (REASONS[status]) assert.equal(body, REASONS[status], why);
      for (const leak of leaks) assert.ok(!body.includes(leak.slice(0, 40)), why);
      if (status === 405) assert.equal(headers.allow, 'GET, HEAD', why);
      if (method === 'GET' && target === '/') assert.equal(body, page);
      if (method === 'HEAD') assert.deepEqual([body, headers['content-length']], ['', String(Buffer.byteLength(css))]);
    }
  });

  test('every file of the page is served with its type, and every module it imports is there', async () => {
    const files = await readdir(path.join(SERVER_DIR, 'console'));
    for (const file of files) {
      const answer = await request(server.port, `/${file}`);
      assert.equal(answer.status, 200, file);
      assert.equal(answer.headers['content-type'], TYPES[path.extname(file)], file);
      // Module scripts load only with a script type, so an import of a missing file breaks the page.
      for (const [, target] of answer.body.matchAll(/^\s*(?:import|export)\b[^'"]*?from\s+'([^']+)'/gm)) {
        assert.ok(target.startsWith('./') && files.includes(target.slice(2)), `${file} imports ${target}`);
      }
    }
    // The policy allows no inline script or style, so the page has none.
    const html = await readFile(path.join(SERVER_DIR, 'console/index.html'), 'utf8');
    assert.deepEqual(html.match(/<script\b[^>]*>[\s\S]*?<\/script>/g), ['<script type="module" src="/console.js"></script>']);
    assert.doesNotMatch(html, /<style\b|\sstyle=|\son[a-z]+=|javascript:/i);
  });
});

describe('a console folder with a way out', { timeout: 15000 }, () => {
  let folder;
  let server;
  before(async () => {
    folder = await mkdtemp(path.join(os.tmpdir(), 'brisel-console-'));
    const served = path.join(folder, 'console');
    await mkdir(path.join(served, 'img'), { recursive: true });
    await writeFile(path.join(served, 'index.html'), '<div id="root"></div>');
    await writeFile(path.join(folder, 'outside.txt'), 'outside the console folder');
    await symlink(path.join(folder, 'outside.txt'), path.join(served, 'escape.txt'));
    server = createPageServer({ mode: 'local', consoleDir: served }).listen(0, '127.0.0.1');
    await once(server, 'listening');
  });
  after(async () => {
    server?.closeAllConnections();
    server?.close();
    await rm(folder, { recursive: true, force: true });
  });

  test('a symlink pointing outside and a directory are not files', async () => {
    for (const target of ['/escape.txt', '/img', '/img/']) {
      const answer = await request(server.address().port, target);
      assert.deepEqual([answer.status, answer.body], [404, 'Not found\n'], target);
    }
  });
});
