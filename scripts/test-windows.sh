#!/usr/bin/env bash
# Builds the Windows plug-in with MinGW-w64 and tests it under Wine: its
# exports and imports, host sessions with and without the branding library,
# and tables and frames compared bit for bit with the Linux build. Needs no
# display, no network and no input. Ends with the line "N passed, M failed".
set -uo pipefail
cd "$(dirname "$0")/.."

jobs=${QUILLON_JOBS:-$(nproc)}
native=build/winnative
log=$(mktemp)
trap 'rm -f "$log"' EXIT

fail_build() {
    echo "$1"
    echo "0 passed, 1 failed"
    exit 1
}

echo "== native build for the comparisons"
cmake -S . -B "$native" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF \
    -DQUILLON_BUILD_BENCH=OFF > /dev/null || fail_build "native configure failed"
cmake --build "$native" -j "$jobs" --target Quillon4K quillon_hostcheck ||
    fail_build "native build failed"

echo "== Windows cross build"
cmake --preset windows \
    -DQUILLON_NATIVE_HOSTCHECK="$PWD/$native/tools/hostcheck/quillon_hostcheck" \
    -DQUILLON_NATIVE_PLUGIN="$PWD/$native/host/Quillon4K.so" > /dev/null ||
    fail_build "Windows configure failed"
cmake --build --preset windows -j "$jobs" || fail_build "Windows build failed"

echo "== Windows tests under Wine"
ctest --preset windows < /dev/null 2>&1 | tee "$log"
status=${PIPESTATUS[0]}

total=$(sed -n 's/.*tests passed, \([0-9]*\) tests\{0,1\} failed out of \([0-9]*\).*/\1 \2/p' "$log")
if [ -z "$total" ]; then
    echo "0 passed, 1 failed"
    exit 1
fi
read -r failed count <<< "$total"
skipped=$(grep -c '\*\*\*Skipped\|Not Run' "$log" || true)
echo "$((count - failed - skipped)) passed, $failed failed"
[ "$status" -eq 0 ] && [ "$failed" -eq 0 ]
