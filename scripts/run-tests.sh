#!/usr/bin/env bash
# The whole test suite from a fresh machine: installs what is needed, builds,
# and runs every test through CTest. Also builds and runs the sanitizer suite
# when FOLIO_SANITIZER_SUITE=1 (CI sets it).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
bash scripts/build.sh default
ctest --preset default
if [ "${FOLIO_SANITIZER_SUITE:-0}" = 1 ]; then
  bash scripts/build.sh asan
  ctest --preset asan
fi
