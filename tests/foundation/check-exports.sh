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
allowed=()
for lib in libc.so.6 libm.so.6 libX11.so.6 libXt.so.6 libXm.so.4; do
  path=$(ldconfig -p | awk -v l="$lib" '$1 == l && /x86-64|x86_64/ {print $NF; exit}')
  [ -z "$path" ] && path=$(ldconfig -p | awk -v l="$lib" '$1 == l {print $NF; exit}')
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
