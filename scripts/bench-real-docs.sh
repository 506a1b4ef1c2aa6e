#!/usr/bin/env bash
# Page bounding boxes of real documents: folio against the engine's loose
# bounding-box device and Ghostscript's bbox device (bench/bbox --files).
#
# The documents are large PDF manuals shipped by Debian documentation
# packages. They are fetched at benchmark time with `apt-get download` and
# unpacked with `dpkg-deb -x` into a temporary folder, which is removed at the
# end; nothing is kept or committed.
#
#   scripts/bench-real-docs.sh [--build DIR] [--gs-pages N] [--no-gs] [--keep] [PDF...]
#
# --gs-pages N  Ghostscript measures only the first N pages of each file and
#               its time is scaled to the whole file (default 100; 0: all pages;
#               it is slow, about 7 pages/s on these manuals)
# --no-gs       leave Ghostscript out
# --keep        keep the unpacked documents (their folder is printed)
# PDF...        measure these files instead of fetching the manuals
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build="$here/build"
gs_args=(--gs-pages 100)
keep=0
files=()
while [ $# -gt 0 ]; do
  case "$1" in
  --build) build=$2; shift 2 ;;
  --gs-pages) gs_args=(--gs-pages "$2"); shift 2 ;;
  --no-gs) gs_args=(--no-gs); shift ;;
  --keep) keep=1; shift ;;
  -h | --help) sed -n '2,17p' "$0"; exit 0 ;;
  *) files+=("$1"); shift ;;
  esac
done

for tool in mutool gs; do
  command -v "$tool" >/dev/null || { echo "bench-real-docs: $tool is missing (scripts/setup-deps.sh)" >&2; exit 1; }
done
cmake --build "$build" --target bbox_bench >/dev/null

if [ ${#files[@]} -eq 0 ]; then
  # Manuals with many pages, text, tables and figures: package and the PDF in it.
  manuals=(
    "gnuplot-doc usr/share/doc/gnuplot/gnuplot.pdf"
    "asymptote-doc usr/share/doc/asymptote/asymptote.pdf"
    "octave-doc usr/share/doc/octave/octave.pdf"
    "r-doc-pdf usr/share/R/doc/manual/fullrefman.pdf"
  )
  work=$(mktemp -d /tmp/folio-real-docs-XXXXXX)
  if [ $keep -eq 0 ]; then
    trap 'rm -rf "$work"' EXIT
  fi
  for m in "${manuals[@]}"; do
    set -- $m
    (cd "$work" && apt-get download "$1" >/dev/null 2>&1) || { echo "bench-real-docs: cannot download $1" >&2; continue; }
    dpkg-deb -x "$work/$1"_*.deb "$work/root"
    pdf="$work/root/$2"
    if [ -f "$pdf.gz" ] && [ ! -f "$pdf" ]; then
      gunzip -k "$pdf.gz"
    fi
    if [ -f "$pdf" ]; then
      files+=("$pdf")
    else
      echo "bench-real-docs: $1 ships no $2" >&2
    fi
  done
  [ $keep -eq 1 ] && echo "documents kept in $work"
fi
[ ${#files[@]} -gt 0 ] || { echo "bench-real-docs: no documents" >&2; exit 1; }

echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //')"
echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
"$build/bin/bbox_bench" --files "${gs_args[@]}" "${files[@]}"
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
