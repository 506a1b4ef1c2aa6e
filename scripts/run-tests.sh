#!/usr/bin/env bash
# The whole test suite from a fresh machine: installs what is needed, builds,
# and runs every test through CTest; then builds and runs the sanitizer suite
# (AddressSanitizer + UndefinedBehaviorSanitizer, preset "asan": every test but
# those labelled no-asan). FOLIO_SANITIZER_SUITE=0 skips the sanitizer suite.
# Both suites run even when the first one fails; the exit code is non-zero
# when either failed. The formatting of the sources is checked first
# (scripts/check-format.sh); an unformatted file fails the run too.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
status=0
bash scripts/check-format.sh || status=1
bash scripts/build.sh default
ctest --preset default || status=1
if [ "${FOLIO_SANITIZER_SUITE:-1}" = 1 ]; then
  start=$(date +%s)
  bash scripts/build.sh asan
  echo "run-tests: sanitizer build took $(($(date +%s) - start)) s"
  start=$(date +%s)
  ctest --preset asan || status=1
  echo "run-tests: sanitizer suite took $(($(date +%s) - start)) s"
fi
exit $status
