#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and run.
# Idempotent: packages already present are skipped; apt-get runs only when
# something is missing. Needs root (or sudo) for the installation itself.
set -euo pipefail

packages=(
  # toolchain
  build-essential cmake ninja-build pkg-config git clang-format
  # tests and benchmarks
  libgtest-dev libgmock-dev valgrind clang libclang-rt-14-dev
  # the PDF engine and what its static library needs
  libmupdf-dev libmujs-dev libgumbo-dev libopenjp2-7-dev libjbig2dec0-dev libharfbuzz-dev
  libfreetype-dev libjpeg-dev zlib1g-dev libpng-dev
  # X11 and Motif
  libx11-dev libxt-dev libmotif-dev libxext-dev libxres-dev libxfixes-dev
  # a private X server and GUI test tools
  xvfb xdotool x11-apps x11-utils xrestop xfonts-base fonts-dejavu-core imagemagick
  # independent readers and references for tests and benchmarks
  qpdf ghostscript mupdf-tools python3 strace
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup-deps: all ${#packages[@]} packages present"
  exit 0
fi

echo "setup-deps: installing ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then
    as_root=(sudo)
  else
    echo "setup-deps: need root to install: ${missing[*]}" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "setup-deps: done"
