#!/bin/sh
# Screenshots of the interface toolkit under a virtual X server, at scale 1 and 2:
#   alert-N.png   an alert from the command language (om_warn)
#   popup-N.png   a popup menu with its submenu open, ticks, keys, a disabled row
#   panel-N.png   a panel with every kind of gadget, its cycle's choices open
#   ask-N.png     a yes-or-no question
#   progress-N.png  a progress box under way
# Usage: tools/screenshots-toolkit.sh [BUILD_DIR] [OUT_DIR]   (defaults build/release, screenshots)
# Needs Xvfb, xdotool and ImageMagick's import; the build needs `make build` first.
set -eu
BUILD=${1:-build/release}
OUT=${2:-screenshots}
mkdir -p "$OUT"
SCREEN=:57
Xvfb "$SCREEN" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
XVFB=$!
WORK=$(mktemp -d)
trap 'kill $XVFB 2>/dev/null; rm -rf "$WORK"' EXIT
export DISPLAY="$SCREEN" XDG_CONFIG_HOME="$WORK/config" XDG_CACHE_HOME="$WORK/cache" XDG_RUNTIME_DIR="$WORK"
sleep 1

shoot() { # name: waits for the program to draw, then takes the whole screen
    sleep "${2:-2}"
    import -window root "$OUT/$1"
    echo "$OUT/$1"
}

for scale in 1 2; do
    export NEMU_SCALE=$scale
    xdotool mousemove 640 512

    "$BUILD/nemu" -c 'om_warn The picture could not be read.\nIts header says 0 by 0 pixels.' >/dev/null 2>&1 &
    pid=$!
    shoot "alert-$scale.png" 3
    xdotool key Return
    wait $pid || true

    "$BUILD/toolkit_demo" popup >/dev/null 2>&1 &
    pid=$!
    sleep 2
    xdotool mousemove 500 400            # the menu opens at the pointer
    sleep 1
    xdotool mousemove 540 $((400 + 39 * scale)) # over "Brush": its submenu opens
    sleep 1
    xdotool mousemove 560 $((400 + 39 * scale))
    shoot "popup-$scale.png" 1
    xdotool key Escape Escape
    wait $pid || true

    "$BUILD/toolkit_demo" panel >/dev/null 2>&1 &
    pid=$!
    sleep 3
    # The panel is centred; its cycle row lies 78 units down and 115 across from its corner.
    xdotool mousemove $((640 - 109 * scale + 115 * scale)) $((512 - 101 * scale + 78 * scale)) click 1
    shoot "panel-$scale.png" 1
    xdotool key Escape
    kill $pid 2>/dev/null || true
    wait $pid 2>/dev/null || true

    "$BUILD/toolkit_demo" progress >/dev/null 2>&1 &
    pid=$!
    shoot "progress-$scale.png" 5
    xdotool key Escape
    wait $pid || true

    "$BUILD/toolkit_demo" ask >/dev/null 2>&1 &
    pid=$!
    shoot "ask-$scale.png" 3
    xdotool key Escape
    sleep 1
    xdotool key Escape
    wait $pid || true
done
