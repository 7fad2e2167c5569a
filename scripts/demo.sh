#!/usr/bin/env bash
# The main job on the bundled photo: enlarge it to 3840x2160 with "Best" and
# write the result and a side-by-side crop (nearest neighbour | Quillon) of
# the part of the picture with the most edges. Installs only what the demo
# needs, builds only the quillon tool (in build/demo), and ends by printing
# where the pictures are. Output goes to out/ (or the folder given).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh demo

cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DQUILLON_BUILD_TESTS=OFF -DQUILLON_BUILD_BENCH=OFF > /dev/null
cmake --build build/demo -j "$(nproc)" --target quillon

out=${1:-out}
input=assets/photos/cups_1920x1080.png

build/demo/tools/quillon/quillon upscale "$input" "$out/cups_3840x2160.png" \
    --preset "Ultra HD (3840 x 2160) Fit To Width" --filter best \
    --compare "$out/cups_compare.png" --compare-crop 960x540 -y

echo
echo "The pictures are in $(cd "$out" && pwd):"
echo "  cups_3840x2160.png  the photo enlarged to 3840x2160 with \"Best\""
echo "  cups_compare.png    side by side: nearest neighbour (left) | Quillon (right)"
