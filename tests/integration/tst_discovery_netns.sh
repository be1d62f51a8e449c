#!/usr/bin/env bash
# Discovery end to end inside a network namespace this script makes for itself (it re-executes under
# `unshare -n -m` and refuses to run anywhere else): a veth pair carrying 192.0.2.37/24 and a few more
# documentation addresses, listeners on 445/548, a real Samba on 192.0.2.10 and .37, Avahi on a private
# system bus publishing an SMB service, and the headless engine on a private session bus driven by
# tarnwellctl. Nothing here can reach a real network: the namespace has no other interface.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"
. "$TW_SOURCE_DIR/tests/netns/discovery-net.sh"
disc_reexec_in_namespace "$0" "$@"

# Sweep hosts with a server: .1 (SMB), .10 (Samba + AFP), .254 (both). .37 (this machine) runs Samba too
# and must never be reported; .99 (not a sweep host) takes connections and never answers.
disc_net_up 192.0.2.1 192.0.2.10 192.0.2.99 192.0.2.254

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
pids=()
cleanup() {
  local p
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill_tree "${pids[$i]}" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  printf 'FAIL: %s\n' "$*" >&2
  for log in daemon avahi smbd publish-address; do
    [ -f "$work/$log.log" ] && { echo "--- $log log (tail)" >&2; tail -n 25 "$work/$log.log" >&2; }
  done
  exit 1
}
mkdir -p "$work"/{home,avahi}

echo "=== listeners"
python3 "$TW_SOURCE_DIR/tests/netns/listeners.py" 192.0.2.1:445 192.0.2.10:548 192.0.2.254:445 192.0.2.254:548 \
  192.0.2.99:445:hang >"$work/listeners.log" 2>&1 &
pids+=($!)
wait_for 10 grep -q ready "$work/listeners.log" || fail "listeners did not start"

echo "=== samba on 192.0.2.10 and 192.0.2.37"
smb_status=0
disc_start_samba "$work" "192.0.2.10 192.0.2.37" || smb_status=$?
pids+=("$DISC_SMB_PID")
[ "$smb_status" -eq 0 ] || fail "smbd did not listen"
user=$DISC_SMB_USER password=$DISC_SMB_PASSWORD

echo "=== avahi on a private system bus"
cat >"$work/avahi/system.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=$work/avahi/system_bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/><allow own="*"/><allow send_destination="*"/><allow receive_sender="*"/>
  </policy>
</busconfig>
CONF
dbus-daemon --config-file="$work/avahi/system.conf" --nofork --nopidfile >"$work/sysbus.log" 2>&1 &
pids+=($!)
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$work/avahi/system_bus
wait_for 10 test -S "$work/avahi/system_bus" || fail "private system bus did not start"
cat >"$work/avahi/avahi-daemon.conf" <<CONF
[server]
host-name=twdisc-host
use-ipv4=yes
use-ipv6=no
allow-interfaces=$DISC_IF
enable-dbus=yes
[wide-area]
enable-wide-area=no
[publish]
publish-workstation=no
publish-hinfo=no
[reflector]
[rlimits]
CONF
# The daemon keeps its pid file and socket under /run/avahi-daemon: a private tmpfs in this mount namespace.
mkdir -p /run/avahi-daemon && mount -t tmpfs tmpfs /run/avahi-daemon
avahi-daemon -f "$work/avahi/avahi-daemon.conf" --no-drop-root --no-chroot --no-rlimits >"$work/avahi.log" 2>&1 &
pids+=($!)
wait_for 15 grep -q "Server startup complete" "$work/avahi.log" || fail "avahi-daemon did not start"
avahi-publish-service "Test NAS" _smb._tcp 445 >"$work/publish.log" 2>&1 &
pids+=($!)
wait_for 15 grep -q "Established" "$work/publish.log" || fail "the SMB service was not published"
# A name that only multicast DNS knows, for the Samba server (the host's own name may resolve to any of
# its addresses).
avahi-publish-address --no-reverse twdisc-nas.local 192.0.2.10 >"$work/publish-address.log" 2>&1 &
pids+=($!)
wait_for 15 grep -q "Established" "$work/publish-address.log" || fail "the address was not published"

echo "=== headless engine on a private session bus"
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
export XDG_RUNTIME_DIR=$work/home/run
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_RUNTIME_DIR" && chmod 0700 "$XDG_RUNTIME_DIR"
dbus-daemon --session --address="unix:path=$work/session_bus" --nofork --nopidfile >"$work/sessbus.log" 2>&1 &
pids+=($!)
export DBUS_SESSION_BUS_ADDRESS=unix:path=$work/session_bus
wait_for 10 test -S "$work/session_bus" || fail "private session bus did not start"
GIO_USE_VFS=local "$TARNWELL" --headless >"$work/daemon.log" 2>&1 &
pids+=($!)
wait_for 20 dbus-send --session --print-reply --dest=io.tarnwell.Tarnwell /io/tarnwell/Tarnwell/Discovery \
  org.freedesktop.DBus.Properties.Get string:io.tarnwell.Tarnwell.Discovery1 string:Status >/dev/null \
  || fail "the engine did not serve the discovery interface"

run_ctl() {
  local expected=$1; shift
  local status=0
  timeout 90 "$CTL" "$@" >"$work/out" 2>"$work/err" <"${ctl_input:-/dev/null}" || status=$?
  out=$(cat "$work/out"); err=$(cat "$work/err")
  [ "$status" -eq "$expected" ] || fail "tarnwellctl $* exited $status, expected $expected; stdout: $out; stderr: $err"
}
status_text() {
  dbus-send --session --print-reply=literal --dest=io.tarnwell.Tarnwell /io/tarnwell/Tarnwell/Discovery \
    org.freedesktop.DBus.Properties.Get string:io.tarnwell.Tarnwell.Discovery1 string:Status | sed 's/^ *variant *//'
}

echo "=== scan"
disc_refuse_unless_private
start=$(date +%s.%N)
run_ctl 0 discover --json
elapsed=$(awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN { printf "%.3f", b - a }')
python3 - "$out" <<'PY' || fail "scan found: $out"
import json, sys
found = sorted(s["displayName"] for s in json.loads(sys.argv[1]))
expected = sorted(["192.0.2.1 (SMB)", "192.0.2.10 (SMB)", "192.0.2.10 (AFP)", "192.0.2.254 (SMB)",
                   "192.0.2.254 (AFP)", "Test NAS (SMB)"])
assert found == expected, found
assert not any("192.0.2.37" in s for s in found)
PY
[ "$(status_text)" = "Scan stopped" ] || fail "status after the scan: $(status_text)"
echo "scan took ${elapsed}s (sweep, then the stop two seconds later)"
awk -v t="$elapsed" 'BEGIN { exit !(t >= 2.0 && t < 10) }' || fail "scan took ${elapsed}s"

echo "=== shares of the real Samba server"
run_ctl 0 shares 192.0.2.10
[ "$out" = $'public\nsecure\nAdmin$  (hidden)' ] || fail "guest listing: $out"
printf '%s\n' "$password" >"$work/pw"
ctl_input=$work/pw run_ctl 0 shares 192.0.2.10 --user "$user" --password-stdin
[ "$out" = $'public\nsecure\nAdmin$  (hidden)' ] || fail "user listing: $out"
printf 'wrong\n' >"$work/badpw"
ctl_input=$work/badpw run_ctl 1 shares 192.0.2.10 --user "$user" --password-stdin
grep -qF "Authentication required. Enter your username and password above, then click Retry." <<<"$err" || fail "wrong password: $err"
run_ctl 1 shares 192.0.2.10 --port 1
grep -qF "Cannot connect to server. Make sure it's online and sharing is enabled." <<<"$err" || fail "refused: $err"

echo "=== names: spaces, mDNS, nothing resolves"
run_ctl 0 shares twdisc-nas.local
[ "$out" = $'public\nsecure\nAdmin$  (hidden)' ] || fail "listing through mDNS: $out"
grep -qF "🔍 [BROWSE] Resolved 'twdisc-nas.local' to '192.0.2.10'" "$work/daemon.log" || fail "no mDNS resolution line"
run_ctl 1 shares "My NAS"
grep -qF "🔍 [BROWSE] 'My NAS' has spaces, trying 'My-NAS.local'" "$work/daemon.log" || fail "no spaces line"
grep -qF "🔍 [BROWSE] Could not resolve 'My-NAS.local', will try modified hostname" "$work/daemon.log" || fail "no unresolved line"
grep -qF "Could not connect using hostname. Try using the IP address instead, or enter credentials." <<<"$err" || fail "unresolved: $err"

echo "=== the discovery tab: scan, browse and add through the window"
view=$TW_BINARY_DIR/tests/netns_discovery_view
if [ -x "$view" ]; then
  disc_refuse_unless_private
  QT_QPA_PLATFORM=offscreen GIO_USE_VFS=local timeout 120 "$view" >"$work/view.log" 2>&1 \
    || { tail -n 40 "$work/view.log" >&2; fail "the discovery tab"; }
  grep -E '^Totals' "$work/view.log"
else
  echo "no desktop build: the discovery tab is not exercised"
fi

echo "=== a server that never answers is given up after 15 s"
start=$(date +%s)
run_ctl 1 shares 192.0.2.99
took=$(( $(date +%s) - start ))
grep -qF "Server did not respond in time. Check that the server is online and SMB sharing is enabled, then click Retry." <<<"$err" || fail "hang: $err"
grep -qF "⏱ [BROWSE] smbutil exceeded 15s, terminating" "$work/daemon.log" || fail "no time-out line"
[ "$took" -ge 14 ] && [ "$took" -le 25 ] || fail "the hanging listing ended after ${took}s"
pgrep -f "smbclient -g -L //192.0.2.99" >/dev/null && fail "smbclient still runs after the time limit"
echo "PASS"
