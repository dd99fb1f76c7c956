#!/usr/bin/env bash
# Runs COMMAND [ARGUMENT...] on a desktop of its own: Xvfb, the openbox window manager (windows are
# activated and focused as on a user's desktop; it ends with the X server) and a session bus, which
# starts the accessibility bus.
set -euo pipefail
exec xvfb-run -a -s "-screen 0 1440x900x24" dbus-run-session -- \
  bash -c 'openbox --sm-disable >/dev/null 2>&1 & exec "$@"' desktop_session "$@"
