#!/usr/bin/env bash
# The export decoder next to coreutils' `base64 -d`, on the same 32 MiB archive's base64 text
# (44,739,244 bytes). Both figures are bytes of base64 text per second.
#   bench/base64_compare.sh BUILD_DIR [RUNS]
set -euo pipefail
build="$1"
runs="${2:-9}"
benchmarks="$build/bench/brisel_benchmarks"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
text="$work/archive.b64"

# The benchmark writes the text it decodes, then reports its own figures.
BRISEL_EXPORT_BENCH_BASE64="$text" "$benchmarks" \
  --benchmark_filter='ExportBase64Decode32MiB|ExportPayloadCheck32MiB' \
  --benchmark_repetitions="$runs" --benchmark_report_aggregates_only=true \
  --benchmark_format=json >"$work/bench.json"
size=$(wc -c <"$text")

# base64 -d reads the text from the page cache and writes the archive to /dev/null; its
# process start is included, well under a millisecond at this size. Wall and CPU time both,
# since on a busy machine only the CPU figure compares fairly.
cat "$text" >/dev/null
TIMEFORMAT='%R %U %S'
for _ in $(seq "$runs"); do
  { time base64 -d <"$text" >/dev/null; } 2>>"$work/coreutils.txt"
done

node -e '
const fs = require("fs");
const [file, size, coreutils] = process.argv.slice(1);
const median = (values) => values.sort((a, b) => a - b)[Math.floor((values.length - 1) / 2)];
const rows = [];
for (const b of JSON.parse(fs.readFileSync(file, "utf8")).benchmarks) {
  if (b.aggregate_name !== "median") continue;
  rows.push([b.run_name.replace("/real_time", ""), b.real_time / 1e3, b.cpu_time / 1e3]);
}
const runs = fs.readFileSync(coreutils, "utf8").trim().split("\n").map((line) => line.split(" ").map(Number));
const version = require("child_process").execSync("base64 --version").toString().split("\n")[0];
rows.push([`${version.replace("base64 (GNU coreutils)", "coreutils")} base64 -d`,
           median(runs.map((r) => r[0])), median(runs.map((r) => r[1] + r[2]))]);
const mbps = (seconds) => (Number(size) / seconds / 1e6).toFixed(0).padStart(6);
console.log(`base64 text: ${size} bytes (a 32 MiB archive); medians of the runs`);
console.log(`${"".padEnd(32)} ${"wall".padStart(9)} ${"".padStart(11)} ${"cpu".padStart(9)}`);
for (const [name, wall, cpu] of rows) {
  console.log(`${name.padEnd(32)} ${(wall * 1e3).toFixed(1).padStart(6)} ms ${mbps(wall)} MB/s ${(cpu * 1e3).toFixed(1).padStart(6)} ms ${mbps(cpu)} MB/s`);
}
' "$work/bench.json" "$size" "$work/coreutils.txt"
