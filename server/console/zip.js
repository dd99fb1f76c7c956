// A ZIP archive of a few small files, stored without compression: what the export demo hands to
// the native side. No browser API beyond typed arrays, so node runs it as it is.
//
// Layout: for each file a local header and its bytes, then the central directory, then the
// 22-byte end record with no comment. The native side refuses archives whose end record is not
// exactly the last 22 bytes, so a comment is only ever added on purpose (see `comment`).

const LOCAL_HEADER = 0x04034b50;
const CENTRAL_HEADER = 0x02014b50;
const END_RECORD = 0x06054b50;
const LOCAL_HEADER_SIZE = 30;
const CENTRAL_HEADER_SIZE = 46;
export const END_RECORD_SIZE = 22;

const VERSION_NEEDED = 10; // 1.0: stored entries only
const VERSION_MADE_BY = (3 << 8) | 20; // Unix, 2.0: external attributes are Unix modes
const UTF8_NAMES = 0x0800;
const STORED = 0;
const REGULAR_FILE_644 = 0o100644 * 0x10000;

const CRC_TABLE = (() => {
  const table = new Uint32Array(256);
  for (let n = 0; n < 256; n += 1) {
    let c = n;
    for (let k = 0; k < 8; k += 1) c = c & 1 ? 0xedb88320 ^ (c >>> 1) : c >>> 1;
    table[n] = c >>> 0;
  }
  return table;
})();

// CRC-32 (IEEE 802.3, the one ZIP uses) of a byte array, as an unsigned number.
export function crc32(bytes) {
  let crc = 0xffffffff;
  for (let i = 0; i < bytes.length; i += 1) crc = CRC_TABLE[(crc ^ bytes[i]) & 0xff] ^ (crc >>> 8);
  return (crc ^ 0xffffffff) >>> 0;
}

// MS-DOS time and date fields of a local time; ZIP cannot say anything before 1980.
export function dosDateTime(date) {
  const year = Math.min(Math.max(date.getFullYear(), 1980), 2107);
  return {
    time: (date.getHours() << 11) | (date.getMinutes() << 5) | Math.floor(date.getSeconds() / 2),
    date: ((year - 1980) << 9) | ((date.getMonth() + 1) << 5) | date.getDate(),
  };
}

const utf8 = (text) => new TextEncoder().encode(text);
const asBytes = (content) => (typeof content === 'string' ? utf8(content) : content);

// `files`: [{ name, content }] with content a string (written as UTF-8) or a Uint8Array.
// `date` stamps every entry. Returns the archive as a Uint8Array.
export function buildZip(files, { date = new Date(), comment = '' } = {}) {
  if (files.length === 0 || files.length > 0xffff) throw new RangeError('a ZIP holds 1 to 65535 files here');
  const stamp = dosDateTime(date);
  const entries = files.map(({ name, content }) => {
    const nameBytes = utf8(name);
    const data = asBytes(content);
    if (nameBytes.length === 0 || nameBytes.length > 0xffff) throw new RangeError(`bad entry name ${JSON.stringify(name)}`);
    return { nameBytes, data, crc: crc32(data) };
  });
  const commentBytes = utf8(comment);
  const localSize = entries.reduce((sum, e) => sum + LOCAL_HEADER_SIZE + e.nameBytes.length + e.data.length, 0);
  const centralSize = entries.reduce((sum, e) => sum + CENTRAL_HEADER_SIZE + e.nameBytes.length, 0);
  const total = localSize + centralSize + END_RECORD_SIZE + commentBytes.length;
  if (total > 0xffffffff || commentBytes.length > 0xffff) throw new RangeError('the archive needs ZIP64');

  const out = new Uint8Array(total);
  const view = new DataView(out.buffer);
  let at = 0;
  const u16 = (value) => { view.setUint16(at, value, true); at += 2; };
  const u32 = (value) => { view.setUint32(at, value, true); at += 4; };
  const bytes = (value) => { out.set(value, at); at += value.length; };

  // The fields a local header and its central directory entry share, from "version needed" on.
  const common = (entry) => {
    u16(VERSION_NEEDED);
    u16(UTF8_NAMES);
    u16(STORED);
    u16(stamp.time);
    u16(stamp.date);
    u32(entry.crc);
    u32(entry.data.length); // compressed size: stored, so the same
    u32(entry.data.length);
    u16(entry.nameBytes.length);
    u16(0); // extra field length
  };

  for (const entry of entries) {
    entry.offset = at;
    u32(LOCAL_HEADER);
    common(entry);
    bytes(entry.nameBytes);
    bytes(entry.data);
  }
  const centralOffset = at;
  for (const entry of entries) {
    u32(CENTRAL_HEADER);
    u16(VERSION_MADE_BY);
    common(entry);
    u16(0); // file comment length
    u16(0); // disk number start
    u16(0); // internal attributes
    u32(REGULAR_FILE_644);
    u32(entry.offset);
    bytes(entry.nameBytes);
  }
  u32(END_RECORD);
  u16(0); // this disk
  u16(0); // disk with the central directory
  u16(entries.length);
  u16(entries.length);
  u32(centralSize);
  u32(centralOffset);
  u16(commentBytes.length);
  bytes(commentBytes);
  return out;
}
