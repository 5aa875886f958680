#!/bin/sh
# Runs a command on an X server of its own with a window manager and two monitors: "Control" with
# 1280 × 800 pixels and, to its right, "Sala" with 1920 × 1080.
#
#   two_monitors.sh COMMAND [ARGUMENT...]
set -eu

if [ "${NIMBARA_TWO_MONITORS:-}" = "" ]; then
    for program in xvfb-run xrandr openbox xprop; do
        command -v "$program" >/dev/null || { echo "missing: $program" >&2; exit 127; }
    done
    NIMBARA_TWO_MONITORS=1 exec xvfb-run -a -s "-screen 0 3200x1080x24 -noreset" "$0" "$@"
fi

xrandr --setmonitor Control 1280/338x800/211+0+0 screen >/dev/null
xrandr --setmonitor Sala 1920/508x1080/286+1280+0 none >/dev/null
openbox >/dev/null 2>&1 &
manager=$!
trap 'kill "$manager" 2>/dev/null || true; wait' EXIT
tries=0
until xprop -root _NET_SUPPORTING_WM_CHECK | grep -q '#'; do
    tries=$((tries + 1))
    if [ "$tries" -gt 150 ] || ! kill -0 "$manager" 2>/dev/null; then
        echo "the window manager did not start" >&2
        exit 126
    fi
    sleep 0.1
done
status=0
"$@" || status=$?
exit "$status"
