#!/usr/bin/env bash
# Installs the Debian packages a task needs. Safe to run again: it only calls
# apt-get for what is missing.
#
#   bash scripts/install-deps.sh [GROUP...]
#
# Groups:
#   demo     the quillon tool and the demo: compiler, CMake, Ninja, CLI11,
#            OpenImageIO, FFmpeg's libraries
#   test     everything the test suites and benchmarks use besides (GoogleTest,
#            Google Benchmark, libpng, the benchmark peers, the ffmpeg and
#            OpenImageIO programs, clang-format, clang and libFuzzer)
#   windows  the Windows plug-in: MinGW-w64 cross compiler and Wine
#   all      every group (the default)
set -euo pipefail

demo=(
    cmake ninja-build g++ pkg-config
    libcli11-dev libopenimageio-dev
    libavformat-dev libavcodec-dev libswscale-dev libavutil-dev
)
test=(
    clang-format
    libgtest-dev libgmock-dev libbenchmark-dev libpng-dev
    # benchmark peers
    libopencv-dev libzimg-dev
    # programs the tool's tests make and probe media with
    openimageio-tools ffmpeg
    # fuzzing: clang with its libFuzzer and sanitizer runtimes
    clang-14 libclang-rt-14-dev
    # the Python module and its tests; the farm tests' local single-node Slurm
    python3-dev python3-pybind11 python3-numpy python3-pytest slurm-wlm munge
)
windows=(
    g++-mingw-w64-x86-64 mingw-w64-tools binutils-mingw-w64-x86-64 wine64
)

groups=("$@")
if [ ${#groups[@]} -eq 0 ]; then
    groups=(all)
fi
packages=()
for group in "${groups[@]}"; do
    case "$group" in
        demo) packages+=("${demo[@]}") ;;
        test) packages+=("${demo[@]}" "${test[@]}") ;;
        windows) packages+=("${demo[@]}" "${windows[@]}") ;;
        all) packages+=("${demo[@]}" "${test[@]}" "${windows[@]}") ;;
        *)
            echo "install-deps.sh: unknown group '$group' (demo, test, windows or all)" >&2
            exit 2
            ;;
    esac
done

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq \
    "${missing[@]}"
