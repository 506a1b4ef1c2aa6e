#!/usr/bin/env bash
# The main job from a fresh machine: installs what is needed, builds, and
# runs the Page Shear plug-in on a sample document.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
bash scripts/build.sh default
exec bash scripts/demo.sh "$@"
