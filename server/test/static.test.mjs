// The console page and its assets: what is served, with which headers, and what never is.
import assert from 'node:assert/strict';
import { mkdtemp, mkdir, readdir, readFile, rm, symlink, writeFile } from 'node:fs/promises';
import { once } from 'node:events';
import os from 'node:os';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { createPageServer } from '../lib/page-server.mjs';
import { contentTypeFor, pathSegments } from '../lib/static-files.mjs';
import { request, SERVER_DIR, startServer } from './harness.mjs';

describe('console assets over the real server', { timeout: 15000 }, () => {
  let server;
  before(async () => { server = await startServer('server.mjs'); });
  after(() => server?.stop());

  test('/ is the console page with a root element', async () => {
    const answer = await request(server.port, '/');
    assert.equal(answer.status, 200);
    assert.equal(answer.headers['content-type'], 'text/html; charset=utf-8');
    assert.match(answer.body, /<div id="root"><\/div>/);
    assert.equal(answer.body, await readFile(path.join(SERVER_DIR, 'console/index.html'), 'utf8'));
    assert.equal((await request(server.port, '/index.html')).body, answer.body);
  });

  test('script and style come with their types', async () => {
    const script = await request(server.port, '/console.js');
    assert.equal(script.status, 200);
    assert.equal(script.headers['content-type'], 'text/javascript; charset=utf-8');
    assert.match(script.body, /export function startConsole/);
    const style = await request(server.port, '/console.css?v=1');
    assert.equal(style.status, 200);
    assert.equal(style.headers['content-type'], 'text/css; charset=utf-8');
  });

  test('every file of the page is served with its type, and every module it imports is there', async () => {
    const folder = path.join(SERVER_DIR, 'console');
    const files = await readdir(folder);
    const types = { '.html': 'text/html; charset=utf-8', '.js': 'text/javascript; charset=utf-8', '.css': 'text/css; charset=utf-8' };
    for (const file of files) {
      const answer = await request(server.port, `/${file}`);
      assert.equal(answer.status, 200, file);
      assert.equal(answer.headers['content-type'], types[path.extname(file)], file);
      if (!file.endsWith('.js')) continue;
      // Module scripts load only with a script type, so an import of a missing file breaks the page.
      for (const [, target] of answer.body.matchAll(/^\s*(?:import|export)\b[^'"]*?from\s+'([^']+)'/gm)) {
        assert.match(target, /^\.\/[a-z-]+\.js$/, `${file} imports ${target}`);
        assert.ok(files.includes(target.slice(2)), `${file} imports ${target}`);
      }
    }
  });

  test('every answer carries a strict content security policy and nosniff', async () => {
    for (const path of ['/', '/console.js', '/api/status', '/missing']) {
      const { headers } = await request(server.port, path);
      const policy = headers['content-security-policy'];
      assert.match(policy, /default-src 'none'/, path);
      assert.match(policy, /script-src 'self'(;|$)/, path);
      assert.match(policy, /style-src 'self'(;|$)/, path);
      assert.doesNotMatch(policy, /unsafe-inline|unsafe-eval|\*/, path);
      assert.equal(headers['x-content-type-options'], 'nosniff', path);
    }
  });

  test('HEAD answers the headers of GET and no body', async () => {
    const get = await request(server.port, '/console.css');
    const head = await request(server.port, '/console.css', { method: 'HEAD' });
    assert.equal(head.status, 200);
    assert.equal(head.body, '');
    assert.equal(head.headers['content-length'], String(Buffer.byteLength(get.body)));
    assert.equal(head.headers['content-type'], get.headers['content-type']);
  });

  test('only GET and HEAD are allowed, on any path', async () => {
    for (const [method, path] of [['POST', '/'], ['PUT', '/console.js'], ['DELETE', '/missing'], ['PATCH', '/']]) {
      const answer = await request(server.port, path, { method });
      assert.equal(answer.status, 405, `${method} ${path}`);
      assert.equal(answer.headers.allow, 'GET, HEAD');
    }
  });

  test('unknown paths are 404', async () => {
    for (const path of ['/missing', '/missing.js', '/console', '/console/', '/console/index.html', '/index.html/',
      '/favicon.ico', '//console.js', '/.hidden', '/server.mjs', '/lib/page-server.mjs', '/package.json']) {
      const answer = await request(server.port, path);
      assert.equal(answer.status, 404, path);
      assert.equal(answer.body, 'Not found\n', path);
    }
  });

  test('paths that try to leave the console folder are refused and leak nothing', async () => {
    const attempts = [
      '/../server.mjs',
      '/%2e%2e/server.mjs',
      '/%2E%2E/server.mjs',
      '/console/../../package.json',
      '/..%2fserver.mjs',
      '/%2e%2e%2fserver.mjs',
      '/..%5cserver.mjs',
      '/..\\server.mjs',
      '/./console.js/../../server.mjs',
      '/%2e%2e/%2e%2e/%2e%2e/etc/passwd',
      '/%252e%252e/server.mjs',
      '/console.js%00.html',
      '/%00',
      '/%zz',
      'http://127.0.0.1/../server.mjs',
    ];
    const secrets = [await readFile(path.join(SERVER_DIR, 'server.mjs'), 'utf8'), await readFile(path.join(SERVER_DIR, 'package.json'), 'utf8')];
    for (const attempt of attempts) {
      const answer = await request(server.port, attempt);
      assert.ok([400, 404].includes(answer.status), `${attempt} answered ${answer.status}`);
      assert.ok(['Bad request\n', 'Not found\n'].includes(answer.body), attempt);
      for (const secret of secrets) assert.ok(!answer.body.includes(secret.slice(0, 40)), attempt);
    }
  });

  test('a request for another host name is refused', async () => {
    const foreign = await request(server.port, '/api/status', { headers: { Host: `attacker.example:${server.port}` } });
    assert.equal(foreign.status, 421);
    for (const host of [`localhost:${server.port}`, `127.0.0.1:${server.port}`, 'LOCALHOST']) {
      assert.equal((await request(server.port, '/api/status', { headers: { Host: host } })).status, 200, host);
    }
  });
});

describe('static files in a folder of their own', { timeout: 15000 }, () => {
  let folder;
  let server;
  let port;
  before(async () => {
    folder = await mkdtemp(path.join(os.tmpdir(), 'brisel-console-'));
    const served = path.join(folder, 'console');
    await mkdir(path.join(served, 'img'), { recursive: true });
    await writeFile(path.join(served, 'index.html'), '<div id="root"></div>');
    await writeFile(path.join(served, 'data.json'), '{}');
    await writeFile(path.join(served, 'img', 'mark.svg'), '<svg xmlns="http://www.w3.org/2000/svg"/>');
    await writeFile(path.join(served, 'img', 'mark.png'), Buffer.from([0x89, 0x50, 0x4e, 0x47]));
    await writeFile(path.join(served, 'notes.bin'), 'x');
    await writeFile(path.join(folder, 'outside.txt'), 'outside the console folder');
    await symlink(path.join(folder, 'outside.txt'), path.join(served, 'escape.txt'));
    server = createPageServer({ mode: 'local', consoleDir: served });
    server.listen(0, '127.0.0.1');
    await once(server, 'listening');
    port = server.address().port;
  });
  after(async () => {
    server?.closeAllConnections();
    await new Promise((resolve) => (server ? server.close(resolve) : resolve()));
    await rm(folder, { recursive: true, force: true });
  });

  test('json, svg, png and unknown types', async () => {
    const types = {
      '/data.json': 'application/json; charset=utf-8',
      '/img/mark.svg': 'image/svg+xml',
      '/img/mark.png': 'image/png',
      '/notes.bin': 'application/octet-stream',
    };
    for (const [file, type] of Object.entries(types)) {
      const answer = await request(port, file);
      assert.equal(answer.status, 200, file);
      assert.equal(answer.headers['content-type'], type, file);
    }
  });

  test('a symlink that points outside the folder is not followed', async () => {
    const answer = await request(port, '/escape.txt');
    assert.equal(answer.status, 404);
    assert.ok(!answer.body.includes('outside'));
  });

  test('a directory is not a file', async () => {
    assert.equal((await request(port, '/img')).status, 404);
    assert.equal((await request(port, '/img/')).status, 404);
  });
});

describe('path rules', () => {
  test('decode segments and refuse dot segments and encoded separators', () => {
    assert.deepEqual(pathSegments('/'), ['index.html']);
    assert.deepEqual(pathSegments('/img/a%20b.png'), ['img', 'a b.png']);
    for (const bad of ['/..', '/a/../b', '/%2e%2E', '/.', '/a%2fb', '/a%5Cb', '/a\\b', '/a%00', 'a', '*', '/%E0%A4%A']) {
      assert.equal(pathSegments(bad), 400, bad);
    }
    for (const hidden of ['//a', '/a/', '/.env', '/img/.DS_Store']) assert.equal(pathSegments(hidden), 404, hidden);
  });

  test('content types by extension', () => {
    assert.equal(contentTypeFor('a.HTML'), 'text/html; charset=utf-8');
    assert.equal(contentTypeFor('a.mjs'), 'text/javascript; charset=utf-8');
    assert.equal(contentTypeFor('a'), 'application/octet-stream');
  });
});

describe('the console page itself', () => {
  test('has no inline script or style, so the policy needs no exception', async () => {
    const html = await readFile(path.join(SERVER_DIR, 'console/index.html'), 'utf8');
    const scripts = html.match(/<script\b[^>]*>[\s\S]*?<\/script>/g) ?? [];
    assert.deepEqual(scripts, ['<script type="module" src="/console.js"></script>']);
    assert.doesNotMatch(html, /<style\b|\sstyle=|\son[a-z]+=|javascript:/i);
    assert.match(html, /<link rel="stylesheet" href="\/console.css">/);
  });
});
