#!/usr/bin/env bash
# Builds and runs every test lane:
#   native    the test suite and the tool's cases against the optimised build
#   sanitize  the same suite built with AddressSanitizer and UndefinedBehaviorSanitizer
#   install   an installed copy found by find_package(vexora) and by pkg-config
# Each lane has its own build directory under build/; ccache keeps rebuilds cheap.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc)
"$root/scripts/install-deps.sh" native

lane() {  # lane NAME CMAKE-ARGS...
  local name=$1; shift
  echo "== lane: $name"
  cmake -S "$root" -B "$root/build/$name" -G Ninja "$@" >/dev/null
  cmake --build "$root/build/$name" -j"$jobs"
  ctest --test-dir "$root/build/$name" -j"$jobs" --output-on-failure
}

lane native -DCMAKE_BUILD_TYPE=Release
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  lane sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVEXORA_SANITIZE=ON

echo "== lane: install"
"$root/tests/install/check.sh" "$root/build/native" "$root/build/install-check"
