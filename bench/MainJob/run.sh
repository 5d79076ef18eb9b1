#!/bin/sh
# The main job end to end on a brain-sized mask (742 x 744 x 485 voxels of 0.5 mm, about 1 % vessel),
# stored as int16 and as uint8 .nii.gz: stage times (--stats), wall clock and peak memory
# (/usr/bin/time -v), beside `gzip -dc` of the int16 file.
# usage: bench/MainJob/run.sh BUILD_DIR [DATA_DIR] [REPEAT]   (the masks are made in DATA_DIR when missing)
set -e
build=${1:?build directory}
data=${2:-$build/bench-mainjob}
repeat=${3:-3}
cli=$build/bin/tarnwick-cli
mkdir -p "$data"
for type in int16 uint8; do
    [ -f "$data/brain-$type.nii.gz" ] || "$build/bin/tarnwick-brain-mask" "$data/brain-$type.nii.gz" "$type" 0.5
done
echo "== gzip -dc brain-int16.nii.gz"
/usr/bin/time -f "  wall %e s" gzip -dc "$data/brain-int16.nii.gz" > /dev/null
for type in int16 uint8; do
    for run in $(seq "$repeat"); do
        echo "== extract brain-$type.nii.gz, run $run"
        /usr/bin/time -f "  peak memory %M KiB, wall %e s" "$cli" --log-level 3 extract "$data/brain-$type.nii.gz" \
            -o "$data/out-$type.graphml" --stats 2>&1 | grep -v '\.\.\.\|done in'
    done
done
