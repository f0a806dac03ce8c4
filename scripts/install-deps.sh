#!/usr/bin/env bash
# Installs the Debian packages the test lanes need, when they are missing, then checks that
# every program a lane runs is really there.
#   scripts/install-deps.sh native    compilers, CMake, GoogleTest, Google Benchmark, and FreeType,
#                                     fontconfig and the DejaVu fonts the Linux GDI draws text with,
#                                     SDL2 for `vexora view` and Xvfb for its test, cairo and
#                                     libcups for the printers, poppler's pdftoppm for the print test,
#                                     the codecs of the format modules, and clang with its libFuzzer
#                                     runtime for the sanitizer lane, and LLVM's coverage tools for
#                                     scripts/coverage.sh
#   scripts/install-deps.sh windows   the MinGW-w64 cross compilers, Wine and a virtual display too,
#                                     and what scripts/build-codecs.sh needs to cross-build the
#                                     codecs of the format modules from Debian's source packages:
#                                     dpkg-source, nasm, MinGW's zlib, and a deb-src entry for apt
#   scripts/install-deps.sh bench     what native needs, and the peer libraries the side-by-side
#                                     benchmark programs in bench/ compare the library with
#                                     (OpenCV, libvips, Leptonica and FreeImage)
#   scripts/install-deps.sh all       the same as windows
# A package can be installed while its program is gone (removed by hand, a partial install):
# the check after the install names the missing program and its package, and fails.
set -euo pipefail

# program:package pairs; a package that installs no program of its own is named alone.
native=(cmake:cmake ninja:ninja-build g++:g++ cc:gcc ccache:ccache pkg-config:pkg-config
  python3:python3 googletest libgtest-dev libbenchmark-dev
  libfreetype-dev libfontconfig-dev fc-match:fontconfig fonts-dejavu-core fonts-dejavu-extra
  libsdl2-dev Xvfb:xvfb libcairo2-dev libcups2-dev pdftoppm:poppler-utils
  libpng-dev libjpeg62-turbo-dev libtiff-dev libgif-dev
  clang:clang clang++:clang libclang-rt-14-dev llvm-cov-14:llvm-14 llvm-profdata-14:llvm-14)
# wine is the launcher CMake and the tests call; wine64 holds the 64-bit loader it starts,
# outside PATH.
windows=(i686-w64-mingw32-g++-posix:g++-mingw-w64-i686 x86_64-w64-mingw32-g++-posix:g++-mingw-w64-x86-64
  i686-w64-mingw32-gcc-posix:gcc-mingw-w64-i686 x86_64-w64-mingw32-gcc-posix:gcc-mingw-w64-x86-64
  i686-w64-mingw32-objdump:binutils-mingw-w64-i686 x86_64-w64-mingw32-objdump:binutils-mingw-w64-x86-64
  x86_64-w64-mingw32-windres:binutils-mingw-w64-x86-64
  wine:wine wineboot:wine wineserver:wine /usr/lib/wine/wine64:wine64 Xvfb:xvfb xvfb-run:xvfb xauth:xauth
  dpkg-source:dpkg-dev nasm:nasm libz-mingw-w64-dev)
# The peers of the benchmark programs: packages only, found by pkg-config at configure time.
bench=(libopencv-dev libvips-dev libleptonica-dev libfreeimage-dev)

wanted=("${native[@]}")
case "${1:-native}" in
  native) ;;
  windows|all) wanted+=("${windows[@]}") ;;
  bench) wanted+=("${bench[@]}") ;;
  *) echo "usage: $0 [native|windows|bench|all]" >&2; exit 2 ;;
esac

sudo=""
as_root() {  # as_root COMMAND...: run as root, through sudo when not root already
  if [[ $(id -u) -ne 0 && -z "$sudo" ]]; then
    command -v sudo >/dev/null || { echo "need root (or sudo) to run: $*" >&2; exit 1; }
    sudo=sudo
  fi
  $sudo "$@"
}

# The Windows codecs are built from Debian's source packages, which apt fetches only through a
# deb-src entry. One is written for this release when apt has none, and the source index is
# fetched when it is not there yet.
source_index_updated=0
if [[ "${1:-native}" == windows || "${1:-native}" == all ]]; then
  if ! grep -qrs --include='*.list' --include='*.sources' --include=sources.list -E \
      '^[[:space:]]*(deb-src[[:space:]]|Types:.*deb-src)' /etc/apt/sources.list /etc/apt/sources.list.d; then
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    [[ -n "$codename" ]] || { echo "cannot tell the Debian release from /etc/os-release" >&2; exit 1; }
    echo "Adding the deb-src entry /etc/apt/sources.list.d/vexora-src.sources ($codename)"
    printf '%s\n' "Types: deb-src" "URIs: http://deb.debian.org/debian" \
      "Suites: $codename $codename-updates" "Components: main" \
      "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg" "" \
      "Types: deb-src" "URIs: http://deb.debian.org/debian-security" \
      "Suites: $codename-security" "Components: main" \
      "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg" |
      as_root tee /etc/apt/sources.list.d/vexora-src.sources >/dev/null
  fi
  if ! apt-cache showsrc --only-source giflib 2>/dev/null | grep -q '^Package:'; then
    as_root apt-get update -qq
    source_index_updated=1
  fi
fi

missing=()
for entry in "${wanted[@]}"; do
  package=${entry#*:}
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  if [[ "$status" != "install ok installed" && " ${missing[*]} " != *" $package "* ]]; then
    missing+=("$package")
  fi
done

if [[ ${#missing[@]} -gt 0 ]]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  [[ $source_index_updated -eq 1 ]] || as_root apt-get update -qq
  as_root apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

absent=0
for entry in "${wanted[@]}"; do
  [[ "$entry" == *:* ]] || continue
  program=${entry%%:*} package=${entry#*:}
  if ! command -v "$program" >/dev/null; then
    echo "error: the program '$program' is missing (Debian package '$package'; reinstall it with" \
      "'apt-get install --reinstall $package')" >&2
    absent=1
  fi
done
exit $absent
