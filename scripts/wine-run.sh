#!/usr/bin/env bash
# Runs a Windows program under Wine, headless, in the given prefix:
#   wine-run.sh PREFIX PROGRAM.exe [ARGS...]
# The prefix is made once per test run (scripts/test.sh runs wineboot before the tests).
set -euo pipefail
export WINEPREFIX=$1; shift
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY
exec wine "$@"
