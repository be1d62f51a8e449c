#!/usr/bin/env bash
# tarnwellctl against a real headless engine on the stack's private session bus, as a user would drive it:
# add a guest and a password share (real Samba), mount them and read files through the mount paths, list,
# eject, read the event log (printed, and a full one exported to a file) and export the audit log; then bad
# input (each refused with a clear message, a non-zero status and nothing stored changed; control characters
# refused), a second launch, and SIGTERM (exit 0, APP_QUIT on disk, records saved).
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"
: "${TW_SMB_HOST:?}" "${TW_SMB_PORT:?}" "${TW_SMB_GUEST_SHARE:?}" "${TW_SMB_USER_SHARE:?}" "${TW_SMB_USER:?}"
: "${TW_SMB_PASSWORD:?}" "${TW_SMB_SHARES_DIR:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME"
prefs=$XDG_CONFIG_HOME/tarnwell/io.tarnwell.Tarnwell.plist
audit=$XDG_DATA_HOME/Tarnwell/audit_log.json
tag=tw-cli-$$-$RANDOM
guest_file=$TW_SMB_SHARES_DIR/$TW_SMB_GUEST_SHARE/$tag.txt
secure_file=$TW_SMB_SHARES_DIR/$TW_SMB_USER_SHARE/$tag.txt
daemon_pid=""

cleanup() {
  if [ -n "$daemon_pid" ] && kill -0 "$daemon_pid" 2>/dev/null; then
    timeout 30 "$CTL" eject --all --wait --timeout 20 >/dev/null 2>&1 || true
    kill_tree "$daemon_pid"
  fi
  rm -f "$guest_file" "$secure_file"
  rm -rf "$work"
}
trap cleanup EXIT
ctl_timeout=150
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"



# The stored settings of every share (no runtime state), sorted: what "nothing changed" compares.
settings() {
  timeout 30 "$CTL" list --json | python3 -c '
import json, sys
keys = ["id", "nickname", "hostname", "shareName", "port", "protocolType", "username", "guest", "autoMount",
        "mountInVolumes", "customMountPoint", "group", "macAddress", "allowedSSIDs", "isLocked", "managedBy"]
print(json.dumps(sorted(({k: r[k] for k in keys} for r in json.load(sys.stdin)), key=lambda r: r["id"])))'
}
record_field() { # record_field ID KEY
  timeout 30 "$CTL" list --json | python3 -c '
import json, sys
rid, key = int(sys.argv[1]), sys.argv[2]
print(next(r for r in json.load(sys.stdin) if r["id"] == rid)[key])' "$1" "$2"
}

# stop_daemon SIGNAL: sends it and waits (at most 30 s) for the engine to end; its status in $stop_status.
stop_daemon() {
  kill "-$1" "$daemon_pid"
  local i=0
  while kill -0 "$daemon_pid" 2>/dev/null && [ $i -lt 300 ]; do sleep 0.1; i=$((i + 1)); done
  kill -0 "$daemon_pid" 2>/dev/null && fail "the engine did not end within 30 s of SIG$1"
  stop_status=0
  wait "$daemon_pid" || stop_status=$?
  daemon_pid=""
}

start_daemon() {
  "$TARNWELL" --headless >>"$work/daemon.log" 2>&1 &
  daemon_pid=$!
  wait_for 30 "$CTL" list || fail "the engine did not appear on the session bus"
}

step "a managed (locked) share in the preferences before the first start"
python3 - "$prefs" <<'PY'
import plistlib, sys
# Loopback and the discard port: nothing is ever mounted from it (auto-mount is off).
locked = {"internal_ID_Int_String": "7", "hostname_String": "127.0.0.1", "volume_String": "policies",
          "port_Int": 9, "nickname_String": "Corp Policies", "no_password_guest_login": 1,
          "username_String": "guest", "protocol_Int_String": "0", "mount_inside_Volumes": 1,
          "unique_mountpoint_fullpath_String": "", "auto_Mount": 0, "isLocked": True, "managedBy": "MDM"}
# A full event log (2,000 entries, newest first, about 1 MB) that the exports below must carry whole.
from datetime import datetime, timedelta
events = [{"internal_VolumeRecord_ID_Int_String": "0", "eventDate": datetime(2024, 1, 1) - timedelta(minutes=i),
           "event_type_Enum_Rawvalue": "STARTUP", "hostname_String": "", "sharename_String": "",
           "mountpoint_String": "", "eventMessage": "STARTUP: seeded %d " % i + "x" * 480, "statusText": ""}
          for i in range(2000)]
with open(sys.argv[1], "wb") as f:
    plistlib.dump({"Tarnwell_VolumeRecordArray": [locked], "Tarnwell_LogEventArray": events}, f, fmt=plistlib.FMT_XML)
PY
chmod 600 "$prefs"

step "leftover GVfs mounts of the test shares are unmounted"
for share in "$TW_SMB_GUEST_SHARE" "$TW_SMB_USER_SHARE"; do
  timeout 20 gio mount -u "smb://$TW_SMB_HOST:$TW_SMB_PORT/$share" >/dev/null 2>&1 || true
done

step "version and help need no engine"
run_ctl 0 --version; grep -q '^tarnwellctl ' <<<"$out" || fail "version: $out"
run_ctl 0 --help; grep -q 'Commands:' <<<"$out" || fail "help: $out"
run_ctl 0 mount --help; grep -q 'Usage: tarnwellctl mount' <<<"$out" || fail "mount help: $out"
timeout 10 "$TARNWELL" --version | grep -q 'tarnwell' || fail "tarnwell --version"
run_ctl 1 list
expect_err "No Tarnwell engine is running on the session bus. Start it with: tarnwell --headless"
expect_err "systemctl --user start tarnwell.service"

step "start the headless engine"
start_daemon
grep -qF "📋 [AUDIT] APP_LAUNCH: Tarnwell launched" "$work/daemon.log" || fail "no launch line on the console"
run_ctl 0 list --json
python3 -c 'import json,sys; r=json.loads(sys.argv[1]); assert [x["id"] for x in r] == [7], r; assert r[0]["isLocked"]' "$out" \
  || fail "the managed record did not load alone (no examples beside it): $out"

step "the served interface is the checked-in description"
timeout 20 gdbus introspect --session --xml --dest io.tarnwell.Tarnwell --object-path /io/tarnwell/Tarnwell >"$work/served.xml" \
  || fail "introspection failed"
python3 - "$work/served.xml" "$TW_SOURCE_DIR/src/control/io.tarnwell.Tarnwell.Control1.xml" <<'PY' || fail "interface drift"
import sys, xml.etree.ElementTree as ET
def members(path):
    iface = next(i for i in ET.parse(path).getroot().iter("interface") if i.get("name") == "io.tarnwell.Tarnwell.Control1")
    out = set()
    for m in iface:
        args = list(m.iter("arg"))
        if m.tag == "method":  # in and out arguments each in order (their interleaving carries no meaning)
            out.add((m.tag, m.get("name"), tuple(a.get("type") for a in args if a.get("direction", "in") == "in"),
                     tuple(a.get("type") for a in args if a.get("direction") == "out")))
        elif m.tag == "signal":
            out.add((m.tag, m.get("name"), tuple(a.get("type") for a in args)))
        elif m.tag == "property":
            out.add((m.tag, m.get("name"), (m.get("type"), m.get("access"))))
    return out
served, described = members(sys.argv[1]), members(sys.argv[2])
assert served == described, ("served only:", served - described, "described only:", described - served)
PY

step "a second launch does not start a second engine"
second_status=0
timeout 30 "$TARNWELL" --headless >"$work/second.log" 2>&1 || second_status=$?
[ "$second_status" -eq 0 ] || fail "second launch exited $second_status"
grep -qF "Tarnwell is already running" "$work/second.log" || fail "second launch: $(cat "$work/second.log")"
kill -0 "$daemon_pid" || fail "the first engine died"

step "add a guest share and a password share"
echo "guest $tag" >"$guest_file"
echo "secure $tag" >"$secure_file"
chmod 0666 "$guest_file" "$secure_file"
run_ctl 0 add "smb://$TW_SMB_HOST:$TW_SMB_PORT/$TW_SMB_GUEST_SHARE" --nickname "CLI Guest"
guest_id=$(sed -n 's/^Added share \([0-9]*\):.*/\1/p' <<<"$out")
[ -n "$guest_id" ] || fail "no ID in: $out"
status=0
printf '%s\n' "$TW_SMB_PASSWORD" | timeout 60 "$CTL" add --host "$TW_SMB_HOST" --port "$TW_SMB_PORT" \
  --share "$TW_SMB_USER_SHARE" --user "$TW_SMB_USER" --nickname "CLI Secure" --password-stdin >"$work/out" 2>"$work/err" || status=$?
[ $status -eq 0 ] || fail "password add exited $status: $(cat "$work/err")"
secure_id=$(sed -n 's/^Added share \([0-9]*\):.*/\1/p' "$work/out")
[ -n "$secure_id" ] || fail "no ID in: $(cat "$work/out")"
[ "$(record_field "$guest_id" guest)" = 1 ] || fail "the URL without a user did not make a guest share"
[ "$(record_field "$secure_id" username)" = "$TW_SMB_USER" ] || fail "user not stored"
for f in "$prefs" "$work/daemon.log"; do
  ! grep -qF -- "$TW_SMB_PASSWORD" "$f" || fail "the password is written in clear in $f"
done

step "mount both and read through the mount paths"
run_ctl 0 mount "CLI Guest" --wait --timeout 90
grep -q '^Mounted ' <<<"$out" || fail "mount output: $out"
run_ctl 0 mount "$secure_id" --wait --timeout 90
guest_mp=$(record_field "$guest_id" mountPoint)
secure_mp=$(record_field "$secure_id" mountPoint)
[ "$(record_field "$guest_id" mounted)" = True ] || fail "guest share not mounted"
[ "$(record_field "$secure_id" mounted)" = True ] || fail "password share not mounted"
[ "$(timeout 20 cat "$guest_mp/$tag.txt")" = "guest $tag" ] || fail "cannot read the guest file through '$guest_mp'"
[ "$(timeout 20 cat "$secure_mp/$tag.txt")" = "secure $tag" ] \
  || fail "cannot read the password share's file through its mount point '$secure_mp'"
run_ctl 0 verify "CLI Guest"
grep -q 'connected at' <<<"$out" || fail "verify: $out"

step "list --json"
run_ctl 0 list --json
python3 - "$out" "$guest_id" "$secure_id" <<'PY' || fail "list --json: $out"
import json, sys
records = {r["id"]: r for r in json.loads(sys.argv[1])}
guest, secure = records[int(sys.argv[2])], records[int(sys.argv[3])]
for r in (guest, secure):
    assert r["protocolType"] == "SMB" and r["mounted"] is True and r["mountInProgress"] is False, r
    assert r["mountURL"].startswith("smb://") and r["status"], r
    assert "password" not in json.dumps(r).lower(), r
assert guest["guest"] == 1 and secure["guest"] == 0 and secure["autoMount"] == 0, (guest, secure)
assert records[7]["isLocked"] is True and records[7]["managedBy"] == "MDM"
PY
run_ctl 0 status "CLI Secure"
grep -q "State: *mounted" <<<"$out" || fail "status: $out"

step "eject"
run_ctl 0 eject "CLI Guest" --wait --timeout 60
[ "$(record_field "$guest_id" mounted)" = False ] || fail "guest share still mounted"
run_ctl 0 eject --all --wait --timeout 60
[ "$(record_field "$secure_id" mounted)" = False ] || fail "password share still mounted after eject --all"

step "event log"
run_ctl 0 log --limit 100
grep -q "#$guest_id .*MOUNT_SUCCESS" <<<"$out" || fail "no MOUNT_SUCCESS of the guest share in the log: $out"
grep -q "#$secure_id .*UMMOUNT_SUCCESS" <<<"$out" || fail "no eject of the password share in the log: $out"
run_ctl 0 log --limit 3 --json
python3 -c 'import json,sys; e=json.loads(sys.argv[1]); assert len(e)==3 and all("type" in x and "date" in x for x in e), e' "$out" \
  || fail "log --json: $out"

step "event-log export: the engine writes the whole log to the file, 0600 (replacing an open one), printing reads it"
echo old >"$work/events.json"; chmod 644 "$work/events.json"
run_ctl 0 log --limit 0 --output "$work/events.json"
expect_err "Wrote 2000 log entries to $work/events.json"
[ "$(stat -c %a "$work/events.json")" = 600 ] || fail "the export is mode $(stat -c %a "$work/events.json")"
oldest=$(python3 - "$work/events.json" <<'PY' || fail "the exported log"
import json, sys
events = json.load(open(sys.argv[1]))
assert len(events) == 2000, len(events)
assert events[0]["date"] > events[-1]["date"] and events[-1]["message"].startswith("STARTUP: seeded "), events[-1]
print(events[-1]["message"].split()[2])
PY
)
run_ctl 0 log --limit 0
[ "$(wc -l <<<"$out")" -eq 2000 ] || fail "log --limit 0 printed $(wc -l <<<"$out") lines"
grep -qF "STARTUP: seeded $oldest " <<<"$(head -n 1 <<<"$out")" || fail "the oldest entry is not printed first"
run_ctl 2 log --follow --output "$work/x.json"; expect_err "--output does not go with --follow"

step "audit export"
run_ctl 0 audit export --format csv
[ "$(head -n 1 <<<"$out")" = "Timestamp,Event Type,Share Name,Hostname,Username,Machine,Success,Error Code,Details" ] \
  || fail "csv header: $(head -n 1 <<<"$out")"
grep -q ',MOUNT_ATTEMPT,CLI Guest,' <<<"$out" || fail "no MOUNT_ATTEMPT row for the guest share: $out"
grep -q ',MOUNT_SUCCESS,CLI Secure,' <<<"$out" || fail "no MOUNT_SUCCESS row for the password share"
grep -q ',APP_LAUNCH,' <<<"$out" || fail "no APP_LAUNCH row"
run_ctl 0 audit export --format json --since today --output "$work/audit.json"
python3 - "$work/audit.json" <<'PY' || fail "audit json"
import json, sys
entries = json.load(open(sys.argv[1]))
kinds = {(e["eventType"], e.get("shareName")) for e in entries}
assert ("UNMOUNT_SUCCESS", "CLI Guest") in kinds and ("SHARE_ADDED", "CLI Secure") in kinds, kinds
assert all(set(e) >= {"id", "timestamp", "eventType", "username", "machineName", "details", "success"} for e in entries)
PY
run_ctl 0 audit export --format csv --since 2d --until 1d
[ "$(wc -l <<<"$out")" -eq 1 ] || fail "an export of the day before yesterday holds rows: $out"

step "bad input changes nothing"
before=$(settings)
run_ctl 2 frobnicate; expect_err "Unknown command 'frobnicate'"
run_ctl 2 add "smb://$TW_SMB_HOST"; expect_err "Malformed share URL"
run_ctl 2 add "ftp://$TW_SMB_HOST/x"; expect_err "Malformed share URL"
run_ctl 2 add "smb://someone:Sekr1tPw@$TW_SMB_HOST/x"; expect_err "passwords are never taken from the command line"
! grep -q Sekr1tPw <<<"$err$out" || fail "a password from the command line was echoed"
run_ctl 2 add "smb://$TW_SMB_HOST/x" --user someone --password Sekr1tPw
expect_err "Passwords are never taken from the command line"
run_ctl 2 add --host "$TW_SMB_HOST" --share x --protocol gopher; expect_err "Unknown protocol 'gopher'"
run_ctl 1 mount "No Such Share"; expect_err "Unknown share: 'No Such Share'"
run_ctl 1 remove 4242; expect_err "Unknown share"
run_ctl 1 add "smb://$TW_SMB_HOST:$TW_SMB_PORT/$TW_SMB_GUEST_SHARE"; expect_err "Duplicate share"
run_ctl 1 remove "Corp Policies"
expect_err "Cannot Delete: This share is managed by MDM and cannot be deleted."
run_ctl 1 edit 7 --nickname Mine; expect_err "IT-Managed Share: This share is managed by MDM. Settings cannot be modified."
run_ctl 1 import "$work/audit.json"; expect_err "The configuration file is not in a valid format"
run_ctl 1 pause; expect_err "only while at least one share is mounted"
after=$(settings)
[ "$before" = "$after" ] || fail "bad input changed the stored shares: $before -> $after"

step "an ambiguous nickname names the IDs"
run_ctl 0 edit "$secure_id" --nickname "CLI Guest"
run_ctl 1 status "CLI Guest"
expect_err "ambiguous"; expect_err "$guest_id"; expect_err "$secure_id"
run_ctl 0 remove "$secure_id"
run_ctl 1 status "$secure_id"

step "control characters in a share's text are refused at the door, on the command line and on the bus"
nick=$'\e[31mRed\a'
run_ctl 2 add "smb://127.0.0.1:9/escape-$tag" --nickname "$nick"
expect_err "'nickname' must not contain control characters"
! grep -q $'\e' <<<"$err" || fail "the refusal wrote a raw escape character"
run_ctl 2 add "smb://127.0.0.1:0/zero-$tag"; expect_err "'port' must be a number from 1 to 65535, not 0"
run_ctl 2 add --host $'nas\nevil' --share x; expect_err "'hostname' must not contain"
status=0
gdbus call --session --dest io.tarnwell.Tarnwell --object-path /io/tarnwell/Tarnwell \
  --method io.tarnwell.Tarnwell.Control1.AddRecord "'{\"hostname\":\"nas\\\\u0000x\",\"shareName\":\"s\"}'" "''" \
  >"$work/out" 2>&1 || status=$?
[ "$status" -ne 0 ] && grep -qF "InvalidArgument" "$work/out" || fail "the bus took a host with NUL: $(cat "$work/out")"

step "oversized and invalid fields are refused on the command line and on the bus alike"
before=$(settings)
# 120,000 characters: near the most one process argument may carry (and far beyond every field's bound).
long=$(head -c 120000 /dev/zero | tr '\0' n)
run_ctl 2 add --host "$long" --share x; expect_err "'hostname' is too long (120000 characters"
run_ctl 2 add "smb://127.0.0.1:9/long-$tag" --nickname "$long"; expect_err "'nickname' is too long (120000 characters"
run_ctl 2 add "smb://127.0.0.1:9/rel-$tag" --mount-dir rel/x; expect_err "must be an absolute path, not 'rel/x'"
for record in "\"hostname\":\"$long\"" '"hostname":"nas\\nevil"' "\"hostname\":\"nas\",\"nickname\":\"$long\"" \
              '"hostname":"nas","port":0' '"hostname":"nas","mountInVolumes":0,"customMountPoint":"rel/x"'; do
  status=0
  gdbus call --session --dest io.tarnwell.Tarnwell --object-path /io/tarnwell/Tarnwell \
    --method io.tarnwell.Tarnwell.Control1.AddRecord "'{$record}'" "''" >"$work/out" 2>&1 || status=$?
  [ "$status" -ne 0 ] && grep -qF "InvalidArgument" "$work/out" \
    || fail "the bus took {$(head -c 60 <<<"$record")}: $(head -c 300 "$work/out")"
done
after=$(settings)
[ "$before" = "$after" ] || fail "refused fields changed the stored shares"

step "SIGTERM: exit 0, records saved, APP_QUIT on disk"
stop_daemon TERM
[ "$stop_status" -eq 0 ] || fail "the engine exited $stop_status on SIGTERM"
grep -qF "📋 [AUDIT] APP_QUIT: Tarnwell quit" "$work/daemon.log" || fail "no quit line"
python3 - "$audit" "$prefs" "$guest_id" "$secure_id" <<'PY' || fail "state on disk after quit"
import json, plistlib, sys
entries = json.load(open(sys.argv[1]))
assert entries[0]["eventType"] == "APP_QUIT" and entries[0]["details"] == "Tarnwell quit", entries[0]
assert sum(e["eventType"] == "APP_LAUNCH" for e in entries) == 1, "the second launch wrote a launch entry"
records = plistlib.load(open(sys.argv[2], "rb"))["Tarnwell_VolumeRecordArray"]
ids = sorted(int(r["internal_ID_Int_String"]) for r in records)
assert ids == sorted([7, int(sys.argv[3])]), ids
PY
run_ctl 1 list; expect_err "No Tarnwell engine is running"

step "the records come back after a restart; SIGINT ends it cleanly too"
start_daemon
run_ctl 0 status "CLI Guest"
stop_daemon INT
[ "$stop_status" -eq 0 ] || fail "the engine exited $stop_status on SIGINT"

echo "PASS"
