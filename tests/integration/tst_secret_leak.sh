#!/usr/bin/env bash
# Passwords entered through every way into a real headless engine never appear in clear anywhere else:
# tarnwellctl add and edit, a CSV with a password column, the macOS build's preferences file (a keyed archive
# holding a password in clear), and discovery's share listing with a user (smbclient). Afterwards no file the
# engine wrote (preferences, event and audit logs, rules, sets, exports), no console line, no reply of the
# control interface and neither the arguments nor the environment of any child process (watched while they
# run: smbclient, the post-mount script) hold a password; the user's files are 0600 in 0700 folders.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"
: "${TW_SMB_HOST:?}" "${TW_SMB_PORT:?}" "${TW_SMB_USER_SHARE:?}" "${TW_SMB_USER:?}" "${TW_SMB_PASSWORD:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
chmod 700 "$work"
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$work/input" "$work/exports" # the engine creates its own folders
# The stack's password mounts the share; the two canaries are stored only (their shares are never mounted).
password=$TW_SMB_PASSWORD
csv_canary=CsvCanary$RANDOM$RANDOM
mac_canary=MacCanary$RANDOM$RANDOM
daemon_pid=""
watcher_pid=""
cleanup() {
  touch "$work/stop-watching"
  [ -n "$watcher_pid" ] && kill "$watcher_pid" 2>/dev/null || true
  if [ -n "$daemon_pid" ] && kill -0 "$daemon_pid" 2>/dev/null; then
    timeout 30 "$CTL" eject --all --wait --timeout 20 >/dev/null 2>&1 || true
    kill_tree "$daemon_pid"
  fi
  rm -rf "$work"
}
trap cleanup EXIT
ctl_timeout=150
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"

# Every answer of the engine as tarnwellctl prints it is kept for the final search.
ctl() { run_ctl "$@"; printf '%s\n%s\n' "$out" "$err" >>"$work/replies.txt"; }
ctl_secret() { # ctl_secret PASSWORD ARGS...: the password on standard input
  printf '%s\n' "$1" >"$work/input/pw"; shift
  ctl_input=$work/input/pw ctl 0 "$@"
  rm -f "$work/input/pw"
}
id_of() {
  timeout 30 "$CTL" list --json | python3 -c 'import json,sys; print(next(r["id"] for r in json.load(sys.stdin) if r["nickname"] == sys.argv[1]))' "$1"
}

step "the engine, without the stack's password in its environment, and a watch on its children"
env -u TW_SMB_PASSWORD "$TARNWELL" --headless >"$work/daemon.log" 2>&1 &
daemon_pid=$!
wait_for 30 "$CTL" list || fail "the engine did not appear on the session bus"
# Records the command line and environment of every descendant of the engine, every 10 ms, until told to stop
# (bounded: at most 10 minutes).
python3 - "$daemon_pid" "$work/children.txt" "$work/stop-watching" <<'PY' &
import os, sys, time
root, out_path, stop = int(sys.argv[1]), sys.argv[2], sys.argv[3]
seen = set()
with open(out_path, "w") as out:
    deadline = time.monotonic() + 600
    while not os.path.exists(stop) and time.monotonic() < deadline:
        parent = {}
        for p in os.listdir("/proc"):
            if p.isdigit():
                try:
                    parent[int(p)] = int(open(f"/proc/{p}/stat").read().rsplit(")", 1)[1].split()[1])
                except (OSError, IndexError, ValueError):
                    pass
        for pid in parent:
            q, depth = parent.get(pid), 0
            while q is not None and q != root and q > 1 and depth < 64:
                q, depth = parent.get(q), depth + 1
            if q != root:
                continue
            try:
                cmd = open(f"/proc/{pid}/cmdline", "rb").read()
                env = open(f"/proc/{pid}/environ", "rb").read()
            except OSError:
                continue
            if (pid, cmd) in seen:
                continue
            seen.add((pid, cmd))
            out.write("cmdline: %s\nenviron: %s\n" % (cmd.replace(b"\0", b" ").decode(errors="replace"),
                                                     env.replace(b"\0", b" ").decode(errors="replace")))
            out.flush()
        time.sleep(0.01)
PY
watcher_pid=$!

step "tarnwellctl add with a password"
ctl_secret "$password" add --host "$TW_SMB_HOST" --port "$TW_SMB_PORT" --share "$TW_SMB_USER_SHARE" \
  --user "$TW_SMB_USER" --nickname "Leak Secure"
secure_id=$(id_of "Leak Secure")

step "a post-mount script through a configuration import (update), then tarnwellctl edit sets the password again"
cat >"$work/input/post-mount.sh" <<EOF
#!/bin/sh
{ tr '\0' ' ' </proc/\$\$/cmdline; echo; tr '\0' ' ' </proc/\$PPID/cmdline; echo; tr '\0' '\n' </proc/\$\$/environ; } >"$work/script-saw.txt"
EOF
chmod 700 "$work/input/post-mount.sh"
ctl 0 config export "$work/exports/before.twconfig"
python3 - "$work/exports/before.twconfig" "$work/input/update.twconfig" "$work/input/post-mount.sh" <<'PY'
import json, sys
config = json.load(open(sys.argv[1]))
for share in config["shares"]:
    if share["nickname"] == "Leak Secure":
        share["postMountScript"] = sys.argv[3]
json.dump(config, open(sys.argv[2], "w"))
PY
ctl 0 config import "$work/input/update.twconfig" --mode update
ctl_secret "$password" edit "$secure_id" --set-password --password-stdin

step "mount (the script runs), eject"
ctl 0 mount "$secure_id" --wait --timeout 90
ctl 0 eject "$secure_id" --wait --timeout 60
[ -s "$work/script-saw.txt" ] || fail "the post-mount script did not run"

step "a CSV with a password column"
printf 'nickname,hostname,shareName,protocol,username,guest,port,group,autoMount,password\nLeak CSV,127.0.0.1,csv-leak,smb,carol,no,9,,no,%s\n' \
  "$csv_canary" >"$work/input/shares.csv"
ctl 0 config import "$work/input/shares.csv"
expect_out "1 passwords stored"

step "the macOS build's preferences file: a keyed archive with a password in clear"
python3 - "$work/input/mac.plist" "$mac_canary" <<'PY'
import plistlib, sys
from plistlib import UID
path, secret = sys.argv[1:3]
objects = ["$null"]
def add(o):
    objects.append(o)
    return UID(len(objects) - 1)
record_class = add({"$classname": "Tarnwell.VolumeRecord", "$classes": ["Tarnwell.VolumeRecord", "NSObject"]})
fields = {"internal_ID_Int_String": "41", "hostname_String": "127.0.0.1", "volume_String": "mac-leak",
          "nickname_String": "Leak Mac", "username_String": "dave", "protocol_Int_String": "0",
          "unique_mountpoint_fullpath_String": "", "password_String": secret}
record = {"$class": record_class, "port_Int": 9, "no_password_guest_login": 0, "mount_inside_Volumes": 1, "auto_Mount": 0}
record.update({k: add(v) for k, v in fields.items()})
array_class = add({"$classname": "NSArray", "$classes": ["NSArray", "NSObject"]})
root = add({"NS.objects": [add(record)], "$class": array_class})
archive = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {"root": root}, "$objects": objects}
with open(path, "wb") as f:
    plistlib.dump({"Tarnwell_VolumeRecordArray": plistlib.dumps(archive, fmt=plistlib.FMT_BINARY)}, f,
                  fmt=plistlib.FMT_BINARY)
PY
ctl 0 config import "$work/input/mac.plist"
expect_out "1 password moved to the Secret Service"

step "discovery lists the shares with a user and password (smbclient)"
ctl_secret "$password" shares "$TW_SMB_HOST" --port "$TW_SMB_PORT" --user "$TW_SMB_USER" --password-stdin
expect_out "$TW_SMB_USER_SHARE"

step "everything the engine shows and exports"
ctl 0 list --json
ctl 0 status "$secure_id"
ctl 0 log --limit 200 --json
ctl 0 config export "$work/exports/after.twconfig"
ctl 0 config export "$work/exports/after.csv"
ctl 0 audit export --format json --output "$work/exports/audit.json"
ctl 0 audit export --format csv
touch "$work/stop-watching"
wait "$watcher_pid" || true
watcher_pid=""
kill -TERM "$daemon_pid"
for _ in $(seq 1 300); do kill -0 "$daemon_pid" 2>/dev/null || break; sleep 0.1; done
kill -0 "$daemon_pid" 2>/dev/null && fail "the engine did not end within 30 s"
wait "$daemon_pid" || true
daemon_pid=""

step "no password anywhere"
grep -q '^cmdline: .*smbclient' "$work/children.txt" || fail "smbclient was never seen running"
grep -q "^cmdline: .*post-mount.sh" "$work/children.txt" || fail "the script was never seen running"
leaks=""
for secret in "$password" "$csv_canary" "$mac_canary"; do
  found=$(grep -rlF -- "$secret" "$work/home" "$work/exports" "$work/daemon.log" "$work/replies.txt" \
            "$work/children.txt" "$work/script-saw.txt" 2>/dev/null || true)
  [ -z "$found" ] || leaks+="${secret:0:3}...: ${found//$'\n'/ }; "
done
[ -z "$leaks" ] || fail "passwords written in clear: $leaks"
grep -qF -- "$mac_canary" "$work/input/mac.plist" || fail "the search would not have seen a canary"

step "the user's files are private"
modes=$(find "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME/Tarnwell" \( -type d ! -perm 700 -o -type f ! -perm 600 \) \
          -printf '%m %p\n' 2>/dev/null || true)
[ -z "$modes" ] || fail "not private (of $(find "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" | wc -l) paths): ${modes//$'\n'/; }"
echo "PASS"
