#!/usr/bin/env bash
# Takes docs/viewer.png: the viewer under a private Xvfb with the crop tool,
# the real pointer held down in the middle of drawing a region, so that the
# status line shows the region's numbers. Needs a built tree (build/), Xvfb,
# xdotool, xwd and ImageMagick's convert.
#   bash scripts/viewer-screenshot.sh [OUT.png]
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-docs/viewer.png}
bin=build/bin
work=$(mktemp -d)
xvfb_pid=
folio_pid=
cleanup() {
  [ -n "$folio_pid" ] && kill "$folio_pid" 2>/dev/null || true
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

"$bin/mkpdf" --pages 4 --crop 36,36,576,756 --text "72,700,28,THE FIFTH TITLE" \
  --text "72,640,10,FILE LIFE THE HILL" --rect 72,420,540,600 --ellipse 200,280,70,45 \
  --frame 320,230,520,360,3 --curve 80,150,200,100,400,200,540,110,2 "$work/sample.pdf" >/dev/null

Xvfb -displayfd 3 -screen 0 1024x1024x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
xvfb_pid=$!
for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.1; done
export DISPLAY=":$(cat "$work/display")"

# A fresh config: points, the media box shown with the outside dimmed.
XDG_CONFIG_HOME="$work/config" FOLIO_VIEWER_SIZE=760x940 "$bin/folio" "$work/sample.pdf" \
  >"$work/folio.log" 2>&1 &
folio_pid=$!
view=$(xdotool search --sync --onlyvisible --name '^page view$' | head -1)
sleep 1
xdotool mousemove --window "$view" 5 5 key ctrl+9
sleep 0.5

# Page point (x, y) -> the view's window: the page is centred at 100%.
eval "$(xwininfo -id "$view" | awk '/Width:/ {print "w=" $2} /Height:/ {print "h=" $2}')"
ox=$((8 + (w - 628) / 2))
oy=$((8 + (h - 808) / 2))
at() { echo "$((ox + $1)) $((oy + 792 - $2))"; }

# Press at the region's top-left corner and hold the button down at its
# bottom-right: the status line shows the rectangle being drawn.
xdotool mousemove --window "$view" $(at 60 662) mousedown 1 sleep 0.2 \
  mousemove --window "$view" $(at 300 400) sleep 0.2 mousemove --window "$view" $(at 556 88) sleep 0.8
frame=$(xdotool search --onlyvisible --name ' - Folio$' | head -1)
xwd -silent -id "$frame" | convert xwd:- "$out"
xdotool mouseup 1
echo "wrote $out"
