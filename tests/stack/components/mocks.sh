#!/usr/bin/env bash
# A private system bus with python3-dbusmock stand-ins for NetworkManager, logind and UPower, and a
# notification daemon stand-in on the stack's session bus.
#   mocks.sh start|stop STACK_DIR
#   mocks.sh ssid STACK_DIR [NAME]     join Wi-Fi network NAME; no NAME: leave Wi-Fi
#   mocks.sh sleep|resume STACK_DIR    logind's PrepareForSleep(true|false)
#   mocks.sh power STACK_DIR ac|battery   UPower's OnBattery (with its PropertiesChanged)
#   mocks.sh notifications STACK_DIR   the notifications posted so far, one "title|body" line each
# Exports DBUS_SYSTEM_BUS_ADDRESS, so nothing in a test can reach the machine's real system bus.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/common.sh"
action=$1 stack=$2
# The distribution's interpreter: dbusmock and dbus-python are Debian packages.
py=/usr/bin/python3
ctl="$here/components/mocks_ctl.py"

has_name() {
  dbus-send --bus="$DBUS_SYSTEM_BUS_ADDRESS" --print-reply --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null | grep -q 'boolean true'
}

case "$action" in
start)
  dir="$stack/sysbus"
  mkdir -p "$dir"
  chmod 700 "$dir"
  cat > "$dir/system.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=$dir/system_bus_socket</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
CONF
  out=$(dbus-daemon --config-file="$dir/system.conf" --fork --nopidfile --print-address=1 --print-pid=1 \
        2>"$stack/logs/sysbus.log")
  address=$(echo "$out" | sed -n 1p)
  pid=$(echo "$out" | sed -n 2p)
  [ -n "$pid" ] || { stack_log "system dbus-daemon did not start"; exit 1; }
  record_pid "$stack" mocks "$pid"
  export_var "$stack" DBUS_SYSTEM_BUS_ADDRESS "$address"
  export_var "$stack" TW_SYSTEM_BUS_PID "$pid"

  $py -m dbusmock --system --template networkmanager >"$stack/logs/mock-networkmanager.log" 2>&1 &
  nm_pid=$!
  record_pid "$stack" mocks "$nm_pid"
  export_var "$stack" TW_MOCK_NM_PID "$nm_pid"
  $py -m dbusmock --system --template logind >"$stack/logs/mock-logind.log" 2>&1 &
  logind_pid=$!
  record_pid "$stack" mocks "$logind_pid"
  export_var "$stack" TW_MOCK_LOGIND_PID "$logind_pid"

  $py -m dbusmock --system --template upower >"$stack/logs/mock-upower.log" 2>&1 &
  upower_pid=$!
  record_pid "$stack" mocks "$upower_pid"
  export_var "$stack" TW_MOCK_UPOWER_PID "$upower_pid"
  if [ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ]; then
    $py -m dbusmock --session --template notification_daemon >"$stack/logs/mock-notifications.log" 2>&1 &
    notify_pid=$!
    record_pid "$stack" mocks "$notify_pid"
    export_var "$stack" TW_MOCK_NOTIFY_PID "$notify_pid"
  fi

  wait_for 20 has_name org.freedesktop.UPower || { stack_log "UPower mock did not appear"; exit 1; }
  wait_for 20 has_name org.freedesktop.NetworkManager || { stack_log "NetworkManager mock did not appear"; exit 1; }
  wait_for 20 has_name org.freedesktop.login1 || { stack_log "logind mock did not appear"; exit 1; }
  $py "$ctl" setup
  export_var "$stack" TW_MOCKS_CTL "$here/components/mocks.sh"
  ;;
stop) ;; # stop.sh stops the recorded PIDs
ssid)
  [ -f "$stack/env" ] && . "$stack/env"
  $py "$ctl" ssid "${3:-}"
  ;;
sleep|resume|notifications)
  [ -f "$stack/env" ] && . "$stack/env"
  $py "$ctl" "$action"
  ;;
power)
  [ -f "$stack/env" ] && . "$stack/env"
  $py "$ctl" power "${3:?ac or battery}"
  ;;
*) echo "usage: mocks.sh start|stop|ssid|sleep|resume|power|notifications STACK_DIR [ARG]" >&2; exit 2 ;;
esac
