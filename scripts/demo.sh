#!/usr/bin/env bash
# Runs the plug-in on a sample document (expects a build in build/).
set -euo pipefail
cd "$(dirname "$0")/.."
echo "demo: the sample run is not available in this build yet" >&2
exit 1
