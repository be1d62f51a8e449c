#!/usr/bin/env bash
# Stops what start.sh started in STACK_DIR: each component's own stop step in reverse order, then every
# recorded PID with everything it started.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/common.sh"
stack=${1:?usage: stop.sh STACK_DIR}
[ -d "$stack" ] || exit 0
[ -f "$stack/env" ] && . "$stack/env"
if [ -f "$stack/components" ]; then
  mapfile -t components < <(tac "$stack/components")
  for c in "${components[@]}"; do
    script="$here/components/$c.sh"
    [ -f "$script" ] && bash "$script" stop "$stack" || true
  done
fi
if [ -d "$stack/pids" ]; then
  for f in $(ls -r "$stack"/pids/*.pid 2>/dev/null); do
    for pid in $(tac "$f"); do kill_tree "$pid"; done
    rm -f "$f"
  done
fi
# Services the private bus activated on its own daemonise away from its process tree; they still carry
# the stack's runtime folder in their environment, which identifies them.
for pid in $(stack_processes "$stack"); do kill_tree "$pid"; done
# Without its env file the folder no longer passes for a running stack (with-stack.sh looks for it).
rm -f "$stack/env"
exit 0
