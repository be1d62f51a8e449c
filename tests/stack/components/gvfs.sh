#!/usr/bin/env bash
# GVfs on the private session bus: gvfsd (the mount daemon; backends such as gvfsd-smb and gvfsd-dav are
# its children) and gvfsd-fuse, which shows every GVfs mount under $XDG_RUNTIME_DIR/gvfs. Both are
# started here rather than by bus activation so that their PIDs are known and stop can end them.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
fuse_root="${XDG_RUNTIME_DIR:-$stack/runtime}/gvfs"

fuse_mounted() { awk -v p="$1" '$5 == p { found = 1 } END { exit !found }' /proc/self/mountinfo; }

case "$action" in
start)
  : "${DBUS_SESSION_BUS_ADDRESS:?the dbus component must run first}"
  # The remote volume monitors (udisks2, mtp, ...) are not needed and would be bus-activated by every GIO
  # client that asks for the volume monitor; with this set GIO skips them instead of waiting for them.
  export_var "$stack" GVFS_REMOTE_VOLUME_MONITOR_IGNORE 1
  export_var "$stack" GVFS_FUSE_ROOT "$fuse_root"
  mkdir -p "$fuse_root" "$stack/home"
  # The daemons get a home of their own so that nothing reads or writes root's.
  HOME="$stack/home" setsid /usr/libexec/gvfsd --no-fuse --replace >"$stack/logs/gvfsd.log" 2>&1 < /dev/null &
  record_pid "$stack" gvfs $!
  if ! wait_for 10 gdbus call --session --dest org.gtk.vfs.Daemon --object-path /org/gtk/vfs/Daemon \
        --method org.freedesktop.DBus.Peer.Ping; then
    stack_log "gvfsd did not appear on the session bus"; exit 1
  fi
  HOME="$stack/home" setsid /usr/libexec/gvfsd-fuse "$fuse_root" -f >"$stack/logs/gvfsd-fuse.log" 2>&1 < /dev/null &
  record_pid "$stack" gvfs $!
  if ! wait_for 10 fuse_mounted "$fuse_root"; then
    stack_log "gvfsd-fuse did not mount $fuse_root"; exit 1
  fi
  ;;
stop)
  if fuse_mounted "$fuse_root"; then
    fusermount3 -u "$fuse_root" 2>/dev/null || fusermount -u "$fuse_root" 2>/dev/null || umount -l "$fuse_root" 2>/dev/null || true
  fi
  if [ -f "$stack/pids/gvfs.pid" ]; then
    for pid in $(tac "$stack/pids/gvfs.pid"); do kill_tree "$pid"; done
    rm -f "$stack/pids/gvfs.pid"
  fi
  ;;
esac
