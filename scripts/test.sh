#!/usr/bin/env bash
# Builds everything and runs every test: formatting, the release build's
# tests, the engine's suites again at several instruction-set levels and
# thread counts, the same tests under AddressSanitizer and
# UndefinedBehaviorSanitizer, the threaded paths under ThreadSanitizer, a
# short run of every fuzz harness, and the Windows plug-in under Wine.
# Installs what it needs first.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

echo "== formatting"
git ls-files '*.cpp' '*.h' '*.hpp' | xargs clang-format --dry-run --Werror

jobs=$(nproc)

echo "== release build and tests"
cmake --preset release > /dev/null
cmake --build --preset release -j "$jobs"
ctest --preset release -j "$jobs"

# The suites whose frames go through the engine's dispatch, at the scalar
# level, one middle level and the machine's top level (no cap), with one
# thread and with three. (The levels suite sweeps every level and thread
# count itself, so it is not repeated here.)
for cpu in scalar sse2 ""; do
    for threads in 1 3; do
        echo "== engine suites at level ${cpu:-top}, $threads thread(s)"
        for suite in engine/quillon_engine_tests refine/quillon_refine_tests \
            kernels/quillon_kernel_tests render/quillon_render_tests; do
            QUILLON_CPU=$cpu QUILLON_THREADS=$threads "build/release/tests/$suite" \
                --gtest_brief=1 > build/release/level-run.log 2>&1 || {
                cat build/release/level-run.log
                echo "failed: $suite at level ${cpu:-top}, $threads thread(s)"
                exit 1
            }
        done
    done
done

echo "== sanitizer build and tests"
cmake --preset asan > /dev/null
cmake --build --preset asan -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --preset asan -j "$jobs"

echo "== ThreadSanitizer build and the threaded suites"
cmake --preset tsan > /dev/null
cmake --build --preset tsan -j "$jobs"
# The Ultra HD frames take minutes under the sanitizer; the small frames
# cover every pass at every level and thread count.
TSAN_OPTIONS=halt_on_error=1 QUILLON_THREADS=3 ctest --preset tsan -j "$jobs" -E UltraHd

echo "== fuzz harnesses, ${QUILLON_FUZZ_SECONDS:-20} s each"
bash scripts/fuzz.sh "${QUILLON_FUZZ_SECONDS:-20}"

if [ -f cmake/mingw-w64-x86_64.cmake ]; then
    echo "== Windows plug-in under Wine"
    bash scripts/test-windows.sh
fi
