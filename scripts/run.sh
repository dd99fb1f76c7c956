#!/usr/bin/env bash
# Builds and runs Brisel on Linux: the GTK shell with the bundled page server and the bridge
# console page. Without a display it runs under Xvfb, saves a screenshot of the panel and says
# where it is. Arguments are passed to brisel (see brisel --help).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh run
cmake --preset app >/dev/null
cmake --build --preset app --target brisel brisel_server_resources

brisel=build/app/Brisel/Contents/MacOS/brisel
log="${XDG_STATE_HOME:-$HOME/.local/state}/Brisel/startup.log"
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec "$brisel" "$@"
fi

shot="${BRISEL_SCREENSHOT:-$PWD/build/brisel-panel.png}"
echo "No display here: running Brisel under Xvfb to save a screenshot of its panel."
status=0
xvfb-run -a -s "-screen 0 1440x900x24" "$brisel" --screenshot "$shot" "$@" || status=$?
echo "Start-up log: $log"
[ -f "$log" ] && sed 's/^/  /' "$log"
exit $status
