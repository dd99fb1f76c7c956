// What a run of the shell left: a start-up log showing the page ran inside the native host and
// rendered its root, and a screenshot whose lower half, all page, has at least MINIMUM colours (a
// blank page has one or two; the header bar alone has hundreds).
//   node check_shell_run.mjs LOG PNG MINIMUM
import { readFileSync } from 'node:fs';
import { inflateSync } from 'node:zlib';

const [log, screenshot, minimum] = process.argv.slice(2);
const problems = [];
const lines = readFileSync(log, 'utf8').trim().split('\n').map((line) => JSON.parse(line));
if (lines[0]?.event !== 'launch' || !Number.isInteger(lines[0].pid)) problems.push('the first line is not "launch" with a pid');
const metrics = lines.find((line) => line.event === 'web-metrics' && line.stage === 'didFinish+1s');
if (metrics?.nativeType !== 'boolean') problems.push(`the page did not see the native flags (${metrics?.nativeType})`);
if (!(metrics?.rootChildren > 0)) problems.push('the page rendered nothing into #root');
if (metrics?.readyState !== 'complete') problems.push(`the page is ${metrics?.readyState}`);

// The distinct colours of the lower half of a PNG as GdkPixbuf writes it: 8-bit RGB or RGBA, not interlaced.
function colours(file) {
  const png = readFileSync(file);
  let width = 0, height = 0, channels = 0;
  const data = [];
  for (let at = 8; at < png.length; at += 12 + png.readUInt32BE(at)) {
    const type = png.toString('ascii', at + 4, at + 8), body = png.subarray(at + 8, at + 8 + png.readUInt32BE(at));
    if (type === 'IHDR') [width, height, channels] = [body.readUInt32BE(0), body.readUInt32BE(4), { 2: 3, 6: 4 }[body[9]]];
    if (type === 'IDAT') data.push(body);
  }
  const raw = inflateSync(Buffer.concat(data)), stride = width * channels, seen = new Set();
  let previous = Buffer.alloc(stride);
  for (let at = 0, y = 0; at < raw.length; at += stride + 1, y++) {
    const filter = raw[at], row = Buffer.from(raw.subarray(at + 1, at + 1 + stride));
    for (let x = 0; x < stride; x++) {
      const a = x >= channels ? row[x - channels] : 0, b = previous[x], c = x >= channels ? previous[x - channels] : 0;
      const [pa, pb, pc] = [a, b, c].map((v) => Math.abs(a + b - c - v));
      row[x] += [0, a, b, (a + b) >> 1, pa <= pb && pa <= pc ? a : pb <= pc ? b : c][filter];
    }
    for (let x = 0; x < stride && y >= height / 2; x += channels) seen.add(row.readUIntBE(x, 3));
    previous = row;
  }
  return seen.size;
}
const count = colours(screenshot);
if (count < Number(minimum)) problems.push(`the screenshot has ${count} colours`);
if (problems.length) console.error(problems.join('\n'));
process.exitCode = problems.length ? 1 : 0;
