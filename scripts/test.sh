#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: unit tests, then the integration tests against the
# real stack (private D-Bus, keyring, GVfs, Samba, WebDAV on loopback), started and stopped by tests/stack/.
set -euo pipefail
cd "$(dirname "$0")/.."
TW_BUILD_DIR=${TW_BUILD_DIR:-build} bash scripts/build.sh -DTARNWELL_WERROR=ON "$@"
ctest --test-dir "${TW_BUILD_DIR:-build}" --output-on-failure --parallel "$(nproc)" --timeout 900
