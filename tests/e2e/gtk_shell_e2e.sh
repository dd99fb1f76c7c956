#!/usr/bin/env bash
# Runs the GTK shell under Xvfb with the bundled server on a free port and checks what a person
# would: the page loaded and rendered, a screenshot shows it with every label legible (the exit
# status says so), and the server Brisel started is gone once Brisel quits.
set -euo pipefail
brisel="$1"
work="$2"
rm -rf "$work" && mkdir -p "$work/home" "$work/state"
port=$(node -e 'const s=require("net").createServer().listen(0,"127.0.0.1",()=>{console.log(s.address().port);s.close();})')
log="$work/state/Brisel/startup.log"
fail() { echo "FAIL: $*"; [ -f "$log" ] && sed 's/^/  log: /' "$log"; exit 1; }

HOME="$work/home" XDG_STATE_HOME="$work/state" xvfb-run -a -s "-screen 0 1440x900x24" \
  "$brisel" --local-url "http://127.0.0.1:$port" --screenshot "$work/panel.png" --screenshot-timeout 60 \
  > "$work/stdout.txt" 2> "$work/stderr.txt" || fail "brisel exited with $? ($(tail -3 "$work/stderr.txt"))"
node "$(dirname "$0")/check_shell_run.mjs" "$log" "$work/panel.png" 20 || fail "the run does not show a loaded page"
if node -e "fetch('http://127.0.0.1:$port/api/status').then(()=>process.exit(0),()=>process.exit(1))"; then
  fail "the server Brisel launched still answers after it quit"
fi
echo "ok: page loaded inside the native host; screenshot at $work/panel.png"
