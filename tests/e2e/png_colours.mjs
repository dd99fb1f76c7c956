// Exits 0 when the PNG (8-bit RGB or RGBA, non-interlaced, as GdkPixbuf writes it) holds at
// least the given number of distinct colours: a rendered page has text and shapes, a blank or
// black panel has one or two.
import { readFileSync } from 'node:fs';
import { inflateSync } from 'node:zlib';

const [file, minimum] = process.argv.slice(2);
const png = readFileSync(file);
let offset = 8;
let width = 0, height = 0, channels = 0;
const data = [];
while (offset < png.length) {
  const length = png.readUInt32BE(offset);
  const type = png.toString('ascii', offset + 4, offset + 8);
  const body = png.subarray(offset + 8, offset + 8 + length);
  if (type === 'IHDR') {
    width = body.readUInt32BE(0);
    height = body.readUInt32BE(4);
    channels = { 2: 3, 6: 4 }[body[9]];
    if (body[8] !== 8 || !channels || body[12] !== 0) throw new Error('unsupported PNG layout');
  } else if (type === 'IDAT') data.push(body);
  offset += 12 + length;
}
const raw = inflateSync(Buffer.concat(data));
const stride = width * channels;
const previous = Buffer.alloc(stride);
const row = Buffer.alloc(stride);
const colours = new Set();
for (let y = 0; y < height; y++) {
  const filter = raw[y * (stride + 1)];
  const line = raw.subarray(y * (stride + 1) + 1, (y + 1) * (stride + 1));
  for (let x = 0; x < stride; x++) {
    const a = x >= channels ? row[x - channels] : 0;
    const b = previous[x];
    const c = x >= channels ? previous[x - channels] : 0;
    const p = a + b - c;
    const paeth = Math.abs(p - a) <= Math.abs(p - b) && Math.abs(p - a) <= Math.abs(p - c) ? a : Math.abs(p - b) <= Math.abs(p - c) ? b : c;
    row[x] = (line[x] + [0, a, b, (a + b) >> 1, paeth][filter]) & 0xff;
  }
  for (let x = 0; x < stride; x += channels) colours.add(row.readUIntBE(x, 3));
  row.copy(previous);
}
console.log(`${file}: ${width}x${height}, ${colours.size} colours`);
process.exit(colours.size >= Number(minimum) ? 0 : 1);
