#!/usr/bin/env bash
# A private session bus. Services it activates (GVfs daemons, the keyring) inherit its environment, so
# stop.sh finds them by the stack's runtime folder even after they daemonise.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
case "$action" in
start)
  runtime="$stack/runtime"
  mkdir -p "$runtime" "$stack/home"
  chmod 700 "$runtime"
  export_var "$stack" XDG_RUNTIME_DIR "$runtime"
  out=$(dbus-daemon --session --fork --nopidfile --address="unix:path=$runtime/bus" --print-address=1 --print-pid=1 \
        2>"$stack/logs/dbus.log")
  address=$(echo "$out" | sed -n 1p)
  pid=$(echo "$out" | sed -n 2p)
  [ -n "$pid" ] || { stack_log "dbus-daemon did not start"; exit 1; }
  record_pid "$stack" dbus "$pid"
  export_var "$stack" DBUS_SESSION_BUS_ADDRESS "$address"
  export_var "$stack" DBUS_SESSION_BUS_PID "$pid"
  # A session D-Bus is not a desktop: keep GIO from looking for a display.
  export_var "$stack" GIO_USE_VFS "gvfs"
  ;;
stop) ;;
esac
