// The export demo's ZIP archive and request body: checked byte by byte here, by real archive
// tools where the machine has them, and against the rules the native side applies.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import os from 'node:os';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { promisify } from 'node:util';
import zlib from 'node:zlib';
import {
  EXPORT_FILE_NAME_PATTERN, UUID_PATTERN, appleNonce, authenticateBody, base64, demoMarkdownFiles, exportFileName,
  exportRequest, readingControlsBody, uuid,
} from '../console/messages.js';
import { END_RECORD_SIZE, buildZip, crc32, dosDateTime } from '../console/zip.js';

const run = promisify(execFile);
const bytes = (text) => new TextEncoder().encode(text);
const DATE = new Date(2025, 0, 1, 9, 30, 4);
const FILES = [
  { name: 'README.md', content: '# Title\n' },
  { name: 'notes/日本語.md', content: '> 引用\u2028と "quotes"\n' },
];

// Walks the archive from its end record, as an unpacker does, and returns what it finds.
function readArchive(buffer) {
  const end = buffer.length - END_RECORD_SIZE;
  assert.equal(buffer.readUInt32LE(end), 0x06054b50, 'end record exactly 22 bytes before the end');
  const count = buffer.readUInt16LE(end + 10);
  const size = buffer.readUInt32LE(end + 12);
  let at = buffer.readUInt32LE(end + 16);
  assert.equal(buffer.readUInt16LE(end + 8), count);
  assert.equal(at + size, end, 'the central directory ends where the end record starts');
  const entries = [];
  for (let i = 0; i < count; i += 1) {
    assert.equal(buffer.readUInt32LE(at), 0x02014b50);
    const nameLength = buffer.readUInt16LE(at + 28);
    const entry = {
      flags: buffer.readUInt16LE(at + 8),
      method: buffer.readUInt16LE(at + 10),
      crc: buffer.readUInt32LE(at + 16),
      size: buffer.readUInt32LE(at + 24),
      name: buffer.toString('utf8', at + 46, at + 46 + nameLength),
      offset: buffer.readUInt32LE(at + 42),
    };
    const local = entry.offset;
    assert.equal(buffer.readUInt32LE(local), 0x04034b50);
    assert.equal(buffer.readUInt32LE(local + 14), entry.crc, 'local and central CRC agree');
    const localName = buffer.readUInt16LE(local + 26);
    const dataAt = local + 30 + localName + buffer.readUInt16LE(local + 28);
    entry.data = buffer.subarray(dataAt, dataAt + entry.size);
    entries.push(entry);
    at += 46 + nameLength + buffer.readUInt16LE(at + 30) + buffer.readUInt16LE(at + 32);
  }
  return entries;
}

async function tool(command, args) {
  try {
    return await run(command, args);
  } catch (error) {
    if (error.code === 'ENOENT') return null;
    throw error;
  }
}

describe('ZIP archive', () => {
  let folder;
  before(async () => { folder = await mkdtemp(path.join(os.tmpdir(), 'brisel-zip-')); });
  after(() => rm(folder, { recursive: true, force: true }));

  test('CRC-32 of known inputs', () => {
    assert.equal(crc32(new Uint8Array()), 0);
    assert.equal(crc32(bytes('123456789')), 0xcbf43926);
    assert.equal(crc32(bytes('The quick brown fox jumps over the lazy dog')), 0x414fa339);
    if (zlib.crc32) {
      const random = Uint8Array.from({ length: 4099 }, (_, i) => (i * 2654435761) >>> 24);
      assert.equal(crc32(random), zlib.crc32(random));
    }
  });

  test('local headers, central directory and end record are where they say', () => {
    const archive = Buffer.from(buildZip(FILES, { date: DATE }));
    assert.equal(archive.readUInt32LE(0), 0x04034b50, 'starts with a local header');
    const entries = readArchive(archive);
    assert.deepEqual(entries.map((entry) => entry.name), FILES.map((file) => file.name));
    for (const [index, entry] of entries.entries()) {
      assert.equal(entry.method, 0, 'stored');
      assert.equal(entry.flags & 0x0800, 0x0800, 'UTF-8 names');
      assert.equal(entry.data.toString('utf8'), FILES[index].content);
      assert.equal(entry.crc, crc32(entry.data));
    }
    assert.equal(archive.readUInt16LE(archive.length - 2), 0, 'no comment');
  });

  test('DOS time stamps', () => {
    assert.deepEqual(dosDateTime(DATE), { time: (9 << 11) | (30 << 5) | 2, date: (45 << 9) | (1 << 5) | 1 });
    assert.equal(dosDateTime(new Date(1970, 0, 1)).date >> 9, 0, 'clamped to 1980');
  });

  test('unzip and python accept the archive and read the files back', async (t) => {
    const file = path.join(folder, 'demo.zip');
    await writeFile(file, buildZip(FILES, { date: DATE }));
    const unzip = await tool('unzip', ['-t', file]);
    const python = await tool('python3', ['-m', 'zipfile', '-t', file]);
    if (!unzip && !python) return t.skip('neither unzip nor python3 on this machine');
    if (unzip) {
      assert.match(unzip.stdout, /No errors detected/);
      assert.equal((await run('unzip', ['-p', file, FILES[1].name])).stdout, FILES[1].content);
    }
    if (python) assert.match(python.stdout, /Done testing/);
  });

  test('a comment moves the end record away from the last 22 bytes', () => {
    const archive = Buffer.from(buildZip(FILES, { date: DATE, comment: 'x' }));
    assert.equal(archive.readUInt32LE(archive.length - 23), 0x06054b50);
    assert.equal(archive.readUInt16LE(archive.length - 3), 1);
  });

  test('refuses what it cannot write', () => {
    assert.throws(() => buildZip([]), RangeError);
    assert.throws(() => buildZip([{ name: '', content: 'x' }]), RangeError);
  });
});

describe('page message bodies', () => {
  test('the export request is what the native side accepts', () => {
    const date = new Date(Date.UTC(2025, 0, 1, 9, 30, 0));
    const requestId = '2F1C5E0A-3B4D-4E6F-8A9B-0C1D2E3F4A5B';
    const { archive, body } = exportRequest({ date, requestId });
    assert.deepEqual(Object.keys(body), ['action', 'requestId', 'filename', 'base64']);
    assert.equal(body.action, 'exportMarkdown');
    assert.equal(body.requestId, requestId);
    assert.equal(body.filename, 'Brisel-20250101T093000Z.zip');
    assert.match(body.base64, /^[A-Za-z0-9+/]*={0,2}$/, 'standard alphabet, no line breaks');
    assert.equal(body.base64.length, 4 * Math.ceil(archive.length / 3));
    const decoded = Buffer.from(body.base64, 'base64');
    assert.deepEqual(decoded, Buffer.from(archive));
    assert.ok(decoded.length >= 22 && decoded.length <= 32 * 1024 * 1024);
    assert.deepEqual([...decoded.subarray(0, 4)], [0x50, 0x4b, 0x03, 0x04]);
    assert.deepEqual([...decoded.subarray(-22, -18)], [0x50, 0x4b, 0x05, 0x06]);
    assert.deepEqual(readArchive(decoded).map((entry) => entry.name), demoMarkdownFiles(date).map((file) => file.name));
  });

  test('file names are the UTC time stamp, whatever the local zone', () => {
    assert.equal(exportFileName(new Date(Date.UTC(1999, 11, 31, 23, 59, 59))), 'Brisel-19991231T235959Z.zip');
    for (const bad of ['Brisel-2025010T093000Z.zip', 'brisel-20250101T093000Z.zip', 'Brisel-20250101T093000Z.ZIP']) {
      assert.doesNotMatch(bad, EXPORT_FILE_NAME_PATTERN);
    }
    assert.match(exportFileName(new Date()), EXPORT_FILE_NAME_PATTERN);
  });

  test('base64 matches node for every tail length', () => {
    for (let length = 0; length < 8; length += 1) {
      const data = Uint8Array.from({ length }, (_, i) => 250 - i * 37);
      assert.equal(base64(data), Buffer.from(data).toString('base64'), `length ${length}`);
    }
  });

  test('ids and nonces have the shapes the native side checks', () => {
    const random = (length) => crypto.getRandomValues(new Uint8Array(length));
    assert.match(uuid(random), UUID_PATTERN);
    assert.match(uuid(random), /^.{14}4.{4}[89ab]/, 'version 4, RFC variant');
    assert.match(appleNonce(random), /^[A-Za-z0-9_-]{43}$/);
    assert.deepEqual(Object.keys(authenticateBody({ provider: 'google.com', requestId: 'x', nonce: '' })),
      ['action', 'provider', 'requestId']);
    const status = readingControlsBody({ visible: true, controlId: 'c', draft: false, pending: false, saving: false, returningAfterSave: false, saveAttempt: 0, extra: 1 });
    assert.deepEqual(Object.keys(status).sort(),
      ['action', 'controlId', 'draft', 'pending', 'returningAfterSave', 'saveAttempt', 'saving', 'visible']);
  });
});
