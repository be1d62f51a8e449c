#!/usr/bin/env bash
# Share sets and configuration exchange through tarnwellctl against real headless engines on the stack's
# private session bus: engine A gets a guest share and (from a CSV with a password column) a password share,
# mounts and ejects both as one set, and exports its configuration; engine B (another home) first takes the
# macOS build's preferences file (the password share, its password moving into the Secret Service, which a
# real mount then proves), then imports A's file: same shares, same set, no password in any file.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"
: "${TW_SMB_HOST:?}" "${TW_SMB_PORT:?}" "${TW_SMB_GUEST_SHARE:?}" "${TW_SMB_USER_SHARE:?}" "${TW_SMB_USER:?}"
: "${TW_SMB_PASSWORD:?}" "${TW_SMB_SHARES_DIR:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
SERVICE=io.tarnwell.Tarnwell.Keychain
work=$(mktemp -d)
chmod 700 "$work"
tag=tw-exch-$$-$RANDOM
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
ctl_timeout=200
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"


use_home() { # use_home NAME: a home folder of its own for the next engine (launched before: no examples)
  export HOME=$work/$1 XDG_CONFIG_HOME=$work/$1/.config XDG_DATA_HOME=$work/$1/.local/share
  mkdir -p "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME"
  python3 -c 'import plistlib, sys; plistlib.dump({"Tarnwell_HasLaunchedBefore": True}, open(sys.argv[1], "wb"))' \
    "$XDG_CONFIG_HOME/tarnwell/io.tarnwell.Tarnwell.plist"
  chmod 600 "$XDG_CONFIG_HOME/tarnwell/io.tarnwell.Tarnwell.plist"
}
start_daemon() {
  "$TARNWELL" --headless >>"$work/daemon-$1.log" 2>&1 &
  daemon_pid=$!
  wait_for 30 "$CTL" list || fail "engine $1 did not appear on the session bus"
}
stop_daemon() {
  kill -TERM "$daemon_pid"
  local i=0
  while kill -0 "$daemon_pid" 2>/dev/null && [ $i -lt 300 ]; do sleep 0.1; i=$((i + 1)); done
  kill -0 "$daemon_pid" 2>/dev/null && fail "the engine did not end within 30 s"
  wait "$daemon_pid" || true
  daemon_pid=""
}
records() { timeout 30 "$CTL" list --json; }
# The share settings that must survive the trip, sorted by host and share.
shares_of() {
  python3 -c '
import json, sys
keys = ["nickname", "hostname", "shareName", "port", "protocolType", "username", "guest", "autoMount", "group"]
rows = [{k: r.get(k) for k in keys} for r in json.load(sys.stdin)]
print(json.dumps(sorted(rows, key=lambda r: (r["hostname"], r["shareName"]))))'
}
id_of() { records | python3 -c 'import json,sys; print(next(r["id"] for r in json.load(sys.stdin) if r["nickname"] == sys.argv[1]))' "$1"; }
field_of() { records | python3 -c 'import json,sys; print(next(r[sys.argv[2]] for r in json.load(sys.stdin) if r["id"] == int(sys.argv[1])))' "$1" "$2"; }
no_password_under() { # no file below the folder holds the password
  if grep -rqF -- "$TW_SMB_PASSWORD" "$1"; then fail "the password is written in a file under $1"; fi
}

for share in "$TW_SMB_GUEST_SHARE" "$TW_SMB_USER_SHARE"; do
  timeout 20 gio mount -u "smb://$TW_SMB_HOST:$TW_SMB_PORT/$share" >/dev/null 2>&1 || true
done
echo "guest $tag" >"$guest_file"; echo "secure $tag" >"$secure_file"

step "engine A: a guest share, and a password share from a CSV with a password column"
use_home a
start_daemon a
run_ctl 0 add "smb://$TW_SMB_HOST:$TW_SMB_PORT/$TW_SMB_GUEST_SHARE" --nickname "Exch Guest"
csv=$work/shares.csv
( umask 077
  printf '# shares for the team\nNickname,HostName,ShareName,protocol,username,guest,port,group,autoMount,password\n'
  printf '"Exch Secure, team",%s,%s,smb,%s,no,%s,office,no,%s\n' "$TW_SMB_HOST" "$TW_SMB_USER_SHARE" "$TW_SMB_USER" "$TW_SMB_PORT" "$TW_SMB_PASSWORD"
  printf 'Template,%s,template,smb,x,no,,,,YOUR_PASSWORD\n' "$TW_SMB_HOST"
  printf 'Broken,only-host\n'
  printf 'Again,%s,%s,smb,x,yes,%s,,,\n' "$TW_SMB_HOST" "$TW_SMB_GUEST_SHARE" "$TW_SMB_PORT" ) >"$csv"
run_ctl 0 config import "$csv"
expect_out "Import Complete with Warnings: 2 shares imported, 1 passwords stored, 2 lines skipped"
expect_out "Line 5: Not enough columns"
expect_out "Line 6: $TW_SMB_HOST/$TW_SMB_GUEST_SHARE is already configured, skipped"
rm -f "$csv"
secure_a=$(id_of "Exch Secure, team")
guest_a=$(id_of "Exch Guest")
[ "$(secret-tool lookup service "$SERVICE" account "volume_record_$secure_a")" = "$TW_SMB_PASSWORD" ] \
  || fail "the CSV password is not in the Secret Service under volume_record_$secure_a"

step "a set of both mounts and ejects as one"
run_ctl 0 set create "Exch Both"
run_ctl 0 set add "Exch Both" "Exch Guest" "$secure_a"
run_ctl 0 set show "exch both"
expect_out "Not connected"
run_ctl 0 set mount "Exch Both" --timeout 150
expect_out "Mounted 2 of 2 shares"
[ "$(field_of "$guest_a" mounted)" = True ] && [ "$(field_of "$secure_a" mounted)" = True ] || fail "not both mounted"
grep -qF "secure $tag" "$(field_of "$secure_a" mountPoint)/$tag.txt" || fail "cannot read the password share through its mount"
run_ctl 0 set list
expect_out "All connected"
run_ctl 0 set mount "Exch Both" --timeout 60
expect_out "Mounted 0 of 0 shares (2 already mounted or busy)"
run_ctl 0 set eject "Exch Both" --timeout 90
expect_out "Ejected 2 of 2 shares"
[ "$(field_of "$secure_a" mounted)" = False ] || fail "password share still mounted after the set's eject"
run_ctl 1 set mount "No Such Set"; expect_err "No share set named No Such Set"

step "export from A; refusals change nothing"
run_ctl 0 config export "$work/a.twconfig"
grep -qF '"version": "1.0"' "$work/a.twconfig" || fail "no version 1.0 in the export"
records | shares_of >"$work/a-shares.json"
printf '{"version": "2.0", "shares": [], "shareSets": [], "rules": []}' >"$work/v2.twconfig"
run_ctl 1 config import "$work/v2.twconfig"; expect_err "Unsupported configuration version: 2.0"
printf '{"version": "1.0", "shares": [' >"$work/broken.twconfig"
run_ctl 1 config import "$work/broken.twconfig" --mode replace; expect_err "The configuration file is not in a valid format"
run_ctl 1 config import "$work/missing.twconfig"; expect_err "Cannot read"
[ "$(records | shares_of)" = "$(cat "$work/a-shares.json")" ] || fail "a refused import changed the shares"
run_ctl 0 set export "Exch Both" "$work/both-Set.twconfig"
stop_daemon
no_password_under "$work/a"
no_password_under "$work"

step "engine B: the macOS build's preferences file brings the password share and its password"
use_home b
python3 - "$work/mac.plist" "$TW_SMB_HOST" "$TW_SMB_USER_SHARE" "$TW_SMB_USER" "$TW_SMB_PORT" <<'PY'
import os, plistlib, sys
path, host, share, user, port = sys.argv[1:6]
record = {"internal_ID_Int_String": "41", "hostname_String": host, "volume_String": share, "port_Int": int(port),
          "nickname_String": "Mac Secure", "no_password_guest_login": 0, "username_String": user,
          "protocol_Int_String": "0", "mount_inside_Volumes": 1, "unique_mountpoint_fullpath_String": "",
          "auto_Mount": 0, "password_String": os.environ["TW_SMB_PASSWORD"]}
with open(os.open(path, os.O_WRONLY | os.O_CREAT, 0o600), "wb") as f:
    plistlib.dump({"Tarnwell_VolumeRecordArray": [record], "mount_timeout_Int": 90, "SomethingElse": "x"}, f,
                  fmt=plistlib.FMT_BINARY)
PY
start_daemon b
run_ctl 0 config import "$work/mac.plist"
expect_out "1 share imported"
expect_out "1 password moved to the Secret Service"
expect_out "Settings imported: mount_timeout_Int"
expect_out "Not imported: SomethingElse"
grep -qF -- "$TW_SMB_PASSWORD" <<<"$out$err" && fail "the password reached the console"
rm -f "$work/mac.plist"
secure_b=$(id_of "Mac Secure")
[ "$(secret-tool lookup service "$SERVICE" account "volume_record_$secure_b")" = "$TW_SMB_PASSWORD" ] \
  || fail "the macOS password is not in the Secret Service"
run_ctl 0 mount "$secure_b" --wait --timeout 90
grep -qF "secure $tag" "$(field_of "$secure_b" mountPoint)/$tag.txt" || fail "the moved password does not mount the share"
run_ctl 0 eject "$secure_b" --wait --timeout 60

step "engine B imports A's configuration"
run_ctl 0 config import "$work/a.twconfig" --preview
expect_out "3 shares"; expect_out "1 share sets"; expect_out "Exch Both"
[ "$(records | python3 -c 'import json,sys; print(len(json.load(sys.stdin)))')" = 1 ] || fail "a preview changed something"
run_ctl 0 config import "$work/a.twconfig" --mode merge
expect_out "2 shares imported, 1 shares skipped, 1 sets imported, preferences imported"
run_ctl 0 set list --json
python3 - "$out" "$(records)" <<'PY' || fail "the imported set does not name B's records"
import json, sys
sets, recs = json.loads(sys.argv[1]), json.loads(sys.argv[2])
(s,) = [x for x in sets if x["name"] == "Exch Both"]
names = [next(r["nickname"] for r in recs if r["id"] == i) for i in s["shareIDs"]]
assert names == ["Exch Guest", "Mac Secure"], names
PY
# The same shares as A; the password share B already had keeps its own nickname and group (merge skips it).
python3 - "$(cat "$work/a-shares.json")" "$(records | shares_of)" <<'PY' || fail "B's shares differ from A's"
import json, sys
a, b = json.loads(sys.argv[1]), json.loads(sys.argv[2])
for row in a + b:
    if row["nickname"] in ("Exch Secure, team", "Mac Secure"):
        row.pop("nickname"); row.pop("group")
assert a == b, (a, b)
PY
run_ctl 0 config import "$work/a.twconfig"
expect_out "3 shares skipped"
run_ctl 0 set import "$work/both-Set.twconfig"
expect_out "2 shares skipped"
run_ctl 0 set mount "Exch Both" --timeout 150
expect_out "Mounted 2 of 2 shares"
run_ctl 0 set eject "Exch Both" --timeout 90
expect_out "Ejected 2 of 2 shares"
stop_daemon
no_password_under "$work"
echo "PASS"
