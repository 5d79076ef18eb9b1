#!/bin/sh
# End-to-end comparison of `tarnwick-cli extract` with the Python baseline on one synthetic phantom.
# usage: bench/Centerline/run.sh BUILD_DIR [SIZE] [MAX_RADIUS]     (defaults: 384 voxels, radius 10)
# Also scores both outputs against the phantom's truth when tarnwick-centerline-score is built.
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
# Accuracy of both against the phantom's true centerlines (the tests' scorer; configure with
# -DTARNWICK_BUILD_BENCH=ON for the tool). The phantom's spacing is 1 mm.
score=$build/bin/tarnwick-centerline-score
if [ -x "$score" ]; then
    echo "== accuracy: tarnwick-cli, then Python"
    "$score" "$work/vessels-truth.graphml" "$work/tarnwick.graphml" 1 2>/dev/null
    "$score" "$work/vessels-truth.graphml" "$work/python.graphml" 1 2>/dev/null
fi
