#!/bin/sh
# Screenshots of the panels of the pens and the project, one picture a panel, under a
# virtual X server: tools/screenshots-panels.sh [build folder] [output folder]
set -e
BUILD=${1:-build/release}
OUT=${2:-/tmp/nemu-panels}
DISPLAY_NUMBER=:58
mkdir -p "$OUT"
Xvfb $DISPLAY_NUMBER -screen 0 1280x1024x24 >/dev/null 2>&1 &
XVFB=$!
trap 'kill $XVFB 2>/dev/null' EXIT
sleep 1
export DISPLAY=$DISPLAY_NUMBER
# A settings folder of its own, so that no panel opens from the user's last session.
export XDG_CONFIG_HOME=$(mktemp -d)
for panel in tools pens pensround pensoil pressure new size grid clock; do
    "$BUILD/panels_demo" $panel &
    DEMO=$!
    sleep 3
    import -window root "$OUT/$panel.png"
    kill $DEMO 2>/dev/null || true
    wait $DEMO 2>/dev/null || true
done
echo "screenshots in $OUT"
