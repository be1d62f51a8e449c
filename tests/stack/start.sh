#!/usr/bin/env bash
# Starts the real components the integration tests need, on loopback and in STACK_DIR only:
#   tests/stack/start.sh STACK_DIR [component ...]   (default: every line of components.list)
# Writes STACK_DIR/env (variables for the tests) and STACK_DIR/pids/*.pid. Stop with stop.sh STACK_DIR.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/common.sh"
stack=${1:?usage: start.sh STACK_DIR [component ...]}
shift
mkdir -p "$stack"
stack=$(cd "$stack" && pwd)
"$here/stop.sh" "$stack" >/dev/null 2>&1 || true
rm -rf "$stack"
mkdir -p "$stack/pids" "$stack/logs"
: > "$stack/env"
export_var "$stack" TW_STACK_DIR "$stack"
export_var "$stack" TW_STACK_SCRIPTS "$here" # for tests that drive a component (mocks.sh ssid ...)

if [ $# -gt 0 ]; then
  components=("$@")
else
  mapfile -t components < <(grep -v '^\s*#' "$here/components.list" | grep -v '^\s*$')
fi
printf '%s\n' "${components[@]}" > "$stack/components"
for c in "${components[@]}"; do
  script="$here/components/$c.sh"
  if [ ! -f "$script" ]; then
    stack_log "no component script for '$c' - skipped"
    continue
  fi
  stack_log "starting $c"
  if ! bash "$script" start "$stack"; then
    stack_log "component $c failed to start; logs in $stack/logs"
    for f in "$stack"/logs/*; do [ -f "$f" ] && { echo "--- $f"; tail -n 30 "$f"; }; done >&2
    "$here/stop.sh" "$stack" || true
    exit 1
  fi
  # later components see what earlier ones exported
  . "$stack/env"
done
stack_log "ready: $stack/env"
