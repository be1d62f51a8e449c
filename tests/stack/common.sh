# Shared helpers for the test-stack scripts. Sourced, not run.
# Every component records the PIDs it starts in $STACK/pids/<component>.pid (one per line) and appends
# "export NAME=value" lines to $STACK/env, which with-stack.sh sources before running a test.

stack_log() { printf '[stack] %s\n' "$*" >&2; }

# record_pid STACK COMPONENT PID
record_pid() { mkdir -p "$1/pids"; echo "$3" >> "$1/pids/$2.pid"; }

# export_var STACK NAME VALUE
export_var() { printf 'export %s=%q\n' "$2" "$3" >> "$1/env"; export "$2=$3"; }

# wait_for SECONDS COMMAND...: polls COMMAND every 0.1 s until it succeeds or time runs out.
wait_for() {
  local limit=$1; shift
  local i=0 max=$((limit * 10))
  while [ $i -lt $max ]; do
    "$@" >/dev/null 2>&1 && return 0
    sleep 0.1; i=$((i + 1))
  done
  return 1
}

# descendants PID: every process below PID, deepest first.
descendants() {
  local child
  for child in $(ps -o pid= --ppid "$1" 2>/dev/null); do
    descendants "$child"
    echo "$child"
  done
}

# kill_tree PID: stops PID and everything it started (TERM, then KILL after 5 s).
kill_tree() {
  local pid=$1 all p
  kill -0 "$pid" 2>/dev/null || return 0
  all="$(descendants "$pid") $pid"
  for p in $all; do kill -TERM "$p" 2>/dev/null || true; done
  local i=0
  while [ $i -lt 50 ]; do
    local alive=0
    for p in $all; do kill -0 "$p" 2>/dev/null && alive=1; done
    [ $alive -eq 0 ] && return 0
    sleep 0.1; i=$((i + 1))
  done
  for p in $all; do kill -KILL "$p" 2>/dev/null || true; done
}

# free_port: a TCP port on 127.0.0.1 that nothing listens on right now.
free_port() {
  python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1]); s.close()'
}

# stack_processes STACK: PIDs of processes whose environment names this stack's runtime folder.
stack_processes() {
  local marker="XDG_RUNTIME_DIR=$1/runtime" env pid
  for env in /proc/[0-9]*/environ; do
    pid=${env#/proc/}; pid=${pid%/environ}
    [ "$pid" = "$$" ] && continue
    { tr '\0' '\n' < "$env"; } 2>/dev/null | grep -qxF "$marker" && echo "$pid"
  done
}
