#!/usr/bin/env bash
# Installs the Debian packages the build, the tools, the tests and the
# benchmarks need. Safe to run again: it only calls apt-get for what is
# missing.
set -euo pipefail

packages=(
    # build
    cmake ninja-build g++ pkg-config clang-format
    # tests and benchmarks
    libgtest-dev libgmock-dev libbenchmark-dev libpng-dev
    # benchmark peers
    libopencv-dev libzimg-dev
    # the quillon command-line tool
    libcli11-dev libopenimageio-dev openimageio-tools
    libavformat-dev libavcodec-dev libswscale-dev libavutil-dev ffmpeg
    # fuzzing: clang with its libFuzzer and sanitizer runtimes
    clang-14 libclang-rt-14-dev
    # the Windows plug-in: cross build and Wine
    g++-mingw-w64-x86-64 mingw-w64-tools binutils-mingw-w64-x86-64 wine64
)

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
