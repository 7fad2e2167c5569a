#!/usr/bin/env bash
# The main job on the bundled photo: enlarge it to 3840x2160 with "Best" and
# write the result and a side-by-side crop (nearest neighbour | Quillon).
# Installs what it needs first. Output goes to out/ (or the folder given).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh

cmake --preset release > /dev/null
cmake --build --preset release -j "$(nproc)" --target quillon

out=${1:-out}
mkdir -p "$out"
input=assets/photos/cups_1920x1080.png

build/release/tools/quillon/quillon upscale "$input" "$out/cups_3840x2160.png" \
    --preset "Ultra HD (3840 x 2160) Fit To Width" --filter best \
    --compare "$out/cups_compare.png" -y

echo "Wrote $out/cups_3840x2160.png and $out/cups_compare.png"
