#!/usr/bin/env bash
# Cross-builds the codecs of the Windows format modules as static libraries:
#   scripts/build-codecs.sh TRIPLE PREFIX
#     TRIPLE   i686-w64-mingw32 or x86_64-w64-mingw32 (the toolchain file cmake/toolchain-TRIPLE.cmake)
#     PREFIX   where PREFIX/lib and PREFIX/include are written, with the stamp PREFIX/codecs.stamp
#
# The modules link libpng, libjpeg-turbo (the jpeg62 ABI), libtiff and giflib. On Linux they are
# Debian's packages; the Windows modules must decode and encode to the same bytes, so they link
# the same upstream versions built from Debian's own source packages, with Debian's patches
# applied, and zlib from Debian's MinGW package (libz-mingw-w64-dev). Nothing comes from outside
# Debian's archive.
#
# - Sources: `apt-get source --download-only` of the pinned Debian versions (apt checks them
#   against the signed index) into a cache shared by every clone,
#   ${XDG_CACHE_HOME:-$HOME/.cache}/vexora/codec-sources. When a pinned version has left the
#   archive, the newest version apt still offers with the same upstream version is taken, and the
#   script says so. The native -dev package of each codec must have the same upstream version
#   as the source built: a mismatch stops the build, since the two platforms would then differ.
# - Build: the project's MinGW toolchain files (the -posix compilers), through ccache, Release.
#   Only the libraries: no programs, tests, documentation or shared libraries. libjpeg-turbo
#   keeps its SIMD code (nasm), so both platforms run the same code paths. libtiff has its
#   built-in codecs (CCITT, PackBits, LZW, old JPEG, PixarLog and the rest), zlib and libjpeg,
#   and none of the external ones (lzma, zstd, webp, jbig, lerc, libdeflate). giflib's library
#   sources, as its Makefile lists them, are compiled directly.
# - The stamp records this script, the toolchain, the compiler, MinGW's zlib and the versions
#   pinned: when it matches and the libraries are there, a run does nothing. Otherwise PREFIX
#   is rebuilt from scratch (ccache makes that cheap).
# Any failure stops the script with the step that failed and the end of its log.
set -euo pipefail

[[ $# -eq 2 ]] || { echo "usage: $0 TRIPLE PREFIX" >&2; exit 2; }
triple=$1
prefix=$(mkdir -p "$2" && cd "$2" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
toolchain=$root/cmake/toolchain-$triple.cmake
cache=${XDG_CACHE_HOME:-$HOME/.cache}/vexora/codec-sources
work=$prefix/work
stamp=$prefix/codecs.stamp
start=$SECONDS

die() { echo "build-codecs: error: $*" >&2; exit 1; }
[[ -f "$toolchain" ]] || die "no toolchain file for '$triple' ($toolchain)"

# Source package, pinned Debian version, native -dev package of the same upstream version.
codecs=(
  "libpng1.6 1.6.39-2+deb12u5 libpng-dev"
  "libjpeg-turbo 1:2.1.5-2 libjpeg62-turbo-dev"
  "tiff 4.5.0-6+deb12u4 libtiff-dev"
  "giflib 5.2.1-2.5+deb12u1 libgif-dev"
)
libraries=(libpng.a libjpeg.a libtiff.a libgif.a)

upstream() { local v=${1#*:}; echo "${v%-*}"; }   # 1:2.1.5-2 -> 2.1.5
need() { command -v "$1" >/dev/null || die "the program '$1' is missing (Debian package '$2'; scripts/install-deps.sh windows installs it)"; }
need "$triple-gcc-posix" "gcc-mingw-w64-${triple%%-*}"
need "$triple-ar" "binutils-mingw-w64-${triple%%-*}"
need cmake cmake
need ninja ninja-build
need nasm nasm
need dpkg-source dpkg-dev
need apt-get apt
zlib_include=/usr/$triple/include zlib_library=/usr/$triple/lib/libz.a
[[ -f "$zlib_include/zlib.h" && -f "$zlib_library" ]] ||
  die "MinGW's zlib is missing ($zlib_library; Debian package libz-mingw-w64-dev)"
launcher=()
if command -v ccache >/dev/null; then
  launcher=(ccache)
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$prefix}
fi

# The native package each codec must agree with: installed, or else the one apt would install.
for entry in "${codecs[@]}"; do
  read -r source version native <<<"$entry"
  have=$(dpkg-query -W -f='${Version}' "$native" 2>/dev/null || true)
  [[ -n "$have" ]] || have=$(apt-cache policy "$native" 2>/dev/null | awk '/Candidate:/ {print $2}')
  [[ -n "$have" && "$have" != "(none)" ]] || die "cannot tell the version of the native package $native"
  [[ $(upstream "$have") == $(upstream "$version") ]] ||
    die "the native $native is $have but the Windows build pins $source $version: the two" \
      "platforms would use different codecs; pin $source to upstream $(upstream "$have") in $0"
done

stamp_header=$(
  echo "script $(sha256sum <"$0" | cut -d' ' -f1)"
  echo "toolchain $(cat "$toolchain" "$root/cmake/mingw-common.cmake" | sha256sum | cut -d' ' -f1)"
  echo "compiler $(sha256sum <"$(readlink -f "$(command -v "$triple-gcc-posix")")" | cut -d' ' -f1)"
  echo "zlib $(dpkg-query -W -f='${Version}' libz-mingw-w64-dev 2>/dev/null || sha256sum <"$zlib_library" | cut -d' ' -f1)"
  printf 'pinned %s\n' "${codecs[@]}")
if [[ -f "$stamp" ]] && [[ "$(head -n "$(wc -l <<<"$stamp_header")" "$stamp")" == "$stamp_header" ]]; then
  complete=1
  for library in "${libraries[@]}"; do [[ -f "$prefix/lib/$library" ]] || complete=0; done
  if [[ $complete -eq 1 ]]; then
    echo "codecs for $triple up to date in $prefix"
    exit 0
  fi
fi

rm -rf "$prefix/lib" "$prefix/include" "$work" "$stamp"
mkdir -p "$prefix/lib" "$prefix/include" "$work/logs" "$work/src" "$cache"

step() {  # step NAME COMMAND...: run one step with its output in a log, shown when it fails
  local name=$1 log=$work/logs/$1.log
  shift
  if ! "$@" >>"$log" 2>&1; then
    echo "build-codecs: error: step '$name' failed: $*" >&2
    echo "--- last lines of $log:" >&2
    tail -n 40 "$log" >&2
    exit 1
  fi
}

# Fetches SOURCE at VERSION into the cache (or, when the archive no longer has it, the newest
# version of the same upstream version) and prints the Debian version fetched. Clones share the
# cache, so downloads hold its lock; a marker written after apt finished tells a complete
# download from one cut short.
fetch() {
  local source=$1 version=$2 candidate
  local candidates=("$version")
  while read -r candidate; do
    [[ "$candidate" != "$version" && $(upstream "$candidate") == $(upstream "$version") ]] &&
      candidates+=("$candidate")
  done < <(apt-cache showsrc --only-source "$source" 2>/dev/null | awk '/^Version:/ {print $2}' |
    sort -u | sort -r -V)
  local apt_options=()
  [[ $(id -u) -ne 0 ]] || apt_options=(-o APT::Sandbox::User=root)
  for candidate in "${candidates[@]}"; do
    local marker="$cache/${source}_${candidate#*:}.fetched"
    if [[ -f "$marker" ]] ||
      (cd "$cache" && flock .lock sh -c 'apt-get source -qq --download-only "$@" && touch "$0"' \
        "$marker" "${apt_options[@]}" "$source=$candidate" >>"$work/logs/fetch-$source.log" 2>&1); then
      [[ "$candidate" == "$version" ]] ||
        echo "build-codecs: warning: $source $version is not in the archive; building $candidate" >&2
      echo "$candidate"
      return
    fi
  done
  echo "build-codecs: error: cannot download the source of $source $version (tried: ${candidates[*]})." >&2
  echo "Is there a deb-src entry for apt (scripts/install-deps.sh windows writes one)? apt said:" >&2
  tail -n 10 "$work/logs/fetch-$source.log" >&2
  exit 1
}

built=()
for entry in "${codecs[@]}"; do
  read -r source version _ <<<"$entry"
  fetched=$(fetch "$source" "$version")
  step "unpack-$source" dpkg-source --no-copy -x "$cache/${source}_${fetched#*:}.dsc" "$work/src/$source"
  built+=("$source $fetched")
done

cmake_build() {  # cmake_build NAME TARGET CMAKE-ARGS...: configure and build one target
  local name=$1 target=$2
  shift 2
  step "configure-$name" cmake -S "$work/src/$name" -B "$work/build/$name" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
    -DCMAKE_INSTALL_PREFIX="$prefix" \
    ${launcher:+-DCMAKE_C_COMPILER_LAUNCHER=ccache} "$@"
  step "build-$name" cmake --build "$work/build/$name" -j"$(nproc)" --target "$target"
}
install_files() {  # install_files DIR FILE...: copy files, each of which must exist
  local dir=$1 file
  shift
  for file in "$@"; do
    [[ -f "$file" ]] || die "the build did not make $file"
    cp "$file" "$dir/"
  done
}

echo "building the codecs for $triple in $prefix"
cmake_build libjpeg-turbo jpeg-static -DENABLE_SHARED=OFF -DENABLE_STATIC=ON -DWITH_TURBOJPEG=OFF \
  -DWITH_JAVA=OFF -DWITH_SIMD=ON -DREQUIRE_SIMD=ON -DCMAKE_ASM_NASM_COMPILER=nasm
jpeg_src=$work/src/libjpeg-turbo jpeg_build=$work/build/libjpeg-turbo
install_files "$prefix/include" "$jpeg_src/jpeglib.h" "$jpeg_src/jmorecfg.h" "$jpeg_src/jerror.h" \
  "$jpeg_build/jconfig.h"
install_files "$prefix/lib" "$jpeg_build/libjpeg.a"

cmake_build libpng1.6 png_static -DPNG_SHARED=OFF -DPNG_STATIC=ON -DPNG_TESTS=OFF \
  -DPNG_EXECUTABLES=OFF -DZLIB_INCLUDE_DIR="$zlib_include" -DZLIB_LIBRARY="$zlib_library"
png_src=$work/src/libpng1.6 png_build=$work/build/libpng1.6
install_files "$prefix/include" "$png_src/png.h" "$png_src/pngconf.h" "$png_build/pnglibconf.h"
install_files "$prefix/lib" "$png_build/libpng16.a"
mv "$prefix/lib/libpng16.a" "$prefix/lib/libpng.a"

cmake_build tiff tiff -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
  -Dtiff-opengl=OFF -Dsphinx=OFF -Dcxx=OFF -Dld-version-script=OFF \
  -Dzlib=ON -Djpeg=ON -Dold-jpeg=ON -Djpeg12=OFF -Dccitt=ON -Dpixarlog=ON \
  -Dlibdeflate=OFF -Dlzma=OFF -Dzstd=OFF -Dwebp=OFF -Djbig=OFF -Dlerc=OFF \
  -DZLIB_INCLUDE_DIR="$zlib_include" -DZLIB_LIBRARY="$zlib_library" \
  -DJPEG_INCLUDE_DIR="$prefix/include" -DJPEG_LIBRARY="$prefix/lib/libjpeg.a"
tiff_src=$work/src/tiff/libtiff tiff_build=$work/build/tiff/libtiff
install_files "$prefix/include" "$tiff_src/tiff.h" "$tiff_src/tiffio.h" "$tiff_src/tiffvers.h" \
  "$tiff_build/tiffconf.h"
install_files "$prefix/lib" "$tiff_build/libtiff.a"

# giflib: the library's sources as its (patched) Makefile lists them in SOURCES.
gif_src=$work/src/giflib
mapfile -t gif_sources < <(awk '/^SOURCES[[:space:]]*=/ {collect = 1; sub(/^[^=]*=/, "")}
  collect { line = $0; more = sub(/\\[[:space:]]*$/, "", line); n = split(line, w); for (i = 1; i <= n; i++) print w[i]; if (!more) collect = 0 }' \
  "$gif_src/Makefile")
[[ ${#gif_sources[@]} -gt 0 ]] || die "no SOURCES list in $gif_src/Makefile"
mkdir -p "$work/build/giflib"
gif_objects=()
for source in "${gif_sources[@]}"; do
  object=$work/build/giflib/${source%.c}.o
  step build-giflib "${launcher[@]}" "$triple-gcc-posix" -std=gnu99 -O2 -Wall -Wno-format-truncation \
    -c "$gif_src/$source" -o "$object"
  gif_objects+=("$object")
done
step build-giflib "$triple-ar" rcs "$prefix/lib/libgif.a" "${gif_objects[@]}"
install_files "$prefix/include" "$gif_src/gif_lib.h"

# What was built must be the upstream versions pinned (a header from elsewhere would show here).
header_version() {  # header_version FILE EXPRESSION: a version read from a header by sed
  sed -n "$2" "$prefix/include/$1" | head -n1
}
gif_version=$(awk '/define GIFLIB_(MAJOR|MINOR|RELEASE)/ {v = v (v == "" ? "" : ".") $3} END {print v}' \
  "$prefix/include/gif_lib.h")
for check in "libpng1.6 $(header_version png.h 's/^#define PNG_LIBPNG_VER_STRING "\(.*\)"/\1/p')" \
  "libjpeg-turbo $(header_version jconfig.h 's/^#define LIBJPEG_TURBO_VERSION  *\([0-9.]*\).*/\1/p')" \
  "tiff $(header_version tiffvers.h 's/^#define TIFFLIB_MAJOR_VERSION  *\([0-9]*\).*/\1/p').$(header_version tiffvers.h 's/^#define TIFFLIB_MINOR_VERSION  *\([0-9]*\).*/\1/p').$(header_version tiffvers.h 's/^#define TIFFLIB_MICRO_VERSION  *\([0-9]*\).*/\1/p')" \
  "giflib $gif_version"; do
  read -r source got <<<"$check"
  for entry in "${codecs[@]}"; do
    read -r name version _ <<<"$entry"
    [[ "$name" != "$source" || "$got" == "$(upstream "$version")" ]] ||
      die "$source built as version '$got', expected $(upstream "$version")"
  done
done

rm -rf "$work"
{ echo "$stamp_header"; printf 'built %s\n' "${built[@]}"; } >"$stamp"
echo "codecs for $triple built in $((SECONDS - start)) s: ${built[*]}"
