#!/usr/bin/env bash
# Runs every fuzz target for SECONDS each (default 60), one after another, from its starting
# inputs in tests/fuzz/corpus/<target> and the inputs earlier runs found (kept in
# build-fuzz/fuzz-work/<target>, so long runs add up). Prints per target the executions of this
# run and of all runs so far, the coverage reached and the crashes found; exits 1 on a crash.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
build=build-fuzz
work=$build/fuzz-work

# The longest input each target reads: a settings file is at least 12.5 KB, a reply at most a
# few hundred bytes, the remembered language is read up to 4 KB.
declare -A max_len=(
    [fuzz_lang]=65536 [fuzz_lang_state]=4200 [fuzz_csv]=65536 [fuzz_chart]=16384
    [fuzz_replies]=2048 [fuzz_download]=16384 [fuzz_settings]=65536
    [fuzz_settings_write]=65536 [fuzz_sim_requests]=4096
)

export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=true
CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZUN_FUZZ=ON -DZUN_SANITIZE=ON \
    -DZUN_BUILD_BENCH=OFF -DZUN_SUBSYSTEMS="link;profile;datalog;lang;sim;cli" >/dev/null
cmake --build "$build" -j"$(nproc)" --target zun_fuzz_all >/dev/null

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for t in tests/fuzz/fuzz_*.cpp; do targets+=("$(basename "$t" .cpp)"); done
fi

failed=0
printf '%-20s %8s %12s %14s %9s %8s\n' target seconds executions "all runs" coverage crashes
for t in "${targets[@]}"; do
    bin=$build/tests/fuzz/$t
    [ -x "$bin" ] || { echo "$t: not built"; failed=1; continue; }
    mkdir -p "$work/$t/found" "$work/$t/artifacts"
    log=$work/$t/last-run.log
    touch "$work/$t/started"
    # The first folder receives what the run finds; the checked-in one is only read.
    ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=offscreen nice -n 10 "$bin" \
        -max_total_time="$seconds" -max_len="${max_len[$t]:-4096}" -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$work/$t/artifacts/" \
        "$work/$t/found" "tests/fuzz/corpus/$t" >"$log" 2>&1 || true
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    cov=$(grep -o "cov: [0-9]*" "$log" | tail -1 | cut -d" " -f2 || true)
    crashes=$(find "$work/$t/artifacts" -type f -newer "$work/$t/started" \( -name 'crash-*' -o -name 'timeout-*' \
        -o -name 'oom-*' -o -name 'leak-*' \) | wc -l)
    total=$(( $(cat "$work/$t/total-runs" 2>/dev/null || echo 0) + ${runs:-0} ))
    echo "$total" >"$work/$t/total-runs"
    printf '%-20s %8s %12s %14s %9s %8s\n' "$t" "$seconds" "${runs:-?}" "$total" "${cov:-?}" "$crashes"
    if [ -z "$runs" ] || [ "$crashes" -gt 0 ]; then
        failed=1
        echo "---- $t: see $log and $work/$t/artifacts"
        tail -30 "$log"
    fi
done
exit $failed
