# What the tarnwellctl scenarios share. Sourced after $work (the scenario's private folder) and $CTL are set.
#   step TEXT                     a heading in the test output
#   fail TEXT                     the failure, the tail of every daemon log in $work, exit 1
#   run_ctl STATUS ARGS...        tarnwellctl, bounded by $ctl_timeout (default 120 s), standard input from
#                                 $ctl_input (default /dev/null); its output lands in $out and $err, and an
#                                 exit status other than STATUS fails the scenario
#   expect_out TEXT / expect_err TEXT   the last run's output holds TEXT

step() { printf '\n=== %s\n' "$*"; }

fail() {
  printf 'FAIL: %s\n' "$*" >&2
  local log
  for log in "$work"/daemon*.log; do
    [ -f "$log" ] && { echo "--- $(basename "$log") (tail)" >&2; tail -n 40 "$log" >&2; }
  done
  exit 1
}

run_ctl() {
  local expected=$1; shift
  local status=0
  timeout "${ctl_timeout:-120}" "$CTL" "$@" >"$work/out" 2>"$work/err" <"${ctl_input:-/dev/null}" || status=$?
  out=$(cat "$work/out"); err=$(cat "$work/err")
  [ "$status" -eq "$expected" ] || fail "tarnwellctl $* exited $status, expected $expected; stdout: $out; stderr: $err"
}

expect_out() { grep -qF -- "$1" <<<"$out" || fail "stdout lacks '$1': $out"; }
expect_err() { grep -qF -- "$1" <<<"$err" || fail "stderr lacks '$1': $err"; }
