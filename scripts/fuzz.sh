#!/usr/bin/env bash
# Fuzzes the host with libFuzzer for SECONDS seconds (default 60).
#
#   scripts/fuzz.sh [--crop] [SECONDS] [LIBFUZZER-OPTION...]
#
# Without --crop: the host's document path (open, pages, boxes, rotation,
# bounding box, crop box, save, reopen) in the model (folio_fuzz_document).
# With --crop: the three crop commands (--crop-bbox each, --crop-region
# page by page, --reset-media-box all, each saved and read back) through the
# real plug-in in the real host session, in process (folio_fuzz_crop); it
# runs on a private X server started here (one for the whole run, so that a
# crashed worker leaves none behind).
#
# Builds the clang "fuzz" preset (build-fuzz/, only the fuzz targets), seeds
# from the committed fuzz/corpus (read only) and keeps what it learns in
# build-fuzz/corpus (build-fuzz/corpus-crop with --crop). A crasher is
# written to build-fuzz/artifacts/; copy it (minimised with -minimize_crash=1)
# to fuzz/crashers/ to make it a regression test of the normal build
# (ReliabilityFuzz* in tests/reliability, which runs every crasher through the
# document path and through the real folio's crop commands). Extra arguments
# go to libFuzzer, e.g. -jobs=2 -workers=2.
set -euo pipefail
cd "$(dirname "$0")/.."
target=folio_fuzz_document
corpus=build-fuzz/corpus
if [ "${1:-}" = "--crop" ]; then
  target=folio_fuzz_crop
  corpus=build-fuzz/corpus-crop
  shift
fi
seconds=${1:-60}
shift || true
bash scripts/setup-deps.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
mkdir -p "$corpus" build-fuzz/artifacts
# Leak checking is off while fuzzing: the PDF engine keeps one page
# dictionary alive past its document for every page loaded (see
# tests/reliability/lsan.supp), so every input would go through the slow leak
# pass. The sanitizer test suite checks leaks with the suppressions instead.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:allocator_may_return_null=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
xvfb_pid=
if [ "$target" = folio_fuzz_crop ]; then
  displayfd=$(mktemp)
  Xvfb -displayfd 1 -nolisten tcp >"$displayfd" 2>/dev/null &
  xvfb_pid=$!
  trap 'kill "$xvfb_pid" 2>/dev/null || true; rm -f "$displayfd"' EXIT
  for _ in $(seq 100); do
    [ -s "$displayfd" ] && break
    sleep 0.1
  done
  export DISPLAY=":$(head -n1 "$displayfd")"
fi
# Fork mode keeps fuzzing after a crasher (each one is written to
# build-fuzz/artifacts/) for the whole time asked.
build-fuzz/bin/$target "$corpus" fuzz/corpus \
  -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2560 -max_len=65536 \
  -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 \
  -artifact_prefix=build-fuzz/artifacts/ -print_final_stats=1 "$@"
