#!/usr/bin/env bash
# Renders every window of the tray application with sample shares (offscreen) into docs/screenshots/.
# Usage: scripts/screenshots.sh [build-dir]   (the build must contain the gui_screenshots test)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p "$root/docs/screenshots"
HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share XDG_CACHE_HOME=$home/.cache \
QT_QPA_PLATFORM=offscreen TW_SCREENSHOT_DIR=$root/docs/screenshots \
  "$build/tests/gui_screenshots"
ls -1 "$root/docs/screenshots"
