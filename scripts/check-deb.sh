#!/usr/bin/env bash
# Checks a built zun .deb without installing it on this machine:
#  - its Depends are exactly the packages that hold the libraries its programs load;
#  - zun, zunctl and zun-sim run from the unpacked package through PATH: --version gives the
#    package's version, zunctl identifies the package's zun-sim, zun starts its demo window,
#    the manual pages render and the completion answers.
#
#   scripts/check-deb.sh zun_VERSION_ARCH.deb
set -euo pipefail
deb=$(realpath "$1")
root=$(mktemp -d)
sim_pid=
cleanup() {
    [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null || true
    rm -rf "$root"
}
trap cleanup EXIT
fail() { echo "check-deb: $*" >&2; exit 1; }

dpkg-deb -x "$deb" "$root"
version=$(dpkg-deb -f "$deb" Version)

# Depends against what the binaries need. Every library's package must be listed, and nothing
# else may be.
depends=$(dpkg-deb -f "$deb" Depends | tr ',' '\n' | sed 's/^ *//; s/[( ].*//' | grep . | sort -u)
# The libraries each program names (NEEDED), where this system's loader finds them, and the
# packages that ship them; the libraries those load in turn are their packages' business.
needed=$(for b in "$root"/usr/bin/*; do
    ldd "$b" | awk -v want="$(objdump -p "$b" | awk '/NEEDED/{print $2}' | tr '\n' ' ')" \
        'BEGIN{n=split(want,w," "); for(i=1;i<=n;i++) keep[w[i]]=1} keep[$1] && $3 ~ /^\//{print $3}'
done | sort -u | while read -r lib; do
    dpkg -S "$(realpath "$lib")" 2>/dev/null || dpkg -S "$lib"
done | cut -d: -f1 | sort -u)
if [ "$depends" != "$needed" ]; then
    diff <(echo "$depends") <(echo "$needed") | sed 's/^</  only in Depends:/; s/^>/  not in Depends:/' >&2
    fail "Depends is not the set of packages of the linked libraries"
fi
echo "Depends: $(echo $depends)"

export PATH="$root/usr/bin:$PATH" QT_QPA_PLATFORM=offscreen
for p in zun zunctl zun-sim; do
    [ "$(command -v $p)" = "$root/usr/bin/$p" ] || fail "$p is not the package's"
    line=$($p --version)
    echo "$line"
    case "$line" in
        "$p $version (commit "*")") ;;
        *) fail "$p --version: \"$line\", expected $p $version (commit ...)" ;;
    esac
done

zun-sim --no-pacing --link "$root/charger" >/dev/null &
sim_pid=$!
for _ in $(seq 50); do [ -e "$root/charger" ] && break; sleep 0.1; done
identify=$(zunctl --port "$root/charger" identify) || fail "zunctl identify failed"
echo "zunctl identify: $identify"
kill "$sim_pid"
wait "$sim_pid" 2>/dev/null || true
sim_pid=

# The window with its built-in charger; it runs until it is stopped.
set +e
timeout 5 zun --demo >/dev/null 2>&1
code=$?
set -e
[ "$code" -eq 124 ] || fail "zun --demo ended by itself (exit $code)"
[ -f "$root/usr/share/zun/lang/English.lang" ] || fail "no language files"

for p in zun zunctl zun-sim; do
    page="$root/usr/share/man/man1/$p.1.gz"
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "$page: $warnings"
done

commands=$(bash -c 'source "$1"; COMP_WORDS=(zunctl ""); COMP_CWORD=1; _zunctl; echo "${COMPREPLY[*]}"' \
    _ "$root/usr/share/bash-completion/completions/zunctl")
[ -n "$commands" ] || fail "the completion offers no command"
echo "completion: $commands"
echo "check-deb: $(basename "$deb") is sound"
