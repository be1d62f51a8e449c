#!/usr/bin/env bash
# The tray application under Xvfb on the stack's private session bus: its tray item registers with a
# StatusNotifierWatcher, the item's menu (com.canonical.dbusmenu) lists the share with its status label and
# the fixed entries, and clicking "Mount" in it mounts the real Samba guest share.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"
: "${TW_SMB_HOST:?}" "${TW_SMB_PORT:?}" "${TW_SMB_GUEST_SHARE:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
PY=/usr/bin/python3
here=$TW_SOURCE_DIR/tests/integration/tray
work=$(mktemp -d)
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME"
watcher_pid="" app_pid=""

cleanup() {
  if [ -n "$app_pid" ] && kill -0 "$app_pid" 2>/dev/null; then
    timeout 30 "$CTL" eject --all --wait --timeout 20 >/dev/null 2>&1 || true
    kill_tree "$app_pid"
  fi
  [ -n "$watcher_pid" ] && kill_tree "$watcher_pid"
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  printf 'FAIL: %s\n' "$*" >&2
  [ -f "$work/app.log" ] && { echo '--- app log (tail)' >&2; tail -n 40 "$work/app.log" >&2; }
  exit 1
}

"$PY" "$here/sni_watcher.py" "$work/items" >"$work/watcher.log" 2>&1 &
watcher_pid=$!
wait_for 10 "$PY" -c 'import dbus,sys; sys.exit(0 if dbus.SessionBus().name_has_owner("org.kde.StatusNotifierWatcher") else 1)' \
  || fail "watcher did not start"

# No dashboard at start: the tray item is the way in.
"$PY" - "$XDG_CONFIG_HOME/tarnwell/io.tarnwell.Tarnwell.plist" <<'PY'
import plistlib, sys
with open(sys.argv[1], "wb") as f:
    plistlib.dump({"show_configuration_on_start": False, "Tarnwell_HasLaunchedBefore": True}, f)
PY

QT_QPA_PLATFORM=xcb xvfb-run -a "$TARNWELL" >"$work/app.log" 2>&1 &
app_pid=$!
wait_for 60 "$CTL" list || fail "the tray application did not appear on the session bus"
wait_for 30 test -s "$work/items" || fail "no tray item registered with the watcher"
read -r service path <"$work/items"

timeout 30 "$CTL" add "smb://$TW_SMB_HOST:$TW_SMB_PORT/$TW_SMB_GUEST_SHARE" --nickname "Tray Guest" >/dev/null \
  || fail "adding the share failed"

menu_has() {
  local entries
  entries=$(timeout 20 "$PY" "$here/dbusmenu.py" "$service" "$path" list) || return 1
  grep -qF -- "$1" <<<"$entries"
}
wait_for 20 menu_has "0|Tray Guest — READY|True" || fail "menu lacks the share: $(timeout 20 "$PY" "$here/dbusmenu.py" "$service" "$path" list)"
for entry in "0|Open Dashboard|True" "0|Log Manager…|True" "0|Preferences…|True" "0|Quit Tarnwell|True" \
             "0|Pause Auto-Mount|False"; do
  menu_has "$entry" || fail "menu lacks $entry"
done

timeout 20 "$PY" "$here/dbusmenu.py" "$service" "$path" click "Tray Guest" "Mount" >/dev/null || fail "clicking Mount failed"
mounted() {
  timeout 20 "$CTL" list --json | "$PY" -c 'import json,sys; sys.exit(0 if any(r["nickname"]=="Tray Guest" and r["mounted"] for r in json.load(sys.stdin)) else 1)'
}
wait_for 90 mounted || fail "the share was not mounted from the tray menu"
wait_for 20 menu_has "0|Tray Guest — MOUNTED ✓|True" || fail "the menu does not show the share mounted"
echo "PASS: tray item registered, menu read, share mounted from the menu"
