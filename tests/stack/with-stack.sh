#!/usr/bin/env bash
# Runs a command inside the test stack's environment:  with-stack.sh STACK_DIR COMMAND [ARG ...]
# Under CTest the stack_start fixture has started it; run by hand, the stack is started for this one
# command and stopped afterwards.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
stack=${1:?usage: with-stack.sh STACK_DIR COMMAND [ARG ...]}
shift
own=0
if [ ! -f "$stack/env" ]; then
  "$here/start.sh" "$stack"
  own=1
fi
. "$stack/env"
if [ $own -eq 1 ]; then
  trap '"$here/stop.sh" "$stack"' EXIT
  "$@"
else
  exec "$@"
fi
