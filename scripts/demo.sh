#!/usr/bin/env bash
# The main job: crops a sample PDF with the Page Shear plug-in running in the
# folio host's batch mode, and shows the boxes before and after.
#
#   scripts/demo.sh [OUTDIR]      (default: out/; expects a build in build/,
#                                  or in $FOLIO_BUILD_DIR)
#
# It writes, under OUTDIR:
#   sample.pdf          a generated document: mixed page sizes, origins,
#                       rotations, crop boxes and contents
#   sample-bbox.pdf     every page cropped to the bounding box of its contents
#   sample-region.pdf   one region drawn on page 1, applied to all pages
#   sample-reset.pdf    the region crop reset to the media boxes again
#   region.png          page 5 in the page view with the media box outline (red)
#                       and a drawn crop region with its four handles
#   bbox-page5.png      page 5 after the crop to bounding boxes: outside the crop
#                       box the page is dimmed
set -euo pipefail
cd "$(dirname "$0")/.."
build=${FOLIO_BUILD_DIR:-build}
out=${1:-out}
folio=$build/bin/folio
mkpdf=$build/bin/mkpdf
for program in "$folio" "$mkpdf"; do
  if [ ! -x "$program" ]; then
    echo "demo: $program is missing; build first (bash scripts/build.sh)" >&2
    exit 1
  fi
done
mkdir -p "$out"

show() { # show TITLE FILE: the boxes of every page, as the host reads them
  echo "== $1"
  "$folio" --run "open $(printf '"%s"' "$2"); show-boxes" 2>/dev/null | grep '^page '
}

echo "demo: writing a sample document with mixed pages"
"$mkpdf" --pages 10 --mixed 6 "$out/sample.pdf"
show "before: $out/sample.pdf" "$out/sample.pdf"

echo
echo "demo: crop each page to its bounding box"
"$folio" --crop-bbox each "$out/sample.pdf" -o "$out/sample-bbox.pdf"
show "after crop to bounding boxes: $out/sample-bbox.pdf" "$out/sample-bbox.pdf"

echo
echo "demo: drag a region on page 1 (points: left 36, bottom 72, right 540, top 720) and apply it to all pages"
"$folio" --crop-region "36 72 540 720" --orientation crop "$out/sample.pdf" -o "$out/sample-region.pdf"
show "after the region crop: $out/sample-region.pdf" "$out/sample-region.pdf"

echo
echo "demo: reset every page of the region crop to its media box"
"$folio" --reset-media-box all "$out/sample-region.pdf" -o "$out/sample-reset.pdf"
show "after reset to media box: $out/sample-reset.pdf" "$out/sample-reset.pdf"

echo
echo "demo: the page view of page 5 with the crop tool's overlays, and after the crop to bounding boxes"
"$folio" --run "open \"$out/sample.pdf\"; page 5; button QUIL:PageShear; drag 150 680 650 220; snapshot \"$out/region.png\"" \
  2>/dev/null | grep '^snapshot'
"$folio" --run "open \"$out/sample-bbox.pdf\"; page 5; menu QUIL:PSShowMediaBox; snapshot \"$out/bbox-page5.png\"" \
  2>/dev/null | grep '^snapshot'

if command -v qpdf >/dev/null 2>&1; then
  echo
  for f in sample-bbox sample-region sample-reset; do
    printf 'qpdf --check %s: ' "$out/$f.pdf"
    qpdf --check "$out/$f.pdf" >/dev/null 2>&1 && echo ok || echo "FAILED"
  done
fi
echo
echo "demo: done; results in $out/"
