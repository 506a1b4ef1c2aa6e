#!/usr/bin/env bash
# Installs the build into a fresh prefix and crops a generated document with
# the installed program: the program, its libraries and its plug-in folder
# must work from there without the build tree.
# Usage: check-install.sh BUILD_DIR MKPDF
set -euo pipefail
build=$1
mkpdf=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix/usr" >/dev/null
test -L "$prefix/usr/bin/folio"
test -f "$prefix/usr/lib/folio/plug_ins/pgshear.so"
# Nothing of the build tree may be needed at run time.
if ldd "$prefix/usr/lib/folio/folio" | grep -q "$build"; then
  echo "check-install: the installed program still loads libraries from the build tree" >&2
  ldd "$prefix/usr/lib/folio/folio" >&2
  exit 1
fi
"$mkpdf" --pages 3 --rect 150,150,300,300 "$prefix/in.pdf" >/dev/null
"$prefix/usr/bin/folio" --crop-region "100 100 400 500" --pages all "$prefix/in.pdf" -o "$prefix/out.pdf"
# Every page of the output carries the region as its crop box.
qpdf --show-npages "$prefix/out.pdf" | grep -qx 3
crops=$(qpdf --json "$prefix/out.pdf" | python3 -c '
import json, sys
doc = json.load(sys.stdin)
objs = doc["qpdf"][1]
n = 0
for key, obj in objs.items():
    v = obj.get("value")
    if isinstance(v, dict) and v.get("/Type") == "/Page" and v.get("/CropBox") == [100, 100, 400, 500]:
        n += 1
print(n)')
if [ "$crops" != 3 ]; then
  echo "check-install: $crops of 3 pages carry the crop region" >&2
  exit 1
fi
echo "check-install: installed folio cropped a document"
