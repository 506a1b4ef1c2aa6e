#!/usr/bin/env bash
# Fuzzes the host's document path (open, pages, boxes, rotation, bounding box,
# crop box, save, reopen) with libFuzzer for SECONDS seconds (default 60).
#
#   scripts/fuzz.sh [SECONDS] [LIBFUZZER-OPTION...]
#
# Builds the clang "fuzz" preset (build-fuzz/, only the fuzz target), seeds
# from the committed fuzz/corpus (read only) and keeps what it learns in
# build-fuzz/corpus. A crasher is written to build-fuzz/artifacts/; copy it to
# fuzz/crashers/ to make it a regression test of the normal build
# (ReliabilityFuzz.* in tests/reliability). Extra arguments go to libFuzzer,
# e.g. -jobs=2 -workers=2.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
bash scripts/setup-deps.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
mkdir -p build-fuzz/corpus build-fuzz/artifacts
# Leak checking is off while fuzzing: the PDF engine keeps one page
# dictionary alive past its document for every page loaded (see
# tests/reliability/lsan.supp), so every input would go through the slow leak
# pass. The sanitizer test suite checks leaks with the suppressions instead.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:allocator_may_return_null=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# Fork mode keeps fuzzing after a crasher (each one is written to
# build-fuzz/artifacts/) for the whole time asked.
exec build-fuzz/bin/folio_fuzz_document build-fuzz/corpus fuzz/corpus \
  -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2560 -max_len=65536 \
  -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 \
  -artifact_prefix=build-fuzz/artifacts/ -print_final_stats=1 "$@"
