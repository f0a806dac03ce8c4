#!/usr/bin/env bash
# Installs a built tree into a staging prefix and builds a small program against it twice:
# once through find_package(vexora), once through pkg-config; then runs the installed tool.
# Usage: check.sh BUILD-DIR WORK-DIR
set -euo pipefail
build=$(realpath "$1") work=$(realpath -m "$2")
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work" && mkdir -p "$work"
prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

cmake -S "$here/consumer" -B "$work/cmake-consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-consumer" >/dev/null
"$work/cmake-consumer/consumer"

libdir=$(find "$prefix" -name vexora.pc -printf '%h\n' | head -n1)
PKG_CONFIG_PATH="$libdir" cc "$here/consumer/consumer.c" -o "$work/pkg-consumer" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs vexora) -Wl,-rpath,"$libdir/.."
"$work/pkg-consumer"

# The installed tool runs on the installed library, found through its run path, and the
# library finds the installed format modules beside itself: a bitmap through GIF and back.
tool="$prefix/bin/vexora"
env -u LD_LIBRARY_PATH "$tool" convert --help >/dev/null
env -u LD_LIBRARY_PATH "$tool" demo "$work/demo" >/dev/null
env -u LD_LIBRARY_PATH "$tool" convert "$work/demo/sample-8.bmp" "$work/sample-8.gif" >/dev/null
env -u LD_LIBRARY_PATH "$tool" info "$work/sample-8.gif" | grep -q "module       VXGIFR.DLL (.*/lib/VXGIFR.so)"
env -u LD_LIBRARY_PATH "$tool" convert "$work/sample-8.gif" "$work/sample-8-back.bmp" >/dev/null
# The manual page and the bash completion are installed, and the tool, its header and
# pkg-config tell one version.
test -f "$prefix/share/man/man1/vexora.1"
test -f "$prefix/share/bash-completion/completions/vexora"
version=$(PKG_CONFIG_PATH="$libdir" pkg-config --modversion vexora)
env -u LD_LIBRARY_PATH "$tool" --version | grep -qx "vexora $version"
echo "1 passed, 0 failed: installed copy usable through find_package and pkg-config, tool and format modules run"
