#!/usr/bin/env bash
# Installs what is missing, builds, and starts Tarnwell: the tray application on a desktop, the headless
# engine when no display is available. Arguments are passed on (e.g. --headless).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh >&2
args=("$@")
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  case " ${args[*]-} " in *" --headless "*) ;; *) args=(--headless "${args[@]}") ;; esac
fi
if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ] && [ ! -S "${XDG_RUNTIME_DIR:-/run/user/$(id -u)}/bus" ]; then
  # No session bus (a bare console or server): give the engine one of its own.
  exec dbus-run-session -- build/src/tarnwell "${args[@]}"
fi
exec build/src/tarnwell "${args[@]}"
