#!/bin/sh
# Installs every Debian package that building, testing and benchmarking Nemu needs.
# Skips what is already present; runs as root or through sudo; never asks.
set -eu

PACKAGES="
build-essential cmake ninja-build pkg-config
libgtest-dev libgmock-dev libbenchmark-dev
libpng-dev libjpeg62-turbo-dev libtiff-dev zlib1g-dev
libx11-dev libxi-dev libxext-dev
libfreetype-dev libfontconfig-dev fonts-dejavu-core
libavcodec-dev libavformat-dev libavutil-dev libswscale-dev
liblua5.4-dev
libmypaint-dev libpixman-1-dev
xvfb xauth xdotool x11-utils imagemagick
clang libclang-rt-14-dev
"

missing=""
for p in $PACKAGES; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing="$missing $p"
    fi
done

if [ -z "$missing" ]; then
    exit 0
fi

echo "install-deps: installing$missing"
if [ "$(id -u)" -eq 0 ]; then
    SUDO=""
elif command -v sudo >/dev/null 2>&1; then
    SUDO="sudo -n"
else
    echo "install-deps: need root or sudo to install:$missing" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
# shellcheck disable=SC2086
$SUDO apt-get install -y -qq --no-install-recommends $missing
