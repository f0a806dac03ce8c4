#!/usr/bin/env bash
# Builds the library and the vexora tool, then writes the demo: the built-in sample image through
# every operation, as BMP files and an index.html. Usage: scripts/demo.sh [DIR] (default vexora-demo)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh" native
cmake -S "$root" -B "$root/build/release" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEXORA_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build/release" -j"$(nproc)"
"$root/build/release/tools/vexora" demo "${1:-vexora-demo}"
echo "Open ${1:-vexora-demo}/index.html in a browser."
