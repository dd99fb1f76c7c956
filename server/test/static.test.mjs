// The console page and its assets over the real server: what is served, how, and what never is.
import assert from 'node:assert/strict';
import { mkdtemp, mkdir, readdir, readFile, rm, symlink, writeFile } from 'node:fs/promises';
import { once } from 'node:events';
import os from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { createPageServer } from '../lib/page-server.mjs';
import { request, SERVER_DIR, startServer } from './harness.mjs';

const TYPES = { '.html': 'text/html; charset=utf-8', '.js': 'text/javascript; charset=utf-8', '.css': 'text/css; charset=utf-8' };
const BODIES = { 400: 'Bad request\n', 404: 'Not found\n' };
const read = (file) => readFile(path.join(SERVER_DIR, file), 'utf8');

// [method, path, status, what it proves, Host header]
const ROWS = [
  ['GET', '/', 200, 'the console page at the root'],
  ['GET', '/console.css?v=1', 200, 'a query is no part of the path'],
  ['HEAD', '/console.css', 200, 'HEAD: the headers of GET and no body'],
  ['POST', '/', 405, 'only GET and HEAD'],
  ['GET', '/missing', 404, 'nothing there'],
  ['GET', '//console.js', 404, 'an empty segment'],
  ['GET', '/.hidden', 404, 'dotfiles'],
  ['GET', '/server.mjs', 404, 'the server\'s own files'],
  ['GET', '/api/status/', 404, 'no other API path, not even with a slash'],
  ['GET', '/%252e%252e/server.mjs', 404, 'decoded once only'],
  ['GET', '/../server.mjs', 400, 'a dot segment'],
  ['GET', '/%2E%2E/server.mjs', 400, 'an encoded dot segment'],
  ['GET', '/..%2fserver.mjs', 400, 'an encoded slash'],
  ['GET', '/..\\server.mjs', 400, 'a backslash'],
  ['GET', '/console.js%00.html', 400, 'an encoded NUL'],
  ['GET', '/%zz', 400, 'broken percent encoding'],
  ['GET', 'http://127.0.0.1/../server.mjs', 400, 'an absolute URL'],
  ['GET', '/api/status', 421, 'another host name (DNS rebinding)', 'attacker.example'],
  ['GET', '/api/status', 200, 'localhost by name', 'LOCALHOST'],
];

test('over the real server each request gets its status, every answer a strict policy, and the page all its files', { timeout: 15000 }, async () => {
  const server = await startServer('server.mjs');
  try {
    for (const [method, target, status, why, host] of ROWS) {
      const { status: got, headers, body } = await request(server.port, target, { method, headers: host ? { Host: host } : {} });
      assert.equal(got, status, `${method} ${target}: ${why}`);
      assert.match(headers['content-security-policy'], /^(?!.*(unsafe-|\*)).*default-src 'none'.*script-src 'self'(;|$).*style-src 'self'(;|$)/, why);
      assert.equal(headers['x-content-type-options'], 'nosniff', why);
      if (BODIES[status]) assert.equal(body, BODIES[status], why);
      if (status === 405) assert.equal(headers.allow, 'GET, HEAD', why);
      if (method === 'GET' && target === '/') assert.equal(body, await read('console/index.html'));
      if (method === 'HEAD') assert.deepEqual([body, headers['content-length']], ['', String(Buffer.byteLength(await read('console/console.css')))]);
    }

    const files = await readdir(path.join(SERVER_DIR, 'console'));
    for (const file of files) {
      const answer = await request(server.port, `/${file}`);
      assert.deepEqual([answer.status, answer.headers['content-type']], [200, TYPES[path.extname(file)]], file);
      // Module scripts load only with a script type, so an import of a missing file breaks the page.
      for (const [, target] of answer.body.matchAll(/^\s*(?:import|export)\b[^'"]*?from\s+'([^']+)'/gm)) {
        assert.ok(target.startsWith('./') && files.includes(target.slice(2)), `${file} imports ${target}`);
      }
      // Text from the host goes in as text only, and the policy allows no inline script or style.
      assert.doesNotMatch(answer.body, /innerHTML|outerHTML|insertAdjacentHTML|document\.write|\beval\(|new Function|\sstyle\s*=|\son[a-z]+=/, file);
    }
    assert.deepEqual((await read('console/index.html')).match(/<script\b[^>]*>[\s\S]*?<\/script>|<style\b/g), ['<script type="module" src="/console.js"></script>']);
  } finally {
    await server.stop();
  }
});

test('a symlink pointing out of the console folder, and a directory, are no files', { timeout: 15000 }, async () => {
  const folder = await mkdtemp(path.join(os.tmpdir(), 'brisel-console-'));
  const served = path.join(folder, 'console');
  await mkdir(path.join(served, 'img'), { recursive: true });
  await writeFile(path.join(folder, 'outside.txt'), 'outside the console folder');
  await symlink(path.join(folder, 'outside.txt'), path.join(served, 'escape.txt'));
  const server = createPageServer({ mode: 'local', consoleDir: served }).listen(0, '127.0.0.1');
  try {
    await once(server, 'listening');
    for (const target of ['/escape.txt', '/img', '/img/']) {
      assert.deepEqual(await request(server.address().port, target).then((a) => [a.status, a.body]), [404, 'Not found\n'], target);
    }
  } finally {
    server.close();
    await rm(folder, { recursive: true, force: true });
  }
});
