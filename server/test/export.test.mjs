// The console's export archive, read back as an unpacker reads it, and the encodings of the
// requests it posts; the shell's end-to-end test proves the host accepts them.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { appleNonce, base64, exportFileName, uuid } from '../console/messages.js';
import { buildZip, crc32, dosDateTime } from '../console/zip.js';

const DATE = new Date(2025, 0, 1, 9, 30, 4);
const FILES = [
  { name: 'README.md', content: '# Title\n' },
  { name: 'notes/日本語.md', content: '> 引用\u2028と "quotes"\n' },
];

// From the end record (the native side requires it last) through the directory to each entry.
function readArchive(zip) {
  const end = zip.length - 22;
  assert.equal(zip.readUInt32LE(end), 0x06054b50, 'the end record is the last 22 bytes');
  const entries = [];
  for (let i = 0, at = zip.readUInt32LE(end + 16); i < zip.readUInt16LE(end + 10); i += 1) {
    const [nameLength, local] = [zip.readUInt16LE(at + 28), zip.readUInt32LE(at + 42)];
    assert.deepEqual([zip.readUInt32LE(at), zip.readUInt32LE(local)], [0x02014b50, 0x04034b50]);
    const start = local + 30 + zip.readUInt16LE(local + 26) + zip.readUInt16LE(local + 28);
    const data = zip.subarray(start, start + zip.readUInt32LE(at + 24));
    assert.deepEqual([zip.readUInt16LE(at + 10), zip.readUInt16LE(at + 8) & 0x0800, zip.readUInt32LE(at + 16), zip.readUInt32LE(local + 14)],
      [0, 0x0800, crc32(data), crc32(data)], 'stored, a UTF-8 name, its CRC in both headers');
    entries.push({ name: zip.toString('utf8', at + 46, at + 46 + nameLength), content: data.toString() });
    at += 46 + nameLength + zip.readUInt16LE(at + 30) + zip.readUInt16LE(at + 32);
  }
  return entries;
}

test('the archive holds each file stored, with a UTF-8 name and its CRC', () => {
  assert.deepEqual(readArchive(Buffer.from(buildZip(FILES, { date: DATE }))), FILES);
  const commented = Buffer.from(buildZip(FILES, { date: DATE, comment: 'x' }));
  assert.equal(commented.readUInt32LE(commented.length - 23), 0x06054b50, 'a comment moves the end record');
  assert.equal(crc32(Buffer.from('123456789')), 0xcbf43926, 'the CRC-32 that ZIP uses');
  assert.deepEqual(dosDateTime(DATE), { time: (9 << 11) | (30 << 5) | 2, date: (45 << 9) | (1 << 5) | 1 });
});

test('base64 for every tail length, the UTC file name, the UUID version and the nonce', () => {
  for (let length = 0; length < 8; length += 1) {
    const data = Uint8Array.from({ length }, (_, i) => 250 - i * 37);
    assert.equal(base64(data), Buffer.from(data).toString('base64'), `length ${length}`);
  }
  assert.equal(exportFileName(new Date(Date.UTC(1999, 11, 31, 23, 59, 59))), 'Brisel-19991231T235959Z.zip');
  const ones = (length) => new Uint8Array(length).fill(0xff);
  assert.equal(uuid(ones), 'ffffffff-ffff-4fff-bfff-ffffffffffff', 'version 4, RFC variant');
  assert.equal(appleNonce(ones), '_'.repeat(42) + '8', '43 characters of base64url');
});
