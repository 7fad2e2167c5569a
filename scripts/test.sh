#!/usr/bin/env bash
# Builds everything and runs every test: formatting, the release build's
# tests, the same tests under AddressSanitizer and UndefinedBehaviorSanitizer,
# and the Windows plug-in under Wine. Installs what it needs first.
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

echo "== sanitizer build and tests"
cmake --preset asan > /dev/null
cmake --build --preset asan -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --preset asan -j "$jobs"

if [ -f cmake/mingw-w64-x86_64.cmake ]; then
    echo "== Windows plug-in under Wine"
    bash scripts/test-windows.sh
fi
