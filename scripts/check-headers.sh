#!/usr/bin/env bash
# Compiles every public interface header alone, as C and as C++, with warnings
# as errors, both as an extension sees it and as the host sees it.
set -euo pipefail
dir=${1:-$(cd "$(dirname "$0")/../include" && pwd)}
cc=${CC:-cc}
cxx=${CXX:-c++}
fail=0
count=0
for h in "$dir"/folio/*.h; do
  name=folio/$(basename "$h")
  for side in "" "-DFOLIO_HOST_SIDE"; do
    if ! printf '#include "%s"\n' "$name" | $cc -x c -std=c99 -Wall -Wextra -Wpedantic -Werror $side -fsyntax-only -I "$dir" -; then
      echo "FAIL: $name as C $side"; fail=1
    fi
    if ! printf '#include "%s"\n' "$name" | $cxx -x c++ -std=c++17 -Wall -Wextra -Werror $side -fsyntax-only -I "$dir" -; then
      echo "FAIL: $name as C++ $side"; fail=1
    fi
    count=$((count + 2))
  done
done
echo "check-headers: $count compilations, $([ $fail = 0 ] && echo all passed || echo some failed)"
exit $fail
