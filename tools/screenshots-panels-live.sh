#!/bin/sh
# The panels as a user opens them: Nemu runs under a virtual X server and the panels are
# opened through its command language, one command after another, with a screenshot after
# each: tools/screenshots-panels-live.sh [build folder] [output folder]
set -e
BUILD=${1:-build/release}
OUT=${2:-/tmp/nemu-panels-live}
DISPLAY_NUMBER=:57
mkdir -p "$OUT"
Xvfb $DISPLAY_NUMBER -screen 0 1280x1024x24 >/dev/null 2>&1 &
XVFB=$!
sleep 1
export DISPLAY=$DISPLAY_NUMBER
export XDG_CONFIG_HOME=$(mktemp -d) XDG_RUNTIME_DIR=$(mktemp -d)
"$BUILD/nemu" &
NEMU=$!
trap 'kill $NEMU $XVFB 2>/dev/null' EXIT
sleep 3
step() {
    "$BUILD/nemu-remote" "$2" >/dev/null
    sleep 1
    import -window root "$OUT/$1.png"
}
step 1-tools '[om_runcommand OpenTools]'
step 2-airbrush '[om_runcommand ToolAirBrush]'
step 3-pressure '[om_runcommand OpenPressure]'
step 4-new '[om_runcommand NewProject]'
step 5-size '[om_runcommand OpenProjectSize]'
echo "screenshots in $OUT"
