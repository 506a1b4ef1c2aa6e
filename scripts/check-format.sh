#!/usr/bin/env bash
# Fails when a C or C++ file of the project is not formatted as the committed
# .clang-format says. Lists the files to mend; `clang-format -i FILE` mends one.
# With --fix, formats them in place instead.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.c' '*.cpp' '*.h')
if [ "${1:-}" = --fix ]; then
  clang-format -i "${files[@]}"
  exit 0
fi
bad=()
for f in "${files[@]}"; do
  if ! clang-format --dry-run --Werror "$f" >/dev/null 2>&1; then
    bad+=("$f")
  fi
done
if [ ${#bad[@]} -gt 0 ]; then
  echo "check-format: ${#bad[@]} file(s) not formatted (scripts/check-format.sh --fix mends them):" >&2
  printf '  %s\n' "${bad[@]}" >&2
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"
