#!/usr/bin/env bash
# Measures the viewer's redraw and page-change times under a private Xvfb:
# a letter page at 100% with the media-box outline and a crop region drawn,
# scrolled up and down (redraws of a cached page raster), then paged through.
# The viewer prints its own figures at exit (--redraw-stats=FILE).
#
#   tests/gui/measure-redraw.sh BUILD_DIR [ROUNDS]
set -euo pipefail
build=${1:?usage: measure-redraw.sh BUILD_DIR [ROUNDS]}
rounds=${2:-100}
work=$(mktemp -d)
trap 'kill $folio $xvfb 2>/dev/null || true; rm -rf "$work"' EXIT

"$build/bin/mkpdf" --pages 40 --text 72,720,20,"HELL THEFT FILE" --rect 100,100,500,600 \
  --ellipse 306,396,120,80 "$work/letter.pdf"

exec {fd}<> <(:)
Xvfb -displayfd "$fd" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
read -r -u "$fd" number
export DISPLAY=":$number"

FOLIO_VIEWER_SIZE=760x880 "$build/bin/folio" --redraw-stats="$work/stats.txt" "$work/letter.pdf" >"$work/folio.log" 2>&1 &
folio=$!
view=$(xdotool search --sync --onlyvisible --name '^page view$' | head -1)
xdotool mousemove --window "$view" 300 300 key ctrl+9
sleep 0.3
xdotool mousemove --window "$view" 150 150 mousedown 1 mousemove --window "$view" 300 400 \
  mousemove --window "$view" 450 600 mouseup 1
sleep 0.3
for ((i = 0; i < rounds; i++)); do
  xdotool key --delay 20 Down Up
done
for ((i = 0; i < rounds / 4; i++)); do
  xdotool key --delay 30 Next
done
xdotool key ctrl+q
wait "$folio" || true
cat "$work/stats.txt"
