#!/usr/bin/env bash
# Installs the Debian packages a lane needs, when they are missing.
#   scripts/install-deps.sh native    compilers, CMake, GoogleTest, Google Benchmark
#   scripts/install-deps.sh windows   the MinGW-w64 cross compilers and Wine as well
set -euo pipefail

native=(cmake ninja-build g++ ccache pkg-config python3 googletest libgtest-dev libbenchmark-dev)
windows=(g++-mingw-w64-i686 g++-mingw-w64-x86-64 binutils-mingw-w64-i686 binutils-mingw-w64-x86-64 wine64)

wanted=("${native[@]}")
case "${1:-native}" in
  native) ;;
  windows|all) wanted+=("${windows[@]}") ;;
  *) echo "usage: $0 [native|windows|all]" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "need root (or sudo) to install: ${missing[*]}" >&2; exit 1; }
  sudo=sudo
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
