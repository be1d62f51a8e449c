#!/usr/bin/env bash
# Builds every fuzz target (clang, libFuzzer, ASan + UBSan) and runs each on its seed corpus for a
# bounded time, one after the other.
#   bash fuzz/run.sh [seconds per target, default 30] [target ...]     e.g. bash fuzz/run.sh 600 url
#   TW_FUZZ_RUNS=1000000 bash fuzz/run.sh 900    a target stops early once it reached that many executions
# The seed corpus in fuzz/corpus/<target> is only read; new inputs go to build-fuzz/corpus/<target>. A crash,
# leak or hang leaves its input in build-fuzz/artifacts/<target>/ and makes the script fail. The closing
# table gives the executions each target reached.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-30}"
shift || true
build="${TW_FUZZ_BUILD_DIR:-build-fuzz}"

if [ ! -f "$build/build.ninja" ]; then
    launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
    # -O1 keeps the targets fast while assertions stay on.
    CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g" \
        -DTARNWELL_FUZZ=ON -DTARNWELL_GUI=OFF -DTARNWELL_TESTS=OFF -DTARNWELL_BENCH=OFF -DTARNWELL_WERROR=OFF \
        "${launcher[@]}" >/dev/null
fi
ninja -C "$build" -j"${TW_FUZZ_JOBS:-$(nproc)}" tw_fuzz_all

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for dir in fuzz/corpus/*/; do targets+=("$(basename "$dir")"); done
fi

summary=()
failed=0
for t in "${targets[@]}"; do
    work="$build/corpus/$t"
    artifacts="$build/artifacts/$t"
    log="$build/logs/$t.log"
    mkdir -p "$work" "$artifacts" "$(dirname "$log")"
    echo "== fuzz_$t for ${seconds}s"
    status=0
    "$build/fuzz/fuzz_$t" "$work" "fuzz/corpus/$t" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -max_len=65536 -print_final_stats=1 ${TW_FUZZ_RUNS:+-runs=$TW_FUZZ_RUNS} -artifact_prefix="$artifacts/" >"$log" 2>&1 || status=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    if [ "$status" -ne 0 ]; then
        failed=1
        tail -40 "$log"
        summary+=("$(printf '%-16s %12s  FAILED (rc %s, see %s)' "$t" "${runs:-?}" "$status" "$log")")
    else
        summary+=("$(printf '%-16s %12s  ok' "$t" "${runs:-?}")")
    fi
done

echo "== executions per target (${seconds}s each)"
printf '%s\n' "${summary[@]}"
exit "$failed"
