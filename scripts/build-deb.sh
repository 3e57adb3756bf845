#!/usr/bin/env bash
# Builds the Debian package zun_VERSION_ARCH.deb from the build tree (default build/, as
# scripts/test.sh leaves it), then checks it: lintian, appstreamcli, desktop-file-validate, its
# contents, scripts/check-deb.sh (dependencies and the programs run from the package) and
# scripts/check-deb-install.sh (apt install in a throwaway Debian 12 root).
#
#   scripts/build-deb.sh [BUILD-DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
build=${1:-build}
export QT_QPA_PLATFORM=offscreen CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=true

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j"$(nproc)" --target zun zunctl zun-sim zun_package_files
rm -rf "$build/deb"
cpack --config "$build/CPackConfig.cmake" -B "$build/deb" >/dev/null
deb=$(ls "$build"/deb/zun_*.deb)
echo "== $deb"
dpkg-deb --info "$deb"
dpkg-deb --contents "$deb"

echo "== lintian"
# Errors and warnings fail.
lintian --fail-on error,warning "$deb"

echo "== AppStream and desktop entry"
appstreamcli validate --no-net "$build/package-files/com.zun.zun.metainfo.xml"
desktop-file-validate packaging/zun.desktop

echo "== the package's programs"
scripts/check-deb.sh "$deb"
if [ "${ZUN_SKIP_INSTALL_TEST:-0}" != 1 ]; then
    echo "== apt install on a clean Debian 12"
    scripts/check-deb-install.sh "$deb"
fi
echo "package: $deb"
