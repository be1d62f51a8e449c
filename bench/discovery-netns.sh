#!/usr/bin/env bash
# Runs the discovery benchmark in a network namespace of its own (never in the machine's):
#   bash bench/discovery-netns.sh BENCH_EXECUTABLE
# 192.0.2.37/24 on a veth pair; of the 22 sweep probes two answer (192.0.2.1:445, 192.0.2.10:548), one is
# Samba (192.0.2.10:445), the other 19 go to addresses nobody holds and never answer.
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/.." && pwd)
. "$source_dir/tests/stack/common.sh"
. "$source_dir/tests/netns/discovery-net.sh"
disc_reexec_in_namespace "$0" "$@"
disc_net_up 192.0.2.1 192.0.2.10

work=$(mktemp -d)
pids=()
cleanup() {
  local i
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill_tree "${pids[$i]}" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT
python3 "$source_dir/tests/netns/listeners.py" 192.0.2.1:445 192.0.2.10:548 >"$work/listeners.log" 2>&1 &
pids+=($!)
wait_for 10 grep -q ready "$work/listeners.log" || { echo "listeners did not start" >&2; exit 1; }
smb_status=0
disc_start_samba "$work" 192.0.2.10 || smb_status=$?
pids+=("$DISC_SMB_PID")
[ "$smb_status" -eq 0 ] || { echo "smbd did not listen" >&2; exit 1; }
disc_refuse_unless_private
TW_BENCH_SMB_HOST=192.0.2.10 TW_BENCH_SMB_USER=$DISC_SMB_USER TW_BENCH_SMB_PASSWORD=$DISC_SMB_PASSWORD "$1"
