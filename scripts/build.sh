#!/usr/bin/env bash
# Configures and builds Tarnwell into build/ (installs the Debian packages first when missing).
# Extra arguments go to CMake's configure step.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
build_dir=${TW_BUILD_DIR:-build}
launcher=()
# ccache, when the machine has it, makes rebuilds in several checkouts cheap; it is not required.
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=${TW_BUILD_TYPE:-RelWithDebInfo} "${launcher[@]}" "$@"
cmake --build "$build_dir" --parallel "$(nproc)"
