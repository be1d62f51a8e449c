#!/usr/bin/env bash
# Builds and runs every benchmark and prints their figures. The mount benchmarks need real servers: they run
# under a test stack of their own (tests/stack/), started for them and stopped by PID afterwards.
#   bash bench/run.sh [NAME ...]     e.g. bash bench/run.sh bench_tick bench_mount
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${TW_BUILD_DIR:-build}
bash scripts/build.sh -DTARNWELL_BENCH=ON >/dev/null

stack_benches=" bench_mount bench_mount_engine bench_reconnect bench_ui_stall "
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for src in bench/bench_*.cpp; do names+=("$(basename "$src" .cpp)"); done
fi

stack_dir=""
cleanup() { [ -z "$stack_dir" ] || { tests/stack/stop.sh "$stack_dir" >/dev/null 2>&1 || true; rm -rf "$stack_dir"; }; }
trap cleanup EXIT

for name in "${names[@]}"; do
  exe="$build_dir/bench/$name"
  [ -x "$exe" ] || { echo "no such benchmark: $name" >&2; exit 2; }
  echo "== $name"
  if [ "$name" = bench_discovery ]; then
    # Sweeps a /24 and lists a server: only inside a network namespace of its own.
    bash bench/discovery-netns.sh "$exe"
  elif [[ "$stack_benches" == *" $name "* ]]; then
    if [ -z "$stack_dir" ]; then
      stack_dir=$(mktemp -d /tmp/tarnwell-bench-stack.XXXXXX)
      tests/stack/start.sh "$stack_dir" >/dev/null
    fi
    tests/stack/with-stack.sh "$stack_dir" "$exe"
  else
    "$exe"
  fi
done
