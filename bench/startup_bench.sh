#!/usr/bin/env bash
# Start-up figures of the GTK shell under one Xvfb: process start to panel on screen, and to
# page ready, with a cold server launch and with the server already running. Prints medians.
#   bench/startup_bench.sh BUILD_DIR [RUNS]
set -euo pipefail
build="$1"
runs="${2:-7}"
brisel="$build/Brisel/Contents/MacOS/brisel"
server="$build/Brisel/Contents/Resources/server/server.mjs"
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1440x900x24 -nolisten tcp >/dev/null 2>&1 &
export DISPLAY="$display"
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; [ -e "/tmp/.X11-unix/X${display#:}" ] && break; sleep 0.1; done

free_port() { node -e 'const s=require("net").createServer().listen(0,"127.0.0.1",()=>{console.log(s.address().port);s.close();})'; }
median() { sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }

measure() {  # prints "panel ready" in ms since the process was started
  local port="$1"
  local start
  start=$(date +%s%3N)
  HOME="$work/home" XDG_STATE_HOME="$work/state" "$brisel" --local-url "http://127.0.0.1:$port" \
    --screenshot "$work/shot.png" --screenshot-timeout 30 | awk -v s="$start" '/^Brisel timing:/ {print $4 - s, $6 - s}'
}

run_scenario() {
  local name="$1" warm="$2"
  : > "$work/$name"
  for _ in $(seq "$runs"); do
    local port pid=""
    port=$(free_port)
    if [ "$warm" = 1 ]; then
      PORT=$port HOST=127.0.0.1 node "$server" & pid=$!
      until node -e "fetch('http://127.0.0.1:$port/api/status').then(()=>process.exit(0),()=>process.exit(1))"; do :; done
    fi
    measure "$port" >> "$work/$name"
    [ -n "$pid" ] && kill "$pid" && wait "$pid" 2>/dev/null || true
  done
  printf '%-28s panel on screen %4s ms   page ready %4s ms   (median of %s)\n' "$name" \
    "$(cut -d' ' -f1 "$work/$name" | median)" "$(cut -d' ' -f2 "$work/$name" | median)" "$runs"
}

run_scenario "server already running" 1
run_scenario "cold server launch" 0
