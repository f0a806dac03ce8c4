#!/usr/bin/env bash
# Runs a command on a virtual X display of its own (Xvfb on the first free number), removed
# again however the command ends:  with_xvfb.sh COMMAND [ARGS...]
set -euo pipefail
number_file=$(mktemp)
Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x1024x24 3>"$number_file" 2>/dev/null &
xvfb_pid=$!
trap 'kill "$xvfb_pid" 2>/dev/null || true; wait "$xvfb_pid" 2>/dev/null || true; rm -f "$number_file"' EXIT
for _ in $(seq 100); do
  [[ -s "$number_file" ]] && break
  kill -0 "$xvfb_pid" 2>/dev/null || { echo "Xvfb did not start" >&2; exit 1; }
  sleep 0.1
done
[[ -s "$number_file" ]] || { echo "Xvfb gave no display number" >&2; exit 1; }
export DISPLAY=":$(head -n1 "$number_file")" SDL_VIDEODRIVER=x11
"$@"
