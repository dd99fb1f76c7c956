#!/usr/bin/env bash
# Builds Brisel and runs its tests.
#   test.sh          every test: core units, the real node server, the page server, the GTK
#                    shell end to end under Xvfb
#   test.sh asan     core units and server tests under AddressSanitizer and UBSan
#   test.sh fuzz     a short run of every libFuzzer target (FUZZ_SECONDS each, default 20)
#   test.sh bench    the benchmarks
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh test
mode="${1:-default}"

case "$mode" in
  default|asan)
    cmake --preset "$mode" >/dev/null
    cmake --build --preset "$mode"
    ctest --preset "$mode" -j2
    ;;
  fuzz)
    cmake --preset fuzz >/dev/null
    cmake --build --preset fuzz
    mkdir -p build/fuzz/corpus
    shopt -s nullglob
    for target in build/fuzz/fuzz/*_fuzz; do
      name=$(basename "$target")
      mkdir -p "build/fuzz/corpus/$name"
      echo "== $name"
      "$target" -max_total_time="${FUZZ_SECONDS:-20}" -print_final_stats=1 "build/fuzz/corpus/$name" 2>&1 | tail -4
    done
    ;;
  bench)
    cmake --preset default >/dev/null
    cmake --build --preset default --target brisel_benchmarks brisel_capture_bench
    build/default/bench/brisel_benchmarks
    tests/e2e/desktop_session.sh build/default/bench/brisel_capture_bench
    ;;
  *)
    echo "usage: scripts/test.sh [asan|fuzz|bench]" >&2
    exit 2
    ;;
esac
