#!/usr/bin/env bash
# Builds every fuzz harness (the fuzz preset: clang with libFuzzer,
# AddressSanitizer and UndefinedBehaviorSanitizer) and runs each for SECONDS
# seconds on a copy of its checked-in seed corpus, so that runs do not grow
# the corpus in the repository. Ends with one line
#   fuzz: N targets, M runs, K crashes
# and exits non-zero when any harness crashed, leaked or failed to run. The
# input of a crash is left in the harness's work folder (printed); copy it to
# fuzz/regressions/<target>/ and fix the fault.
#
# Usage: bash scripts/fuzz.sh [SECONDS]   (default 60)
set -uo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
targets=(engine entry_point cli_parsers raw_pipe)

cmake --preset fuzz > /dev/null || exit 1
build_targets=()
for t in "${targets[@]}"; do
    build_targets+=("fuzz_$t")
done
cmake --build build/fuzz --target "${build_targets[@]}" || exit 1

work=$(mktemp -d "${TMPDIR:-/tmp}/quillon-fuzz.XXXXXX")
total_runs=0
crashes=0
for t in "${targets[@]}"; do
    corpus="$work/$t/corpus"
    artifacts="$work/$t/artifacts"
    mkdir -p "$corpus" "$artifacts"
    cp fuzz/corpus/"$t"/* "$corpus"/
    log="$work/$t/log.txt"
    echo "== fuzz_$t for ${seconds}s"
    QUILLON_THREADS=${QUILLON_FUZZ_THREADS:-1} ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        build/fuzz/fuzz/fuzz_"$t" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=4096 \
        -max_len=4096 -print_final_stats=1 -close_fd_mask=1 \
        -artifact_prefix="$artifacts/" "$corpus" fuzz/regressions/"$t" > "$log" 2>&1
    status=$?
    runs=$(grep -E '^stat::number_of_executed_units:' "$log" | awk '{print $2}' | tail -n 1)
    runs=${runs:-0}
    total_runs=$((total_runs + runs))
    if [ "$status" -ne 0 ]; then
        crashes=$((crashes + 1))
        echo "fuzz_$t FAILED (exit $status); log: $log; inputs: $artifacts"
        grep -E 'ERROR|SUMMARY|==[0-9]+==|deadly signal|runtime error' "$log" | head -n 20
    else
        echo "fuzz_$t: $runs runs, no crash"
    fi
done

echo "fuzz: ${#targets[@]} targets, $total_runs runs, $crashes crashes"
if [ "$crashes" -ne 0 ]; then
    exit 1
fi
rm -rf "$work"
