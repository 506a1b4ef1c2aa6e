#!/usr/bin/env bash
# Crops every PDF of real documentation packages through the real folio and
# checks that nothing is lost or mangled. For each file:
#
#   1. --crop-bbox each, with the bounding-box workers and without them
#      (FOLIO_BBOX_THREADS=0): both runs end alike, and when they save, the
#      two outputs hold the same boxes on every page;
#   2. --crop-region "36 36 300 400" on every page (--orientation crop);
#   3. --reset-media-box all on the output of 1.
#
# Every output must pass `qpdf --check` (warnings allowed only where the input
# has them too), keep the input's page count, render with `mutool draw` (when
# the input does), and
# read back in folio with the boxes the run wrote. A run that refuses the
# input (exit 1: encrypted, damaged beyond repair) must say why on standard
# error and leave no output behind.
#
# The documents come from Debian packages fetched with `apt-get download` and
# unpacked into a temporary folder (removed at the end); nothing is kept.
#
#   scripts/check-real-docs.sh [--build DIR] [--keep] [--packages "P1 P2"] [--variants N] [PDF...]
#
# --variants N  also check rewritten copies of every N-th file: linearized and
#               packed into object streams (qpdf), encrypted with AES-256 and
#               an empty user password (qpdf), garbage-collected (mutool
#               clean) and rewritten by Ghostscript's pdfwrite
# --packages  the Debian packages to take the PDFs from (default: a set of
#             documentation packages made by several PDF producers)
# --keep      keep the work folder (inputs, outputs and logs; printed)
# PDF...      check these files instead
#
# Prints one line per file (ok, refused, or FAIL with the reason) and a
# summary; exits 1 when any file failed.
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
build="$here/build"
keep=0
variants=0
packages="gnuplot-doc asymptote-doc texlive-fonts-recommended-doc texlive-metapost-doc texlive-latex-recommended-doc"
files=()
while [ $# -gt 0 ]; do
  case "$1" in
  --build) build=$2; shift 2 ;;
  --keep) keep=1; shift ;;
  --packages) packages=$2; shift 2 ;;
  --variants) variants=$2; shift 2 ;;
  -h | --help) sed -n '2,33p' "$0"; exit 0 ;;
  *) files+=("$1"); shift ;;
  esac
done

for tool in qpdf mutool; do
  command -v "$tool" >/dev/null || { echo "check-real-docs: $tool is missing (scripts/setup-deps.sh)" >&2; exit 1; }
done
folio="$build/bin/folio"
[ -x "$folio" ] || { echo "check-real-docs: no $folio (scripts/build.sh default)" >&2; exit 1; }

work=$(mktemp -d /tmp/folio-check-docs-XXXXXX)
if [ $keep -eq 0 ]; then
  trap 'rm -rf "$work"' EXIT
else
  echo "work folder: $work"
fi

if [ ${#files[@]} -eq 0 ]; then
  for p in $packages; do
    (cd "$work" && apt-get download "$p" >/dev/null 2>&1) || { echo "check-real-docs: cannot download $p" >&2; continue; }
    dpkg-deb -x "$work/$p"_*.deb "$work/root"
  done
  while IFS= read -r -d '' f; do files+=("$f"); done < <(find "$work/root" -name '*.pdf' -type f -print0 | sort -z)
fi
[ ${#files[@]} -gt 0 ] || { echo "check-real-docs: no documents" >&2; exit 1; }

if [ "$variants" -gt 0 ]; then
  mkdir -p "$work/variants"
  copies=()
  for ((i = 0; i < ${#files[@]}; i += variants)); do
    f=${files[$i]}
    b="$work/variants/$i-$(basename "$f" .pdf)"
    qpdf --linearize "$f" "$b-linearized.pdf" >/dev/null 2>&1 && copies+=("$b-linearized.pdf")
    qpdf --object-streams=generate "$f" "$b-objstm.pdf" >/dev/null 2>&1 && copies+=("$b-objstm.pdf")
    qpdf --encrypt "" owner 256 -- "$f" "$b-aes256.pdf" >/dev/null 2>&1 && copies+=("$b-aes256.pdf")
    mutool clean -gggg "$f" "$b-clean.pdf" >/dev/null 2>&1 && copies+=("$b-clean.pdf")
    if command -v gs >/dev/null; then
      timeout 120 gs -q -dNOPAUSE -dBATCH -sDEVICE=pdfwrite -sOutputFile="$b-gs.pdf" "$f" >/dev/null 2>&1 &&
        copies+=("$b-gs.pdf")
    fi
  done
  files+=("${copies[@]}")
fi

# The boxes folio reads in FILE, one line a page ("page N: media ... crop ...").
boxes() {
  "$folio" --batch - <<<"open $1
show-boxes" 2>/dev/null | grep '^page ' || true
}

# qpdf's verdict: 0 clean, 3 warnings, 2 errors.
qcheck() {
  local rc=0
  qpdf --check "$1" >/dev/null 2>&1 || rc=$?
  echo "$rc"
}

ok=0 refused=0 failed=0 n=0
for f in "${files[@]}"; do
  n=$((n + 1))
  d="$work/run/$n"
  mkdir -p "$d"
  name=${f#"$work/"}
  name=${name#root/}
  why=""
  pages=$(qpdf --show-npages "$f" 2>/dev/null || echo "?")
  inCheck=$(qcheck "$f")
  inDraw=0
  mutool draw -q -o /dev/null -r 10 "$f" >/dev/null 2>&1 || inDraw=1

  rc=0
  "$folio" --crop-bbox each "$f" -o "$d/each.pdf" >"$d/each.out" 2>"$d/each.err" || rc=$?
  rc0=0
  FOLIO_BBOX_THREADS=0 "$folio" --crop-bbox each "$f" -o "$d/each0.pdf" >"$d/each0.out" 2>"$d/each0.err" || rc0=$?
  if [ "$rc" = 1 ] && [ "$rc0" = 1 ] && [ ! -e "$d/each.pdf" ]; then
    if grep -q '^folio: ' "$d/each.err"; then
      refused=$((refused + 1))
      echo "refused  $name: $(grep -m1 '^folio: ' "$d/each.err")"
      continue
    fi
    why="exit 1 without a message"
  fi
  [ -z "$why" ] && [ "$rc" != 0 ] && why="--crop-bbox each: exit $rc: $(tail -n1 "$d/each.err")"
  [ -z "$why" ] && [ "$rc0" != 0 ] && why="--crop-bbox each without workers: exit $rc0"

  check_output() { # FILE LABEL: sets why
    local out=$1 label=$2 c
    c=$(qcheck "$out")
    if [ "$c" = 2 ] || { [ "$c" = 3 ] && [ "$inCheck" = 0 ]; }; then
      why="$label: qpdf --check says $c (input $inCheck)"
      return
    fi
    local np
    np=$(qpdf --show-npages "$out" 2>/dev/null || echo "?")
    [ "$np" = "$pages" ] || { why="$label: $np pages, input $pages"; return; }
    if [ "$inDraw" = 0 ]; then
      mutool draw -q -o /dev/null -r 10 "$out" >/dev/null 2>"$d/draw.err" ||
        { why="$label: mutool draw fails: $(head -n1 "$d/draw.err")"; return; }
    fi
  }

  if [ -z "$why" ]; then
    check_output "$d/each.pdf" "--crop-bbox each"
  fi
  if [ -z "$why" ]; then
    boxes "$d/each.pdf" >"$d/each.boxes"
    boxes "$d/each0.pdf" >"$d/each0.boxes"
    [ "$(wc -l <"$d/each.boxes")" = "$pages" ] || why="--crop-bbox each: folio reads $(wc -l <"$d/each.boxes") pages back"
    cmp -s "$d/each.boxes" "$d/each0.boxes" ||
      why="--crop-bbox each: boxes differ with and without workers ($(diff "$d/each.boxes" "$d/each0.boxes" | grep -m1 '^<'))"
  fi
  if [ -z "$why" ]; then
    rc=0
    "$folio" --crop-region "36 36 300 400" --orientation crop "$f" -o "$d/region.pdf" >"$d/region.out" 2>"$d/region.err" || rc=$?
    if [ "$rc" != 0 ]; then
      why="--crop-region: exit $rc: $(tail -n1 "$d/region.err")"
    else
      check_output "$d/region.pdf" "--crop-region"
    fi
  fi
  if [ -z "$why" ]; then
    # Every unrotated page whose media box starts at the origin and holds
    # the region carries it as its crop box, within 1/16 pt (the crop tool
    # works in whole device units of the largest zoom).
    boxes "$d/region.pdf" >"$d/region.boxes"
    bad=$(awk 'function off(a, b) { return a - b > 0.0625 || b - a > 0.0625 }
      $4 == 0 && $5 == 0 && $6 >= 300 && $7 >= 400 && $NF == 0 &&
      (off($9, 36) || off($10, 36) || off($11, 300) || off($12, 400)) {print; exit}' "$d/region.boxes")
    [ -n "$bad" ] && why="--crop-region: $bad"
  fi
  if [ -z "$why" ]; then
    rc=0
    "$folio" --reset-media-box all "$d/each.pdf" -o "$d/reset.pdf" >"$d/reset.out" 2>"$d/reset.err" || rc=$?
    if [ "$rc" != 0 ]; then
      why="--reset-media-box: exit $rc: $(tail -n1 "$d/reset.err")"
    else
      check_output "$d/reset.pdf" "--reset-media-box"
    fi
  fi

  if [ -z "$why" ]; then
    ok=$((ok + 1))
    echo "ok       $name ($pages pages)"
    rm -rf "$d"
  else
    failed=$((failed + 1))
    echo "FAIL     $name: $why"
  fi
done

echo "check-real-docs: $n files: $ok ok, $refused refused with a message, $failed failed"
[ $failed -eq 0 ]
