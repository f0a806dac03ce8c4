#!/usr/bin/env bash
# Runs a Windows program under Wine in the given prefix:
#   wine-run.sh PREFIX PROGRAM.exe [ARGS...]
# scripts/test.sh makes the prefix and one virtual X display per run and passes the display in
# VEXORA_WINE_DISPLAY, so that programs which create windows find one. Run by hand without it
# (ctest in build/windows-x64), the program gets a virtual display of its own from xvfb-run,
# and the Wine server is waited for before that display goes.
set -euo pipefail
export WINEPREFIX=$1; shift
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset WAYLAND_DISPLAY
if [[ -n "${VEXORA_WINE_DISPLAY:-}" ]]; then
  export DISPLAY=$VEXORA_WINE_DISPLAY
  exec wine "$@"
fi
unset DISPLAY
exec xvfb-run -a bash -c 'wine "$@"; status=$?; wineserver --wait; exit $status' wine-run "$@"
