#!/usr/bin/env bash
# Checks the plug-in's dynamic symbol table: it defines exactly its four entry
# points (plus the linker's own _edata, _end and __bss_start when present), and
# every symbol it needs comes from the C library, the maths library, Xlib, Xt
# or Motif. Weak references (the toolchain's own hooks) are not needed.
set -euo pipefail
so=${1:?usage: check-exports.sh PLUGIN.so}
status=0

defined=$(nm -D --defined-only "$so" | awk '{print $NF}' | sed 's/@.*//' | sort -u)
expected="PIHandshake PISetupSDK RestorePlugInFrame main"
for sym in $expected; do
  if ! grep -qx "$sym" <<<"$defined"; then
    echo "missing export: $sym"
    status=1
  fi
done
for sym in $defined; do
  case " $expected _edata _end __bss_start " in
  *" $sym "*) ;;
  *)
    echo "unexpected export: $sym"
    status=1
    ;;
  esac
done

# The libraries a plug-in may take symbols from, found where the loader finds them.
# The loader's cache is read once into a variable, and the lookups read all of
# it: a reader that stops at the first match (awk's exit, head, grep -m) would
# let the writer of a pipe die of SIGPIPE whenever it had not yet written its
# last block, which under pipefail and errexit ends this script at once with
# status 141 and no message (it depends on scheduling: seen only under load).
cache=$(ldconfig -p)
allowed=()
for lib in libc.so.6 libm.so.6 libX11.so.6 libXt.so.6 libXm.so.4; do
  path=$(awk -v l="$lib" '$1 == l && /x86-64|x86_64/ && p == "" {p = $NF} END {print p}' <<<"$cache")
  [ -z "$path" ] && path=$(awk -v l="$lib" '$1 == l && p == "" {p = $NF} END {print p}' <<<"$cache")
  if [ -z "$path" ]; then
    echo "cannot find $lib"
    status=1
    continue
  fi
  allowed+=("$path")
done
provided=$(for l in "${allowed[@]}"; do nm -D --defined-only "$l" | awk '{print $NF}' | sed 's/@.*//'; done | sort -u)

needed=$(nm -D --undefined-only "$so" | awk '$1 == "U" {print $NF}' | sed 's/@.*//' | sort -u)
for sym in $needed; do
  if ! grep -qx -- "$sym" <<<"$provided"; then
    echo "undefined symbol from outside libc/libm/X11/Xt/Xm: $sym"
    status=1
  fi
done

if [ $status = 0 ]; then
  echo "exports: $(tr '\n' ' ' <<<"$defined")"
  echo "needs: $(tr '\n' ' ' <<<"$needed")"
fi
exit $status
