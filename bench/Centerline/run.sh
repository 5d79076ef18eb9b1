#!/bin/sh
# End-to-end comparison of `tarnwick-cli extract` with the Python baseline on one synthetic phantom.
# usage: bench/Centerline/run.sh BUILD_DIR [SIZE] [MAX_RADIUS]     (defaults: 384 voxels, radius 10)
set -e
build=${1:?build directory}
size=${2:-384}
radius=${3:-10}
work=$build/bench-centerline-$size
cli=$build/bin/tarnwick-cli
"$cli" sample -o "$work" --size "$size" --max-radius "$radius" --seed 1
echo "== tarnwick-cli extract (peak memory from /usr/bin/time)"
/usr/bin/time -f "  peak memory %M KiB, wall %e s" "$cli" --log-level 3 extract "$work/vessels.nii.gz" \
    -o "$work/tarnwick.graphml" --stats 2>&1 | grep -v '\.\.\.\|done in'
echo "== Python baseline"
/usr/bin/time -f "  peak memory %M KiB, wall %e s" /usr/bin/python3 "$(dirname "$0")/baseline.py" \
    "$work/vessels.nii.gz" "$work/python.graphml"
