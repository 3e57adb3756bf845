#!/usr/bin/env bash
# Builds ZUN and starts it against its built-in virtual charger.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)" --target zun zunctl zun-sim
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "demo: no display found; running on a virtual X server (xvfb-run)" >&2
    exec xvfb-run -a -s "-screen 0 1280x900x24" build/src/app/zun --demo "$@"
fi
exec build/src/app/zun --demo "$@"
