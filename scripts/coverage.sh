#!/usr/bin/env bash
# Which lines of each reader the fuzz corpora reach: the replay program of every fuzz target,
# built with clang's source coverage in build/coverage, runs its corpus (fuzz/corpus/TARGET),
# and llvm-cov reports the line coverage of the sources that target exists to exercise.
#   scripts/coverage.sh [TARGET...]     default: every target; the table goes to standard output
#   COVERAGE_HTML=DIR scripts/coverage.sh TARGET   also writes llvm-cov's annotated sources to DIR
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export CCACHE_BASEDIR="$root"
"$root/scripts/install-deps.sh" native
build="$root/build/coverage"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang \
  -DCMAKE_CXX_COMPILER=clang++ -DVEXORA_COVERAGE=ON -DVEXORA_BUILD_TOOL=OFF -DVEXORA_BUILD_BENCH=OFF >/dev/null

# The sources each target is there to exercise (paths from the tree's root; a folder means
# every source in it).
declare -A sources=(
  [read_dib]="src/core/bmp_file.cpp src/core/file_io.cpp"
  [bmp_tolerant]="src/formats/bmp_tolerant.cpp"
  [expand_rle]="src/formats/rle.cpp"
  [dib_exports]="src/geometry src/tone src/dither"
  [clipboard_read]="src/formats/clipboard_file.cpp"
  [emf_play]="src/platform/posix/gdi/emf_player.cpp src/platform/posix/gdi/enh_metafile.cpp"
  [wmf_play]="src/platform/posix/gdi/wmf_player.cpp src/platform/posix/gdi/wmf_metafile.cpp"
  [text_layout]="src/platform/posix/gdi/text.cpp src/formats/text_file.cpp"
  [image_format]="src/formats/image_format.cpp"
  [fax_set]="src/formats/fax_set.cpp src/platform/posix/profile.cpp"
  [vxpngr]="modules/png/vxpngr.cpp"
  [vxjpgr]="modules/jpeg/vxjpgr.cpp"
  [vxtifr]="modules/tiff/vxtifr.cpp modules/tiff/tiff_memory.cpp"
  [vxgifr]="modules/gif/vxgifr.cpp"
  [vxpcxr]="modules/pcx/vxpcxr.cpp"
  [vxtgar]="modules/tga/vxtgar.cpp"
)

targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
  for source in "$root"/fuzz/*_fuzz.cpp; do targets+=("$(basename "$source" _fuzz.cpp)"); done
fi
cmake --build "$build" --target "${targets[@]/%/_fuzz_replay}" >/dev/null

profiles="$build/profiles"
mkdir -p "$profiles"
printf '%-16s %6s %8s  %s\n' target inputs lines sources
for name in "${targets[@]}"; do
  [[ -n "${sources[$name]:-}" ]] || { echo "$name: no sources named for it in $0" >&2; exit 2; }
  program="$build/fuzz/${name}_fuzz_replay"
  rm -f "$profiles/$name".*
  LLVM_PROFILE_FILE="$profiles/$name.profraw" "$program" "$root/fuzz/corpus/$name" >/dev/null 2>&1
  llvm-profdata-14 merge -sparse "$profiles/$name.profraw" -o "$profiles/$name.profdata"
  # llvm-cov names sources as the build saw them (relative to the build directory, through
  # CCACHE_BASEDIR), so they are normalised before they are matched against the list.
  objects=("$program")
  # A target that goes through the shipped library reaches its code in libvexora.so.
  [[ "$name" == dib_exports ]] && objects+=(-object "$build/src/libvexora.so")
  total=$(llvm-cov-14 export -summary-only "${objects[@]}" -instr-profile="$profiles/$name.profdata" |
    python3 -c '
import json, os, sys
root, wanted = sys.argv[1], [os.path.join(sys.argv[1], entry) for entry in sys.argv[2:]]
covered = count = 0
for entry in json.load(sys.stdin)["data"][0]["files"]:
    path = os.path.normpath(entry["filename"])
    if any(path == w or path.startswith(w + os.sep) for w in wanted):
        covered += entry["summary"]["lines"]["covered"]
        count += entry["summary"]["lines"]["count"]
print(f"{100.0 * covered / count:.1f}%" if count else "none")' "$root" ${sources[$name]})
  inputs=$(find "$root/fuzz/corpus/$name" -type f | wc -l)
  printf '%-16s %6s %8s  %s\n' "$name" "$inputs" "$total" "${sources[$name]}"
  if [[ -n "${COVERAGE_HTML:-}" ]]; then
    llvm-cov-14 show "${objects[@]}" -instr-profile="$profiles/$name.profdata" -format=html \
      -output-dir="$COVERAGE_HTML/$name"
  fi
done
