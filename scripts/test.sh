#!/usr/bin/env bash
# Builds and runs every test lane:
#   native    the test suite and the tool's cases against the optimised build
#   sanitize  the same suite built with AddressSanitizer and UndefinedBehaviorSanitizer
#   install   an installed copy found by find_package(vexora) and by pkg-config
#   windows-x86  VEXORA.DLL for 32-bit Windows: built, export table and stdcall imports checked
#   windows-x64  VEXORA.DLL for 64-bit Windows: the same suite and tool cases run under Wine
# Each lane has its own build directory under build/; ccache keeps rebuilds cheap.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=$(nproc)
"$root/scripts/install-deps.sh" all

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

lane windows-x86 -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-i686-w64-mingw32.cmake"

# One fresh Wine prefix per run, made before the tests so that its start-up is paid once.
prefix="$root/build/windows-x64/wineprefix"
rm -rf "$prefix" && mkdir -p "$(dirname "$prefix")"
echo "== making the Wine prefix"
WINEPREFIX="$prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" wineboot --init >/dev/null 2>&1 || true
WINEPREFIX="$prefix" wineserver --wait || true
lane windows-x64 -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-x86_64-w64-mingw32.cmake" -DVEXORA_WINEPREFIX="$prefix"
