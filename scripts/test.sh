#!/usr/bin/env bash
# Builds and runs the test lanes, all of them or those named:
#   scripts/test.sh [native] [sanitize] [install] [windows-x86] [windows-x64]
#
#   native       the test suite, the tool's cases and the fuzz replays, optimised build; run
#                twice, the second time with VEXORA_SIMD=scalar: the portable kernels alone,
#                which the 32-bit DLL ships and no other lane executes
#   sanitize     the same under AddressSanitizer and UndefinedBehaviorSanitizer, built with clang
#                (its warnings are errors too), every fuzz target also linked against libFuzzer
#   install      an installed copy of the native build found by find_package and by pkg-config
#   windows-x86  VEXORA.DLL for 32-bit Windows: built, its export table, imports and resources
#                checked (32-bit Wine cannot be installed on Debian 12 beside the 64-bit one)
#                and the same of the format module DLLs
#   windows-x64  VEXORA.DLL for 64-bit Windows: the whole suite and the tool's cases run under
#                Wine, in one fresh prefix and one virtual X display made for the run
#
# The Windows lanes first cross-build the format modules' codecs from Debian's source packages
# into build/codecs/TRIPLE (scripts/build-codecs.sh; a no-op when they are up to date).
# Each lane has its own build directory under build/; ccache keeps rebuilds cheap. A lane
# fails when its tools are missing, when a test fails, and when it ran fewer tests than the
# tree defines (scripts/check-lane.py): nothing is skipped quietly.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# Paths below the tree are hashed relative to it, so clones in other places share the cache.
export CCACHE_BASEDIR="$root"
jobs=$(nproc)
all_lanes=(native sanitize install windows-x86 windows-x64)

lanes=("$@")
[[ ${#lanes[@]} -gt 0 ]] || lanes=("${all_lanes[@]}")
for lane in "${lanes[@]}"; do
  [[ " ${all_lanes[*]} " == *" $lane "* ]] || { echo "unknown lane '$lane' (lanes: ${all_lanes[*]})" >&2; exit 2; }
done
wants() { [[ " ${lanes[*]} " == *" $1 "* ]]; }

needs=native
if wants windows-x86 || wants windows-x64; then needs=windows; fi
"$root/scripts/install-deps.sh" "$needs"

configure() {  # configure NAME CMAKE-ARGS...
  local name=$1; shift
  cmake -S "$root" -B "$root/build/$name" -G Ninja "$@" >/dev/null
  cmake --build "$root/build/$name" -j"$jobs"
}

run_tests() {  # run_tests NAME REPORT [CTEST-ARGS...]: the lane's tests, checked against the tree
  local name=$1 report="$root/build/$1/$2"
  shift 2
  rm -f "$report"
  # A test that waits (a dialog nobody closes) fails after five minutes instead of holding CI.
  ctest --test-dir "$root/build/$name" -j"$jobs" --output-on-failure --no-tests=error \
    --timeout 300 --output-junit "$report" "$@"
  python3 "$root/scripts/check-lane.py" "$name" "$root/build/$name" "$report"
}

run_lane() {  # run_lane NAME CMAKE-ARGS...
  local name=$1; shift
  configure "$name" "$@"
  run_tests "$name" lane-report.xml
}

# The Wine lane's display and prefix, both removed again when the script ends, however it ends.
xvfb_pid="" prefix=""
cleanup() {
  if [[ -n "$prefix" ]]; then WINEPREFIX="$prefix" wineserver --kill 2>/dev/null || true; fi
  if [[ -n "$xvfb_pid" ]]; then kill "$xvfb_pid" 2>/dev/null || true; wait "$xvfb_pid" 2>/dev/null || true; fi
}
trap cleanup EXIT

start_display() {  # a virtual X display on the first free number, its number in VEXORA_WINE_DISPLAY
  local number_file
  number_file=$(mktemp)
  Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x1024x24 3>"$number_file" 2>/dev/null &
  xvfb_pid=$!
  for _ in $(seq 100); do
    [[ -s "$number_file" ]] && break
    kill -0 "$xvfb_pid" 2>/dev/null || { echo "Xvfb did not start" >&2; exit 1; }
    sleep 0.1
  done
  [[ -s "$number_file" ]] || { echo "Xvfb gave no display number" >&2; exit 1; }
  export VEXORA_WINE_DISPLAY=":$(head -n1 "$number_file")"
  rm -f "$number_file"
  echo "virtual display $VEXORA_WINE_DISPLAY (Xvfb, process $xvfb_pid)"
}

start=$SECONDS
passed=0
lane_done() { passed=$((passed + 1)); echo "== lane $1 passed in $((SECONDS - $2)) s"; }

if wants native; then
  echo "== lane: native"; t=$SECONDS
  run_lane native -DCMAKE_BUILD_TYPE=Release
  echo "== lane: native, portable kernels (VEXORA_SIMD=scalar)"
  VEXORA_SIMD=scalar run_tests native lane-report-scalar.xml
  lane_done native $t
fi
if wants sanitize; then
  echo "== lane: sanitize"; t=$SECONDS
  # A build directory configured with another compiler cannot be switched to clang in place.
  cache="$root/build/sanitize/CMakeCache.txt"
  if [[ -f "$cache" ]] && ! grep -q '^CMAKE_CXX_COMPILER:[A-Z]*=.*clang' "$cache"; then rm -rf "$root/build/sanitize"; fi
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
    run_lane sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DVEXORA_LIBFUZZER=ON
  lane_done sanitize $t
fi
if wants install; then
  echo "== lane: install"; t=$SECONDS
  wants native || configure native -DCMAKE_BUILD_TYPE=Release
  "$root/tests/install/check.sh" "$root/build/native" "$root/build/install-check"
  lane_done install $t
fi
codecs() {  # codecs TRIPLE: the format modules' codecs cross-built for TRIPLE into codec_prefix
  codec_prefix="$root/build/codecs/$1"
  "$root/scripts/build-codecs.sh" "$1" "$codec_prefix"
}
if wants windows-x86; then
  echo "== lane: windows-x86"; t=$SECONDS
  codecs i686-w64-mingw32
  run_lane windows-x86 -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-i686-w64-mingw32.cmake" \
    -DVEXORA_CODEC_PREFIX="$codec_prefix"
  lane_done windows-x86 $t
fi
if wants windows-x64; then
  echo "== lane: windows-x64"; t=$SECONDS
  codecs x86_64-w64-mingw32
  start_display
  prefix="$root/build/windows-x64/wineprefix"
  rm -rf "$prefix" && mkdir -p "$(dirname "$prefix")"
  echo "making the Wine prefix"
  # Made before the tests so that its start-up is paid once.
  export WINEPREFIX="$prefix" WINEDEBUG=-all
  DISPLAY=$VEXORA_WINE_DISPLAY WINEDLLOVERRIDES="mscoree,mshtml=" wineboot --init >/dev/null 2>&1
  # A crashing test program ends with its exit code instead of waiting in Wine's crash dialog.
  DISPLAY=$VEXORA_WINE_DISPLAY wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog \
    /t REG_DWORD /d 0 /f >/dev/null 2>&1
  wineserver --wait
  unset WINEPREFIX WINEDEBUG
  configure windows-x64 -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-x86_64-w64-mingw32.cmake" \
    -DVEXORA_WINEPREFIX="$prefix" -DVEXORA_CODEC_PREFIX="$codec_prefix"
  # A Wine start has been seen to fail once under heavy load (a tool case ending at once with
  # status 1, then passing three times alone). A test gets one more run under Wine; its first
  # failure is still printed above, and a test that fails twice fails the lane.
  run_tests windows-x64 lane-report.xml --repeat until-pass:2
  lane_done windows-x64 $t
fi

echo "== ${lanes[*]}: done in $((SECONDS - start)) s"
echo "lanes: $passed passed, 0 failed"
