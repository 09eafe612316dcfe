#!/usr/bin/env bash
# One picture through every method, by the library for Linux and by the one for macOS: the files
# written are the same, byte for byte.
set -euo pipefail
library=${1:?the library to compare}
readonly workbench=build/release/workbench/zvk_workbench
readonly picture=docs/images/methods.jpg
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

for runtime in console desktop; do
    for call in 'ScalingZVK(3, 200, 150)' 'ScaleZVK(333, 77)' 'ScaleZVK(2000, 1500, true)' \
        'ScaleImageAndMaskZVK(300, 200)' 'BlurZVK(4.0)' \
        "DrawPictureFZVK(\"$picture\", 10.25, 20.5, alpha = 0.8)"; do
        "$workbench" --runtime "$runtime" "$picture" "$call" -o "$folder/one.png" >"$folder/log"
        "$workbench" --runtime "$runtime" --plugin "$library" "$picture" "$call" \
            -o "$folder/other.png" >>"$folder/log"
        cmp "$folder/one.png" "$folder/other.png" || { echo "differ after $call"; exit 1; }
    done
done
