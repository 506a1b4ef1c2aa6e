#!/usr/bin/env bash
# The whole test suite from a fresh machine: installs what is needed, builds,
# and runs every test through CTest; then builds and runs the sanitizer suite
# (AddressSanitizer + UndefinedBehaviorSanitizer, preset "asan": every test but
# those labelled no-asan). FOLIO_SANITIZER_SUITE=0 skips the sanitizer suite.
# Both suites run even when the first one fails; the exit code is non-zero
# when either failed. The formatting of the sources is checked first
# (scripts/check-format.sh); an unformatted file fails the run too. The
# last lines printed name every step and test that failed, with the output of
# each failed test saved under build*/Testing/Temporary/LastTest.log.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
status=0
failed=()
bash scripts/check-format.sh || { status=1; failed+=("format check"); }

# Names the tests CTest recorded as failed in build directory $1.
failed_tests() {
  local list="$1/Testing/Temporary/LastTestsFailed.log"
  [ -f "$list" ] && sed 's/^[0-9]*:/  /' "$list"
  return 0
}

bash scripts/build.sh default
rm -f build/Testing/Temporary/LastTestsFailed.log
if ! ctest --preset default; then
  status=1
  failed+=("default suite:" "$(failed_tests build)")
fi
if [ "${FOLIO_SANITIZER_SUITE:-1}" = 1 ]; then
  start=$(date +%s)
  bash scripts/build.sh asan
  echo "run-tests: sanitizer build took $(($(date +%s) - start)) s"
  start=$(date +%s)
  rm -f build-asan/Testing/Temporary/LastTestsFailed.log
  if ! ctest --preset asan; then
    status=1
    failed+=("sanitizer suite:" "$(failed_tests build-asan)")
  fi
  echo "run-tests: sanitizer suite took $(($(date +%s) - start)) s"
fi
if [ $status -ne 0 ]; then
  # Each failed test once more, alone, with its output: a test that passes
  # now failed through its timing or its neighbours. This does not change
  # the verdict.
  for preset in default asan; do
    dir=build
    [ "$preset" = asan ] && dir=build-asan
    if [ -s "$dir/Testing/Temporary/LastTestsFailed.log" ]; then
      echo "run-tests: the failed tests of the $preset suite once more:"
      ctest --preset "$preset" --rerun-failed -j 1 2>&1 | tail -n 80 || true
    fi
  done
  echo "run-tests: FAILED"
  printf '%s\n' "${failed[@]}"
else
  echo "run-tests: every step passed"
fi
exit $status
