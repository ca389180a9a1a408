#!/bin/sh
# Screenshots of the file requester with its previews, and of the zoom window over a
# painted page, at interface scales 1 and 2. Runs the release binary on a virtual X
# server, drives it through the remote-command door and xdotool, and writes
#   requester-scale1.png requester-scale2.png zoom-scale1.png zoom-scale2.png
# into the folder given (default: shots).
#
# Needs: make build, Xvfb, xdotool, ImageMagick's import.
set -eu

here=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-shots}
mkdir -p "$out"
out=$(cd "$out" && pwd)
nemu="$here/build/release/nemu"
remote="$here/build/release/nemu-remote"
[ -x "$nemu" ] && [ -x "$remote" ] || { echo "build first: make build" >&2; exit 1; }

work=$(mktemp -d)
display=:$((60 + $$ % 30))
Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
nemu_pid=
cleanup() {
    [ -n "$nemu_pid" ] && kill "$nemu_pid" 2>/dev/null || true
    kill "$xvfb" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT INT TERM
sleep 1

# A folder of pictures to browse: coloured discs and bands painted by Nemu itself.
pictures="$work/pictures"
mkdir -p "$pictures/holidays" "$pictures/sketches"
i=0
for colour in "255 80 40" "40 160 255" "250 220 60" "90 200 120" "200 90 220" "255 255 255" "30 30 30" "240 140 170"; do
    i=$((i + 1))
    HOME="$work/batch" "$nemu" --headless --size 320x240 \
        -c "[om_savemode png] [om_clear] [om_setapen $colour] [om_pen 40] [om_line 20 $((40 + i * 15)) 300 $((200 - i * 10)) 0] [om_dot 160 120 0] [om_saveimage \"$pictures/picture$i.png\"]" \
        >/dev/null 2>&1 || true
done
printf 'not a picture' > "$pictures/notes.txt"

run_nemu() { # scale
    HOME="$work/home$1" NEMU_SCALE=$1 DISPLAY=$display "$nemu" --size 800x600 >/dev/null 2>&1 &
    nemu_pid=$!
    for _ in 1 2 3 4 5 6 7 8 9 10; do
        sleep 0.5
        HOME="$work/home$1" "$remote" om_nop >/dev/null 2>&1 && return 0
    done
    echo "nemu did not answer" >&2
    return 1
}

stop_nemu() {
    HOME="$work/home$1" "$remote" --execute om_quit >/dev/null 2>&1 || true
    sleep 1
    kill "$nemu_pid" 2>/dev/null || true
    wait "$nemu_pid" 2>/dev/null || true
    nemu_pid=
}

for scale in 1 2; do
    run_nemu $scale
    r() { HOME="$work/home$scale" "$remote" "$@"; }

    # The requester: it stays open (the remote call waits) while the previews fill in.
    r "om_reqfile \"Open picture\" \"*.png\" \"$pictures\"" >/dev/null 2>&1 &
    asking=$!
    sleep 3
    DISPLAY=$display import -window root "$out/requester-scale$scale.png"
    DISPLAY=$display xdotool key Escape
    wait "$asking" 2>/dev/null || true

    # A painted page under the zoom.
    r "[om_setapen 230 60 40] [om_pen 14] [om_line 40 60 700 500 0] [om_setapen 40 120 230] [om_line 60 520 720 80 0] [om_setapen 250 210 40] [om_pen 30] [om_dot 400 300 0]" >/dev/null
    r "om_zoom 4 250 200" >/dev/null
    sleep 1
    DISPLAY=$display import -window root "$out/zoom-scale$scale.png"
    stop_nemu $scale
done
echo "screenshots in $out"
