#!/usr/bin/env bash
# Runs one test on a virtual display of its own with openbox managing the windows,
# because moves, stacking and focus only behave for real under a window manager.
# Usage: wm-run.sh <test program> [arguments]
set -euo pipefail
exec xvfb-run -a -s '-screen 0 1280x800x24' bash -c '
ready=$(mktemp -u)
openbox --sm-disable --startup "touch $ready" >/dev/null 2>&1 &
wm=$!
for _ in $(seq 100); do [ -e "$ready" ] && break; sleep 0.1; done
rm -f "$ready"
rc=0
"$@" || rc=$?
kill "$wm" 2>/dev/null || true
wait "$wm" 2>/dev/null || true
exit "$rc"' wm-run "$@"
