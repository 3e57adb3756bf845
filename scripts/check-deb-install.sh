#!/usr/bin/env bash
# Installs a zun .deb as a user would, `apt install ./zun_*.deb`, on a clean Debian 12: a
# throwaway root made by mmdebstrap (essential packages and apt only). Prints what apt pulled
# in without recommendations (a desktop's apt adds libqt6gui6's: the Qt platform plugins and
# GTK theme), then runs zun, zunctl and zun-sim from PATH inside it. Needs root and Debian's mirror and
# takes a minute or two (scripts/build-deb.sh runs it unless ZUN_SKIP_INSTALL_TEST=1).
#
#   scripts/check-deb-install.sh zun_VERSION_ARCH.deb
set -euo pipefail
deb=$(realpath "$1")
name=$(basename "$deb")
command -v mmdebstrap >/dev/null || {
    echo "check-deb-install: needs mmdebstrap (apt-get install mmdebstrap)" >&2
    exit 2
}
# The hooks run inside the new root with /proc and /dev mounted; a target of /dev/null throws
# the root away afterwards.
mmdebstrap --variant=apt --quiet \
    --customize-hook="copy-in $deb /tmp" \
    --customize-hook='chroot "$1" dpkg-query -W -f "\${Package}\n" | sort >"$1/tmp/before"' \
    --customize-hook="chroot \"\$1\" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends /tmp/$name >\"\$1/tmp/apt.log\" 2>&1 || { cat \"\$1/tmp/apt.log\"; exit 1; }" \
    --customize-hook='chroot "$1" dpkg-query -W -f "\${Package}\n" | sort >"$1/tmp/after"' \
    --customize-hook='echo "== apt pulled in:"; comm -13 "$1/tmp/before" "$1/tmp/after" | tr "\n" " "; echo' \
    --customize-hook='echo "== from PATH:"; chroot "$1" env QT_QPA_PLATFORM=offscreen sh -ec "
        for p in zun zunctl zun-sim; do command -v \$p; \$p --version; done
        zun-sim --no-pacing --link /tmp/charger >/dev/null & sim=\$!
        sleep 1; zunctl --port /tmp/charger identify; kill \$sim
        test -f /usr/share/man/man1/zunctl.1.gz
        test -f /usr/share/bash-completion/completions/zunctl
        timeout 5 zun --demo >/dev/null 2>&1 || test \$? -eq 124"' \
    bookworm /dev/null
echo "check-deb-install: $name installs and runs on a clean Debian 12"
