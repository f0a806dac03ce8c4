#!/usr/bin/env bash
# Real fuzzing, locally: the sanitizer lane's libFuzzer build of each fuzz target, run for a
# while, with what it learns kept in the tree.
#   scripts/fuzz.sh [TARGET] [MINUTES]    TARGET: a fuzz/TARGET_fuzz.cpp name (default: all of
#                                         them, one after another); MINUTES each (default 10)
# A dictionary of the format's magic values, fuzz/dict/TARGET.dict, is used when there is one.
# New inputs are collected in a scratch directory, then merged into fuzz/corpus/TARGET (only
# those that add coverage); a crash, leak or timeout is copied there too, so that every lane's
# replay runs it from then on, and the script fails naming it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export CCACHE_BASEDIR="$root"
minutes=${2:-10}
[[ "$minutes" =~ ^[0-9]+$ && "$minutes" -gt 0 ]] || { echo "usage: $0 [TARGET] [MINUTES]" >&2; exit 2; }

"$root/scripts/install-deps.sh" native
build="$root/build/sanitize"
# The sanitizer lane's build directory; one configured with another compiler is made afresh.
if [[ -f "$build/CMakeCache.txt" ]] && ! grep -q '^CMAKE_CXX_COMPILER:[A-Z]*=.*clang' "$build/CMakeCache.txt"; then
  rm -rf "$build"
fi
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DVEXORA_LIBFUZZER=ON >/dev/null

targets=()
if [[ -n "${1:-}" ]]; then
  [[ -f "$root/fuzz/${1}_fuzz.cpp" ]] || { echo "no fuzz target '$1' (fuzz/${1}_fuzz.cpp)" >&2; exit 2; }
  targets=("$1")
else
  for source in "$root"/fuzz/*_fuzz.cpp; do
    name=$(basename "$source" _fuzz.cpp)
    targets+=("$name")
  done
fi
cmake --build "$build" --target "${targets[@]/%/_fuzz}"

found=0
for name in "${targets[@]}"; do
  corpus="$root/fuzz/corpus/$name" scratch=$(mktemp -d) artifacts=$(mktemp -d)
  mkdir -p "$corpus"
  echo "== $name: $minutes min"
  dictionary=()
  [[ -f "$root/fuzz/dict/$name.dict" ]] && dictionary=(-dict="$root/fuzz/dict/$name.dict")
  status=0
  ASAN_OPTIONS=detect_leaks=1 "$build/fuzz/${name}_fuzz" -max_total_time=$((minutes * 60)) -timeout=10 \
    -rss_limit_mb=4096 -print_final_stats=1 -artifact_prefix="$artifacts/" "${dictionary[@]}" "$scratch" "$corpus" \
    2>"$scratch.log" || status=$?
  grep -E "^stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)|cov: " "$scratch.log" | tail -n 4 || true
  "$build/fuzz/${name}_fuzz" -merge=1 -artifact_prefix="$artifacts/" "$corpus" "$scratch" >/dev/null 2>&1 || true
  for crash in "$artifacts"/*; do
    [[ -e "$crash" ]] || continue
    cp "$crash" "$corpus/regression-$(basename "$crash")"
    echo "$name: kept $(basename "$crash") as fuzz/corpus/$name/regression-$(basename "$crash")" >&2
    found=1
  done
  if [[ $status -ne 0 && $found -eq 0 ]]; then
    tail -n 30 "$scratch.log" >&2
    found=1
  fi
  rm -rf "$scratch" "$scratch.log" "$artifacts"
done
exit $found
