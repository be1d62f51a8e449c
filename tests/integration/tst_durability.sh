#!/usr/bin/env bash
# Nothing acknowledged is ever lost, through the headless engine and tarnwellctl, with the engine's files on
# a small tmpfs of this test's own (a private mount namespace, so nothing leaks to the machine):
# - the disk fills up: add, edit and changes of sets, rules and mappings fail loudly (non-zero exit, the
#   reason), the files on disk stay byte for byte as they were, and everything lands by itself once space
#   is freed;
# - the folder turns read-only: the same, and the change lands once it is writable again;
# - SIGKILL right after an acknowledged add, with 1,000 shares stored: the share is on disk, every run;
# - SIGKILL while writes are in flight: each store's file is the old or the new one, never cut off.
# Needs root (or user namespaces) for the mounts; skips with a message (status 77) where that is refused.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"

if [ -z "${TW_DURABILITY_NS:-}" ]; then
  if ! why=$(unshare -m --propagation private true 2>&1); then
    echo "SKIP: no private mount namespace here ($why)"
    exit 77
  fi
  TW_DURABILITY_NS=1 exec unshare -m --propagation private bash "$0" "$@"
fi

. "$TW_SOURCE_DIR/tests/stack/common.sh"
TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
fs=$work/fs
mkdir -p "$fs"
if ! why=$(mount -t tmpfs -o size=8m,mode=0700 tw-durability "$fs" 2>&1); then
  rm -rf "$work"
  echo "SKIP: cannot mount a tmpfs ($why)"
  exit 77
fi
export HOME=$fs/home XDG_CONFIG_HOME=$fs/home/.config XDG_DATA_HOME=$fs/home/.local/share
prefs=$XDG_CONFIG_HOME/tarnwell/io.tarnwell.Tarnwell.plist
audit=$XDG_DATA_HOME/Tarnwell/audit_log.json
daemon_pid=""
writers=""

cleanup() {
  local p
  for p in $writers; do kill_tree "$p"; done
  [ -n "$daemon_pid" ] && kill_tree "$daemon_pid"
  mountpoint -q "$(dirname "$prefs")" && umount "$(dirname "$prefs")"
  mountpoint -q "$fs" && umount "$fs"
  rm -rf "$work"
}
trap cleanup EXIT
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"

start_daemon() {
  "$TARNWELL" --headless >>"$work/daemon.log" 2>&1 &
  daemon_pid=$!
  wait_for 60 "$CTL" list || fail "the engine did not appear on the session bus"
}
kill_daemon() { # kill_daemon SIGNAL
  kill "-$1" "$daemon_pid"
  wait "$daemon_pid" || true
  daemon_pid=""
  # The bus name goes with the process; wait until a new engine may take it.
  local i=0
  while "$CTL" list >/dev/null 2>&1 && [ $i -lt 100 ]; do sleep 0.1; i=$((i + 1)); done
}

# Share names (volume_String) stored in the preferences file, one a line; fails on a file that is not a
# complete property list.
stored_shares() {
  python3 - "$prefs" <<'PY'
import plistlib, sys
with open(sys.argv[1], "rb") as f:
    data = plistlib.load(f)
for r in data.get("Tarnwell_VolumeRecordArray", []):
    print(r.get("volume_String", ""))
PY
}
stored_has() { stored_shares | grep -qxF -- "$1"; }
audit_has() { python3 - "$audit" "$1" <<'PY'
import json, sys
entries = json.load(open(sys.argv[1]))
sys.exit(0 if any(e.get("details", "").endswith(sys.argv[2]) for e in entries) else 1)
PY
}
daemon_said() { grep -qF -- "$1" "$work/daemon.log"; }

step "an engine on a tmpfs with one saved share"
start_daemon
run_ctl 0 add "smb://127.0.0.1:9/before" --nickname Before
stored_has before || fail "an acknowledged add is not in the preferences file at once"
wait_for 10 audit_has Before || fail "the audit log never got the add"
# Files to import on the full disk: a configuration with a share, a set of it and a rule, and a share CSV.
run_ctl 0 rules add --name Exported --when battery --do notify=Disk::Full
run_ctl 0 config export "$work/exported.twconfig"
python3 - "$work/exported.twconfig" "$work/import.twconfig" <<'PY'
import json, sys, uuid
config = json.load(open(sys.argv[1]))
share = dict(config["shares"][0], shareName="imported", nickname="Imported", id=500)
rule = dict(config["rules"][0], id=str(uuid.uuid4()).upper(), name="Imported rule")
config.update(shares=[share], rules=[rule], shareSets=[{"id": str(uuid.uuid4()), "name": "Imported Set", "shareIDs": [500]}])
json.dump(config, open(sys.argv[2], "w"))
PY
printf 'nickname,hostname,shareName,protocol,username,guest,port,group,autoMount\nImported CSV,127.0.0.1,importedcsv,smb,,yes,9,,no\n' \
  >"$work/import.csv"
wait_for 10 grep -qF Exported "$XDG_DATA_HOME/Tarnwell/rules.json" || fail "the rule was not saved"
cp -p "$prefs" "$work/prefs.before"; cp -p "$audit" "$work/audit.before"

step "the disk fills up: add and edit are refused as not saved, the files stay as they were"
dd if=/dev/zero of="$fs/filler" bs=4k 2>/dev/null || true
run_ctl 1 add "smb://127.0.0.1:9/during" --nickname During
expect_err "Not saved:"
run_ctl 1 edit Before --group crowded
expect_err "Not saved:"
for change in "set create Crowded" "directory map Crowded 127.0.0.1/crowded" \
              "rules add --name Crowded --when battery --do notify=Disk::Full" \
              "config import $work/import.twconfig" "config import $work/import.csv"; do
  # shellcheck disable=SC2086 # one word each
  run_ctl 1 $change
  expect_err "Not saved:"
done
sleep 3 # retries run meanwhile
cmp -s "$prefs" "$work/prefs.before" || fail "the preferences file changed on a full disk"
cmp -s "$audit" "$work/audit.before" || fail "the audit log changed on a full disk"
[ -z "$(find "$fs/home" -name '.*.??????')" ] || fail "a failed write left a temporary file: $(find "$fs/home" -name '.*.??????')"
daemon_said "❌ [Persistence] Preferences not saved" || fail "no console line for the failed save"
daemon_said "❌ [AUDIT] Failed to save audit log: " || fail "no console line for the failed audit write"
[ "$(grep -cF '❌ [Persistence] Preferences not saved' "$work/daemon.log")" -eq 1 ] \
  || fail "the failure is reported once per reason, not once per retry"
run_ctl 0 list; expect_out "During" # the running engine keeps it

step "space returns: what was refused lands without another change"
rm -f "$fs/filler"
wait_for 15 stored_has during || fail "the kept share was never saved after space returned"
wait_for 15 audit_has During || fail "the kept audit entry was never written after space returned"
daemon_said "✅ [Persistence] Preferences saved again" || fail "no console line for the recovery"
sets_and_mappings_have() { python3 -c '
import plistlib, sys
d = plistlib.load(open(sys.argv[1], "rb"))
found = [k for k in ("ShareSets", "ADShareMappings") if sys.argv[2].encode() in (d[k] if isinstance(d.get(k), bytes) else str(d.get(k)).encode())]
sys.exit(0 if len(found) == 2 else 1)' "$prefs" "$1"; }
wait_for 15 sets_and_mappings_have Crowded || fail "the refused set and mapping never landed"
wait_for 15 grep -qF Crowded "$XDG_DATA_HOME/Tarnwell/rules.json" || fail "the refused rule never landed"
wait_for 15 stored_has imported || fail "the refused import's share never landed"
wait_for 15 stored_has importedcsv || fail "the refused CSV import never landed"
sets_have() { python3 -c '
import plistlib, sys
sys.exit(0 if sys.argv[2].encode() in plistlib.load(open(sys.argv[1], "rb")).get("ShareSets", b"") else 1)' "$prefs" "$1"; }
wait_for 15 sets_have "Imported Set" || fail "the refused import's set never landed"
wait_for 15 grep -qF "Imported rule" "$XDG_DATA_HOME/Tarnwell/rules.json" || fail "the refused import's rule never landed"
run_ctl 0 add "smb://127.0.0.1:9/after" --nickname After
stored_has after || fail "an acknowledged add is not on disk at once"

step "a read-only folder: refused as not saved, lands once writable"
# As root, modes do not stop writes: the folder becomes a read-only bind mount of itself. (The whole tmpfs
# cannot turn read-only while the engine holds its lock file open for writing.)
cp -p "$prefs" "$work/prefs.before"
folder=$(dirname "$prefs")
mount --bind "$folder" "$folder"
mount -o remount,bind,ro "$folder"
run_ctl 1 add "smb://127.0.0.1:9/readonly" --nickname ReadOnly
expect_err "Not saved:"
expect_err "Read-only file system"
cmp -s "$prefs" "$work/prefs.before" || fail "the preferences file changed on a read-only folder"
umount "$folder"
wait_for 15 stored_has readonly || fail "the kept share was never saved once the folder was writable"

step "SIGKILL right after acknowledged adds, 1,000 shares stored (10 runs)"
kill_daemon TERM
python3 - "$prefs" <<'PY'
import plistlib, sys
with open(sys.argv[1], "rb") as f:
    data = plistlib.load(f)
records = data.setdefault("Tarnwell_VolumeRecordArray", [])
for i in range(1000):
    records.append({"internal_ID_Int_String": str(1000 + i), "hostname_String": "127.0.0.1",
                    "volume_String": "seed%d" % i, "port_Int": 9, "nickname_String": "Seed %d" % i,
                    "no_password_guest_login": 1, "username_String": "guest", "protocol_Int_String": "0",
                    "mount_inside_Volumes": 1, "unique_mountpoint_fullpath_String": "", "auto_Mount": 0})
with open(sys.argv[1], "wb") as f:
    plistlib.dump(data, f, fmt=plistlib.FMT_XML)
PY
for run in 1 2 3 4 5 6 7 8 9 10; do
  start_daemon
  run_ctl 0 add "smb://127.0.0.1:9/killed$run" --nickname "Killed $run"
  kill_daemon KILL
  shares=$(stored_shares) || fail "run $run: the preferences file is not a complete property list"
  for n in $(seq 1 "$run"); do
    grep -qxF "killed$n" <<<"$shares" || fail "run $run: the acknowledged share killed$n is lost"
  done
  [ "$(grep -c '^seed' <<<"$shares")" -eq 1000 ] || fail "run $run: seeded shares were lost"
done

step "SIGKILL while writes are in flight (3 runs): every file is old or new, never cut off"
for run in 1 2 3; do
  start_daemon
  : >"$work/acked"
  writers=""
  for w in 1 2 3; do
    ( for i in $(seq 1 40); do
        if "$CTL" add "smb://127.0.0.1:9/w$run-$w-$i" --nickname "W $run $w $i" >/dev/null 2>&1; then
          echo "w$run-$w-$i" >>"$work/acked"
        fi
      done ) &
    writers="$writers $!"
  done
  # Once adds are being acknowledged, at a random moment while the writers keep going.
  wait_for 120 test -s "$work/acked" || fail "run $run: no add was acknowledged"
  sleep "0.$((RANDOM % 10))"
  kill_daemon KILL
  for p in $writers; do wait "$p" || true; done
  writers=""
  shares=$(stored_shares) || fail "run $run: the preferences file is cut off"
  python3 -c 'import json, sys; json.load(open(sys.argv[1]))' "$audit" || fail "run $run: the audit log is cut off"
  while read -r name; do
    grep -qxF "$name" <<<"$shares" || fail "run $run: the acknowledged share $name is lost"
  done <"$work/acked"
done

step "one engine per user: a second one on the same files is refused"
start_daemon
status=0
DBUS_SESSION_BUS_ADDRESS=unix:path=$work/no-bus timeout 30 "$TARNWELL" --headless >"$work/second.log" 2>&1 || status=$?
[ "$status" -eq 1 ] || fail "a second engine on the same files exited $status, expected 1: $(cat "$work/second.log")"
grep -qF "❌ [SETUP] Not starting a second engine: another Tarnwell engine (PID $daemon_pid)" "$work/second.log" \
  || fail "the refusal does not name the running engine: $(cat "$work/second.log")"
run_ctl 0 list # the first one is untouched
kill_daemon TERM

step "losing the session bus ends the engine cleanly"
dbus-daemon --session --nofork --print-address=3 3>"$work/bus-address" >/dev/null 2>&1 &
bus_pid=$!
writers="$bus_pid"
wait_for 10 test -s "$work/bus-address" || fail "the private bus did not start"
private_bus=$(head -n1 "$work/bus-address")
DBUS_SESSION_BUS_ADDRESS=$private_bus "$TARNWELL" --headless >>"$work/daemon.log" 2>&1 &
daemon_pid=$!
wait_for 60 env DBUS_SESSION_BUS_ADDRESS="$private_bus" "$CTL" list || fail "the engine did not appear on the private bus"
kill -TERM "$bus_pid"; wait "$bus_pid" || true; writers=""
i=0
while kill -0 "$daemon_pid" 2>/dev/null && [ $i -lt 150 ]; do sleep 0.1; i=$((i + 1)); done
kill -0 "$daemon_pid" 2>/dev/null && fail "the engine kept running without its bus"
status=0; wait "$daemon_pid" || status=$?; daemon_pid=""
[ "$status" -eq 0 ] || fail "the engine exited $status after losing its bus, expected 0"
daemon_said "❌ [SETUP] Lost the session bus; shutting down" || fail "no console line for the lost bus"

step "done"
