#!/usr/bin/env bash
# Rules through a real headless engine and tarnwellctl, on the stack: a Wi-Fi change (NetworkManager mock)
# makes a rule mount the real Samba guest share; UPower's OnBattery fires and resets a power rule; logind's
# PrepareForSleep(false) runs an evaluation; a real process named like an application fires an app rule; a
# notification reaches the notification daemon mock with its title and body; a script's output and exit
# status reach the console. Bad input is refused with nothing stored changed; the rules survive a restart.
set -euo pipefail
: "${TW_SOURCE_DIR:?}" "${TW_BINARY_DIR:?}" "${DBUS_SESSION_BUS_ADDRESS:?}" "${DBUS_SYSTEM_BUS_ADDRESS:?}"
: "${TW_SMB_HOST:?}" "${TW_SMB_PORT:?}" "${TW_SMB_GUEST_SHARE:?}" "${TW_MOCKS_CTL:?}"
. "$TW_SOURCE_DIR/tests/stack/common.sh"
stack=${TW_STACK_DIR:?}

TARNWELL=$TW_BINARY_DIR/src/tarnwell
CTL=$TW_BINARY_DIR/src/cli/tarnwellctl
MOCKS="bash $TW_MOCKS_CTL"
work=$(mktemp -d)
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
mkdir -p "$XDG_CONFIG_HOME/tarnwell" "$XDG_DATA_HOME"
rules_file=$XDG_DATA_HOME/Tarnwell/rules.json
daemon_pid="" app_pid=""

cleanup() {
  [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null || true
  if [ -n "$daemon_pid" ] && kill -0 "$daemon_pid" 2>/dev/null; then
    timeout 30 "$CTL" eject --all --wait --timeout 20 >/dev/null 2>&1 || true
    kill_tree "$daemon_pid"
  fi
  $MOCKS ssid "$stack" >/dev/null 2>&1 || true
  $MOCKS power "$stack" ac >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT
ctl_timeout=60
. "$TW_SOURCE_DIR/tests/integration/scenario.sh"

log_has() { grep -qF -- "$1" "$work/daemon.log"; }
log_count() { grep -cF -- "$1" "$work/daemon.log" || true; }
wait_log() { # wait_log SECONDS TEXT
  wait_for "$1" log_has "$2" || fail "no console line '$2' within $1 s"
}
start_daemon() {
  "$TARNWELL" --headless >>"$work/daemon.log" 2>&1 &
  daemon_pid=$!
  wait_for 30 "$CTL" rules status || fail "the engine did not appear on the session bus"
}
stop_daemon() {
  kill -TERM "$daemon_pid"
  local i=0
  while kill -0 "$daemon_pid" 2>/dev/null && [ $i -lt 300 ]; do sleep 0.1; i=$((i + 1)); done
  kill -0 "$daemon_pid" 2>/dev/null && fail "the engine did not end within 30 s"
  wait "$daemon_pid" || true
  daemon_pid=""
}
rule_id() { sed -n 's/^Added rule \([0-9A-F-]*\)$/\1/p' <<<"$out"; }
mounted() { # mounted ID -> True/False
  timeout 30 "$CTL" list --json | python3 -c '
import json, sys
print(next(r for r in json.load(sys.stdin) if r["id"] == int(sys.argv[1]))["mounted"])' "$1"
}

step "leave Wi-Fi, mains power; leftover mounts of the guest share are unmounted"
$MOCKS ssid "$stack"
$MOCKS power "$stack" ac
timeout 20 gio mount -u "smb://$TW_SMB_HOST:$TW_SMB_PORT/$TW_SMB_GUEST_SHARE" >/dev/null 2>&1 || true

step "start the headless engine: no rules file yet, engine stopped"
start_daemon
log_has "ℹ️ [RULES] No saved rules found" || fail "no 'No saved rules found' line"
run_ctl 0 rules status
grep -q '^running: no' <<<"$out" || fail "the engine must start stopped: $out"
run_ctl 0 add "smb://$TW_SMB_HOST:$TW_SMB_PORT/$TW_SMB_GUEST_SHARE" --nickname "Rules Guest"
share_id=$(sed -n 's/^Added share \([0-9]*\):.*/\1/p' <<<"$out")
[ -n "$share_id" ] || fail "no share ID in: $out"

step "the served rules interface is the checked-in description"
timeout 20 gdbus introspect --session --xml --dest io.tarnwell.Tarnwell --object-path /io/tarnwell/Tarnwell/Rules \
  >"$work/served.xml" || fail "introspection failed"
python3 - "$work/served.xml" "$TW_SOURCE_DIR/src/control/io.tarnwell.Tarnwell.Rules1.xml" <<'PY' || fail "interface drift"
import sys, xml.etree.ElementTree as ET
def members(path):
    iface = next(i for i in ET.parse(path).getroot().iter("interface") if i.get("name") == "io.tarnwell.Tarnwell.Rules1")
    def args(m):  # signal arguments have no direction; a method's default to "in"
        return tuple((a.get("type"), a.get("direction", "in") if m.tag == "method" else "") for a in m.iter("arg"))
    return {(m.tag, m.get("name"), args(m), m.get("type"), m.get("access"))
            for m in iface if m.tag in ("method", "signal", "property")}
served, described = members(sys.argv[1]), members(sys.argv[2])
assert served == described, ("served only:", served - described, "described only:", described - served)
PY

step "bad input is refused and nothing is stored"
run_ctl 2 rules add --name Bad --when moon=full --do mount="$share_id"; expect_err "Unknown condition 'moon'"
run_ctl 2 rules add --name Bad --when time=9-17 --do mount="$share_id"; expect_err "Malformed time range '9-17'"
run_ctl 2 rules add --name Bad --when power --do reboot; expect_err "Unknown action 'reboot'"
run_ctl 2 rules add --name Bad --when days=Mon,Funday --do mount-all; expect_err "Unknown day 'Funday'"
run_ctl 2 rules add --name Bad --when power --do delay=soon; expect_err "Invalid delay 'soon'"
run_ctl 1 rules add --name Bad --when power --do mount=9999; expect_err "No share with ID '9999'"
printf '{"name":"Bad","conditions":[{"type":"Moon Phase","parameters":{}}],"actions":[]}' >"$work/bad.json"
run_ctl 2 rules add --json "$work/bad.json"; expect_err "unknown condition type: Moon Phase"
run_ctl 1 rules show nosuchrule; expect_err "No rule 'nosuchrule'"
run_ctl 0 rules list; grep -q '^No rules.' <<<"$out" || fail "a refused rule was stored: $out"
[ ! -e "$rules_file" ] || fail "a refused rule reached the rules file"

step "rules for every trigger"
run_ctl 0 rules add --name "Office mount" --when wifi=corpoffice --do mount="$share_id"
office_id=$(rule_id)
run_ctl 0 rules add --name "On battery" --when battery --do "notify=Power::Running on battery"
battery_id=$(rule_id)
run_ctl 0 rules add --name "Test app" --when app=tarnwelltestapp --do "script=echo tw-script-output; exit 3"
printf '{"name":"Any time","conditionMode":"any","conditions":[{"type":"Time Window","parameters":{"timeRange":"00:00-00:00"}}],"actions":[{"type":"Wait/Delay","parameters":{"seconds":"0"}}]}' >"$work/any.json"
run_ctl 0 rules add --json "$work/any.json"
run_ctl 0 rules list
grep -q 'Office mount  —  WiFi = "corpoffice"' <<<"$out" || fail "list: $out"
[ "$(python3 -c 'import json,sys; print(len(json.load(open(sys.argv[1]))))' "$rules_file")" = 4 ] || fail "rules file"

step "start the engine: the first pass fires the always-true rule once"
run_ctl 0 rules start
wait_log 10 "✅ [RULES] Rule triggered: Any time"
wait_log 10 "⏳ [ACTION] Delay complete"

step "Wi-Fi change mounts the real Samba share"
$MOCKS ssid "$stack" CorpOffice
wait_log 10 "📶 [RULES] WiFi changed: none → CorpOffice"
wait_log 10 "✅ [RULES] Rule triggered: Office mount"
wait_log 10 "🔌 [ACTION] Mounting volume: Rules Guest"
is_mounted() { [ "$(mounted "$share_id")" = True ]; }
wait_for 90 is_mounted || fail "the rule did not mount the share"

step "UPower: battery fires the power rule, mains resets it, battery fires it again"
$MOCKS power "$stack" battery
wait_log 10 "✅ [RULES] Rule triggered: On battery"
wait_log 10 "🔔 [ACTION] Showing notification: Running on battery"
notified() { $MOCKS notifications "$stack" | grep -qxF 'Power|Running on battery'; }
wait_for 10 notified \
  || fail "the notification did not reach the daemon: $($MOCKS notifications "$stack")"
$MOCKS power "$stack" ac
wait_log 10 "🔄 [RULES] Rule reset: On battery"
$MOCKS power "$stack" battery
fired_twice() { [ "$(log_count '✅ [RULES] Rule triggered: On battery')" -ge 2 ]; }
wait_for 10 fired_twice || fail "the power rule did not fire again"
[ "$(log_count '🔋 [RULES] Power state changed')" -ge 3 ] || fail "power changes not all seen"

step "wake from sleep runs an evaluation"
$MOCKS resume "$stack"
wait_log 10 "💤 [RULES] System woke from sleep"
wait_log 10 "🔍 [RULES] Evaluating rules (trigger: Wake from sleep)"

step "a launched application fires the app rule; the script's output and status reach the console"
cp /bin/sleep "$work/tarnwelltestapp"
"$work/tarnwelltestapp" 60 &
app_pid=$!
wait_log 15 "📱 [RULES] App launched: tarnwelltestapp"
wait_log 10 "✅ [RULES] Rule triggered: Test app"
wait_log 15 "❌ [ACTION] Script failed with exit code: 3"
wait_log 5 "   Output: tw-script-output"
kill "$app_pid"; wait "$app_pid" 2>/dev/null || true; app_pid=""

step "activity, run-now, disable, duplicate, remove"
run_ctl 0 rules activity
grep -q 'Rule triggered: Office mount' <<<"$out" || fail "activity: $out"
run_ctl 0 rules run-now "Any time"
wait_log 10 "⚡ [RULES] Force-running rule: Any time"
run_ctl 0 rules disable "$battery_id"
run_ctl 0 rules show "$battery_id"; grep -q '^enabled: no' <<<"$out" || fail "disable: $out"
run_ctl 0 rules duplicate "Office mount"
run_ctl 0 rules show "Office mount (Copy)"
run_ctl 0 rules remove "Office mount (Copy)"
run_ctl 0 rules edit "$office_id" --when wifi=corpoffice --when time=22:00-06:00 --mode any
run_ctl 0 rules show "$office_id"; grep -q '^when: WiFi = "corpoffice" OR Time: 22:00-06:00' <<<"$out" || fail "edit: $out"
run_ctl 2 rules edit "$office_id" --when time=25:00-26:00; expect_err "Malformed time range"
run_ctl 0 rules show "$office_id"; grep -q 'OR Time: 22:00-06:00' <<<"$out" || fail "a refused edit changed the rule"

step "the rules survive a restart; the preference starts the engine at launch"
run_ctl 0 rules stop
stop_daemon
python3 - "$XDG_CONFIG_HOME/tarnwell/io.tarnwell.Tarnwell.plist" <<'PY'
import plistlib, sys
with open(sys.argv[1], "rb") as f:
    prefs = plistlib.load(f)
prefs["startRuleEngineAtLaunch"] = True
with open(sys.argv[1], "wb") as f:
    plistlib.dump(prefs, f, fmt=plistlib.FMT_XML)
PY
start_daemon
wait_log 10 "📂 [RULES] Loaded 4 rules"
run_ctl 0 rules status; grep -q '^running: yes' <<<"$out" || fail "the preference did not start the engine: $out"
run_ctl 0 rules show "$office_id"; grep -qE '^triggered: [1-9]' <<<"$out" || fail "trigger count not kept: $out"

step "a corrupt rules file is kept aside and the list starts empty"
stop_daemon
echo '[{"broken": ' >"$rules_file"
start_daemon
wait_log 10 "❌ [RULES] Failed to load rules: "
wait_log 10 "⚠️ [RULES] Kept the unreadable rules file as: "
ls "$rules_file".corrupt-* >/dev/null || fail "the unreadable file was not kept"
run_ctl 0 rules list; grep -q '^No rules.' <<<"$out" || fail "list after corrupt file: $out"
stop_daemon
echo "PASS"
