#!/usr/bin/env bash
# Enterprise management through a real headless engine and tarnwellctl on the stack's private session bus:
# a profile written by `tarnwellctl profile generate` in the managed folder gives locked shares at start-up
# and, through the folder watch, without a restart; locked shares refuse removal and edits with nothing
# changed; a restart adds no second copy of a locked share. Directory mappings run against stand-ins for
# `realm` and `id` placed first on PATH (no directory server can run here), printing what the real tools print.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
work=$(mktemp -d)
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME"
audit=$XDG_DATA_HOME/Tarnwell/audit_log.json
managed=$work/managed
mkdir -m 0755 "$managed"
export TARNWELL_MANAGED_DIR=$managed
daemon_pid=""

cleanup() {
  [ -n "$daemon_pid" ] && kill_tree "$daemon_pid"
  rm -rf "$work"
}
trap cleanup EXIT
ctl_timeout=120
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"

expect_log() { grep -qF -- "$1" "$work/daemon.log" || fail "daemon log lacks '$1'"; }

# Stand-ins for the directory tools, first on the engine's PATH. What realm prints comes from a file, so a
# test can unbind the machine.
mkdir -p "$work/bin"
cat >"$work/realm-output" <<'OUT'
corp.example.com
  type: kerberos
  realm-name: CORP.EXAMPLE.COM
  domain-name: corp.example.com
  configured: kerberos-member
  server-software: active-directory
  client-software: sssd
  required-package: sssd-tools
  login-formats: %U@corp.example.com
  login-policy: allow-realm-logins
OUT
cat >"$work/bin/realm" <<EOF2
#!/bin/sh
[ "\$1" = list ] || exit 2
cat "$work/realm-output"
EOF2
cat >"$work/bin/id" <<'EOF2'
#!/bin/sh
if [ "$1" = -Gnz ]; then printf 'tester\0domain users\0Staff\0'; exit 0; fi
exec /usr/bin/id "$@"
EOF2
chmod +x "$work/bin/realm" "$work/bin/id"

# One line per record: nickname|host/share|protocol|locked|managedBy, sorted.
records() {
  timeout 30 "$CTL" list --json | python3 -c '
import json, sys
for r in sorted(json.load(sys.stdin), key=lambda r: r["id"]):
    print("%s|%s/%s|%s|%s|%s" % (r["nickname"], r["hostname"], r["shareName"], r["protocolType"], r["isLocked"], r["managedBy"]))'
}
count_of() { records | grep -cF -- "$1" || true; }

start_daemon() {
  PATH="$work/bin:$PATH" "$TARNWELL" --headless >>"$work/daemon.log" 2>&1 &
  daemon_pid=$!
  wait_for 30 "$CTL" list || fail "the engine did not appear on the session bus"
}
stop_daemon() {
  kill -TERM "$daemon_pid"
  local i=0
  while kill -0 "$daemon_pid" 2>/dev/null && [ $i -lt 300 ]; do sleep 0.1; i=$((i + 1)); done
  kill -0 "$daemon_pid" 2>/dev/null && fail "the engine did not end within 30 s"
  wait "$daemon_pid" || true
  daemon_pid=""
}

step "profile generate needs no engine"
run_ctl 0 profile generate --organization "Acme Corp" --help-desk-email help@acme.example --allow-export no \
  --share "127.0.0.1/policies,nickname=Policies,protocol=smb" --share "127.0.0.1/dept,nickname=Dept,locked=no,protocol=webdavs" \
  --share "127.0.0.1/,nickname=Dropped" -o "$managed/10-acme.mobileconfig"
expect_out "Wrote $managed/10-acme.mobileconfig"
chmod 0644 "$managed/10-acme.mobileconfig"
run_ctl 0 profile generate --organization "Acme Corp" --allow-export no -o -
grep -qF '<string>com.acmecorp.tarnwell.profile</string>' <<<"$out" || fail "outer identifier: $out"
(cd "$work" && timeout 30 "$CTL" profile generate --organization "Acme Corp" >/dev/null) || fail "default file name"
[ -f "$work/Acme Corp-Config.mobileconfig" ] || fail "no 'Acme Corp-Config.mobileconfig' written"
(cd "$work" && timeout 30 "$CTL" profile generate --organization "Acme Corp" >/dev/null 2>&1) && fail "an existing file was replaced without --force"
run_ctl 2 profile generate --share nohost
run_ctl 2 profile frobnicate
grep -q 'Dropped' "$managed/10-acme.mobileconfig" && fail "a row without a share name was written"
# An organisation with an ampersand gives a profile that does not parse: reported, the others still count.
run_ctl 0 profile generate --organization "R&D" --share "127.0.0.1/rnd" -o "$managed/20-rnd.mobileconfig"
chmod 0644 "$managed/20-rnd.mobileconfig"
# A profile others may write is not trusted.
run_ctl 0 profile generate --share "127.0.0.1/intruder" -o "$managed/25-open.mobileconfig"
chmod 0666 "$managed/25-open.mobileconfig"

step "start: the managed shares are locked records"
start_daemon
expect_log "📱 [MDM] Managed preferences detected"
expect_log "📱 [MDM] Organization: Acme Corp"
expect_log "📱 [MDM] Applied 2 managed shares"
expect_log "⚠️ [MDM] Ignoring managed preferences file $managed/20-rnd.mobileconfig: not a property list"
expect_log "⚠️ [MDM] Ignoring managed preferences file $managed/25-open.mobileconfig: writable by group or others"
all=$(records)
grep -qxF 'Policies|127.0.0.1/policies|SMB|True|MDM' <<<"$all" || fail "no locked Policies record: $all"
grep -qxF 'Dept|127.0.0.1/dept|WEBDAVS|False|MDM' <<<"$all" || fail "no unlocked Dept record: $all"
! grep -q 'rnd\|intruder' <<<"$all" || fail "an ignored profile counted: $all"
run_ctl 0 list
expect_out "Policies [managed]"
expect_out "share(s) managed by your IT department"

step "the enterprise interface is the checked-in description"
timeout 20 gdbus introspect --session --xml --dest io.tarnwell.Tarnwell --object-path /io/tarnwell/Tarnwell/Enterprise \
  >"$work/served.xml" || fail "introspection failed"
python3 - "$work/served.xml" "$TW_SOURCE_DIR/src/control/io.tarnwell.Tarnwell.Enterprise1.xml" <<'PY' || fail "interface drift"
import sys, xml.etree.ElementTree as ET
def members(path):
    iface = next(i for i in ET.parse(path).getroot().iter("interface") if i.get("name") == "io.tarnwell.Tarnwell.Enterprise1")
    return {(m.tag, m.get("name"), tuple((a.get("type"), a.get("direction", "in" if m.tag == "method" else "")) for a in m.iter("arg")))
            for m in iface}
served, described = members(sys.argv[1]), members(sys.argv[2])
assert served == described, ("served only:", served - described, "described only:", described - served)
PY
status=$(timeout 20 gdbus call --session --dest io.tarnwell.Tarnwell --object-path /io/tarnwell/Tarnwell/Enterprise \
  --method io.tarnwell.Tarnwell.Enterprise1.ManagedStatus) || fail "ManagedStatus"
grep -qF '"allowShareExport":false' <<<"$status" || fail "export policy not seen: $status"
grep -qF '"allowShareImport":true' <<<"$status" || fail "import policy: $status"

step "a locked share can be neither removed nor edited"
before=$(records)
run_ctl 1 remove Policies
expect_err "Cannot Delete: This share is managed by MDM and cannot be deleted."
run_ctl 1 edit Policies --nickname Mine
expect_err "IT-Managed Share: This share is managed by MDM. Settings cannot be modified."
[ "$(records)" = "$before" ] || fail "a refused change changed the shares: $before -> $(records)"

step "a profile added while the engine runs is applied without a restart"
run_ctl 0 profile generate --organization "Acme Corp" --share "127.0.0.1/extra,nickname=Extra" -o "$work/30-extra.tmp"
chmod 0644 "$work/30-extra.tmp"
mv "$work/30-extra.tmp" "$managed/30-extra.mobileconfig"
wait_for 15 sh -c "\"$CTL\" list --json | grep -q '\"nickname\": *\"Extra\"'" || fail "the new profile was not applied: $(records)"
[ "$(count_of 'Extra|127.0.0.1/extra|SMB|True|MDM')" = 1 ] || fail "Extra: $(records)"
[ "$(count_of 'Policies|')" = 1 ] || fail "the watch added a second Policies: $(records)"
[ "$(count_of 'Policies|127.0.0.1/policies|SMB|True|MDM')" = 1 ] || fail "the first profile's shares no longer count: $(records)"

step "a restart adds no second copy of a locked share; an unlocked managed share is added again"
dept_before=$(count_of 'Dept|')
stop_daemon
start_daemon
[ "$(count_of 'Policies|')" = 1 ] || fail "Policies after restart: $(records)"
[ "$(count_of 'Extra|')" = 1 ] || fail "Extra after restart: $(records)"
[ "$(count_of 'Dept|')" = $((dept_before + 1)) ] || fail "the unlocked managed share should be added at every launch: $(records)"

step "directory status through the stand-ins"
run_ctl 0 directory status
expect_out "Status: Connected to corp.example.com"
expect_out "Groups: tester, domain users, Staff"
run_ctl 0 directory status --json
python3 -c 'import json,sys; s=json.loads(sys.argv[1]); assert s["configured"] and s["user"]["domain"] == "corp.example.com", s' "$out" \
  || fail "status json: $out"

step "map, disable, apply"
run_ctl 0 directory map "domain users" 127.0.0.1/team
run_ctl 0 directory map staff 127.0.0.1/wrongcase
run_ctl 0 directory map Staff 127.0.0.1/macs --protocol afp --mount-point "$work/macs"
run_ctl 0 directory map tester 127.0.0.1/off
off_id=$(sed -n 's/.*(mapping \(.*\))$/\1/p' <<<"$out")
[ -n "$off_id" ] || fail "no mapping id in: $out"
run_ctl 0 directory disable "$off_id"
run_ctl 1 directory disable 00000000-0000-4000-8000-000000000000
expect_err "No mapping has the id"
run_ctl 2 directory map Staff nohost
run_ctl 0 directory mappings
expect_out "disabled  tester"
run_ctl 0 directory apply
expect_out "Added 2 shares based on AD groups"
all=$(records)
grep -qxF 'team (AD: domain users)|127.0.0.1/team|SMB|False|' <<<"$all" || fail "team: $all"
grep -qxF 'macs (AD: Staff)|127.0.0.1/macs|AFP|False|' <<<"$all" || fail "macs: $all"
! grep -q 'wrongcase\|/off' <<<"$all" || fail "a case-different or disabled mapping added a share: $all"
expect_log "AD shares applied: Added 2 shares for user "
run_ctl 0 directory apply
expect_out "No new shares to add"
python3 - "$audit" <<'PY' || fail "no CONFIG_IMPORT audit entry for the directory apply"
import json, sys, time
for _ in range(50):
    try:
        text = open(sys.argv[1]).read()
        if "CONFIG_IMPORT" in text:
            sys.exit(0)
    except OSError:
        pass
    time.sleep(0.1)
sys.exit(1)
PY

step "mappings survive a restart; unmap"
stop_daemon
start_daemon
run_ctl 0 directory mappings --json
python3 -c 'import json,sys; m=json.loads(sys.argv[1]); assert sorted(x["groupName"] for x in m) == ["Staff", "domain users", "staff", "tester"], m' "$out" \
  || fail "mappings after restart: $out"
run_ctl 0 directory unmap "$off_id"
run_ctl 1 directory unmap "$off_id"

step "an unbound machine"
: >"$work/realm-output"
run_ctl 0 directory status
expect_out "Status: Not bound to Active Directory"

step "quit"
stop_daemon
echo "PASS"
