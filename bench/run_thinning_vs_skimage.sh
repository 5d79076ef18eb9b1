#!/usr/bin/env bash
# Times scikit-image's skeletonize_3d and ImageOps::thin on the same synthetic vessel masks, checks that
# the skeletons are identical voxel for voxel, and prints the speed ratio.
#
# Usage: bench/run_thinning_vs_skimage.sh [BUILD_DIR] [SIZE...]
#   BUILD_DIR: a build configured with -DTARNWICK_BUILD_BENCH=ON (default: build); the tools
#              tarnwick-vessel-mask and tarnwick-thin-raw are built there if missing.
#   SIZE:      cube edge lengths (default: 256 384).
# Each side is timed around the thinning call only (no file input/output), repeated RUNS times (default
# 3) in one process, and the best time counts. Needs /usr/bin/python3 with numpy and scikit-image.
set -euo pipefail

build=${1:-build}
shift || true
sizes=("$@")
[ ${#sizes[@]} -eq 0 ] && sizes=(256 384)
runs=${RUNS:-3}
source_dir=$(cd "$(dirname "$0")/.." && pwd)

cmake --build "$build" --target tarnwick-vessel-mask tarnwick-thin-raw > /dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

printf "%-6s %12s %12s %8s  %s\n" size skimage_s ours_s ratio identical
for size in "${sizes[@]}"; do
    mask=$work/mask$size.u8
    "$build/bin/tarnwick-vessel-mask" "$size" 1 "$mask" > /dev/null
    ours=$("$build/bin/tarnwick-thin-raw" "$mask" "$size" "$size" "$size" "$work/ours$size.u8" "$runs")
    skimage=$(/usr/bin/python3 - "$mask" "$size" "$work/skimage$size.u8" "$runs" <<'PY'
import sys, time
import numpy as np
from skimage.morphology import skeletonize_3d
path, size, out, runs = sys.argv[1], int(sys.argv[2]), sys.argv[3], int(sys.argv[4])
mask = np.fromfile(path, dtype=np.uint8).reshape(size, size, size)
best = float("inf")
for _ in range(runs):
    start = time.perf_counter()
    skeleton = skeletonize_3d(mask)
    best = min(best, time.perf_counter() - start)
(skeleton != 0).astype(np.uint8).tofile(out)
print(best)
PY
)
    identical=no
    cmp -s "$work/ours$size.u8" "$work/skimage$size.u8" && identical=yes
    ratio=$(awk -v a="$skimage" -v b="$ours" 'BEGIN { printf "%.1f", a / b }')
    printf "%-6s %12.3f %12.3f %8s  %s\n" "$size" "$skimage" "$ours" "$ratio" "$identical"
done
