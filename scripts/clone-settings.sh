#!/bin/sh
# Copies both stored profiles of one charger onto another and proves the copy with verify.
#
#   scripts/clone-settings.sh FROM-PORT TO-PORT [SETTINGS-FILE]
#
# FROM-PORT and TO-PORT are device paths (/dev/ttyUSB0) or ComN as "zunctl ports" lists them.
# The settings are kept in SETTINGS-FILE (default: settings-<date>-<time>.json). ZUNCTL names
# the zunctl to run (default: zunctl from PATH). Exits with zunctl's code of the step that
# failed: 1 no acknowledgement or answer, 2 a file or value refused, 3 no charger, 4 the target
# holds other settings after the write.
set -u

zunctl=${ZUNCTL:-zunctl}
if [ $# -lt 2 ] || [ $# -gt 3 ]; then
    echo "usage: $0 FROM-PORT TO-PORT [SETTINGS-FILE]" >&2
    exit 2
fi
from=$1
to=$2
file=${3:-settings-$(date +%y%m%d-%H%M%S).json}

step() {
    what=$1
    shift
    "$zunctl" "$@"
    code=$?
    if [ "$code" -ne 0 ]; then
        echo "$0: $what failed (zunctl exit code $code)" >&2
        exit "$code"
    fi
}

step "reading the settings from $from" --port "$from" settings -o "$file"
step "writing $file to $to" --port "$to" write "$file"
step "verifying $to against $file" --port "$to" verify "$file"
echo "$to now holds the settings of $from (kept in $file)"
