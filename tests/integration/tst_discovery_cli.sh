#!/usr/bin/env bash
# tarnwellctl shares against a real headless engine and the stack's real Samba on 127.0.0.1 (loopback only:
# no scan and no multicast happen here; those run in tst_discovery_netns.sh inside a private namespace).
# Guest and password listings, a wrong password, a refused port, adding a listed share (and refusing one
# that was not listed), and the password never reaching smbclient's arguments.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"
: "${TW_SMB_HOST:?}" "${TW_SMB_PORT:?}" "${TW_SMB_USER:?}" "${TW_SMB_PASSWORD:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"
[ "$TW_SMB_HOST" = 127.0.0.1 ] || { echo "the stack's Samba must be on 127.0.0.1" >&2; exit 1; }

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME"
daemon_pid=""
cleanup() {
  [ -n "$daemon_pid" ] && kill_tree "$daemon_pid"
  rm -rf "$work"
}
trap cleanup EXIT
ctl_timeout=90
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"


"$TARNWELL" --headless >"$work/daemon.log" 2>&1 &
daemon_pid=$!
wait_for 20 dbus-send --session --print-reply --dest=io.tarnwell.Tarnwell /io/tarnwell/Tarnwell/Discovery \
  org.freedesktop.DBus.Properties.Get string:io.tarnwell.Tarnwell.Discovery1 string:Status >/dev/null \
  || fail "the engine did not serve the discovery interface"

echo "=== guest listing"
run_ctl 0 shares 127.0.0.1 --port "$TW_SMB_PORT"
[ "$out" = $'public\npaths\nengine\nsecure' ] || fail "guest listing: $out"
run_ctl 0 shares 127.0.0.1 --port "$TW_SMB_PORT" --json
python3 -c 'import json,sys; s=json.loads(sys.argv[1]); assert [x["name"] for x in s]==["public","paths","engine","secure"], s; assert all(x["serverHost"]=="127.0.0.1" and not x["isHidden"] for x in s)' "$out" \
  || fail "json listing: $out"

echo "=== password listing; the password never in smbclient's arguments"
printf '%s\n' "$TW_SMB_PASSWORD" >"$work/pw"
( # watch the children's command lines while the listing runs
  for _ in $(seq 1 100); do cat /proc/[0-9]*/cmdline 2>/dev/null | tr '\0' ' ' | grep -F -- "smbclient" || true; sleep 0.02; done
) >"$work/cmdlines" &
watcher=$!
ctl_input=$work/pw run_ctl 0 shares 127.0.0.1 --port "$TW_SMB_PORT" --user "$TW_SMB_USER" --password-stdin
wait "$watcher" || true
[ "$out" = $'public\npaths\nengine\nsecure' ] || fail "user listing: $out"
grep -qF -- "-A " "$work/cmdlines" || fail "smbclient was not seen with an authentication file"
grep -qF -- "$TW_SMB_PASSWORD" "$work/cmdlines" && fail "the password appeared in a command line"
grep -qF -- "$TW_SMB_PASSWORD" "$work/daemon.log" && fail "the password appeared in the engine's output"
ls /tmp/tarnwell-smb-* >/dev/null 2>&1 && fail "an authentication file was left behind"

echo "=== wrong password"
printf 'not-the-password\n' >"$work/badpw"
ctl_input=$work/badpw run_ctl 1 shares 127.0.0.1 --port "$TW_SMB_PORT" --user "$TW_SMB_USER" --password-stdin
grep -qF "Authentication required. Enter your username and password above, then click Retry." <<<"$err" || fail "wrong password: $err"

echo "=== refused port"
refused=$(free_port)
run_ctl 1 shares 127.0.0.1 --port "$refused"
grep -qF "Cannot connect to server. Make sure it's online and sharing is enabled." <<<"$err" || fail "refused: $err"

echo "=== adding a listed share"
ctl_input=$work/pw run_ctl 0 shares 127.0.0.1 --port "$TW_SMB_PORT" --user "$TW_SMB_USER" --password-stdin --add secure
grep -qE "^Added share 'secure' as record [0-9]+$" <<<"$out" || fail "add: $out"
grep -qF "✅ [ADD] Added share '" "$work/daemon.log" || fail "no console line for the added share"
run_ctl 0 list --json
python3 -c '
import json,sys
recs=[r for r in json.loads(sys.argv[1]) if r["shareName"]=="secure" and r["hostname"]=="127.0.0.1"]
assert len(recs)==1, recs
assert recs[0]["port"]==int(sys.argv[2]) and recs[0]["username"]==sys.argv[3], recs' "$out" "$TW_SMB_PORT" "$TW_SMB_USER" \
  || fail "record not as listed: $out"
run_ctl 1 shares 127.0.0.1 --port "$TW_SMB_PORT" --add nosuchshare
grep -qF "The share 'nosuchshare' is not in the listing of 127.0.0.1" <<<"$err" || fail "unlisted add: $err"

echo "=== passwords are never taken from the command line"
run_ctl 2 shares 127.0.0.1 --password secret
echo "PASS"
