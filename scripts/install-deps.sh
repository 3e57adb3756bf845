#!/usr/bin/env bash
# Installs the Debian packages ZUN needs to build, test and run. Runs `apt-get update` once,
# and only when something is missing.
set -euo pipefail

packages=(
    cmake ninja-build g++ pkg-config ccache
    qt6-base-dev qt6-serialport-dev libgl-dev
    clang libclang-rt-14-dev clang-format
    xvfb xauth fonts-dejavu-core
    dpkg-dev file help2man lintian appstream desktop-file-utils man-db mmdebstrap
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "install-deps: everything is installed"
    exit 0
fi

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "install-deps: installing ${missing[*]}"
$sudo apt-get update
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
