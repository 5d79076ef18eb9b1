#!/bin/sh
# Checks the whole chain on synthetic phantoms: `extract` a centerline graph with diameters from a
# vessel mask, draw it back into the mask's grid with "Graph;Graph To Label Map" (both modes), and
# report the Dice overlap of the drawn label map with the input mask. A wrong transform or wrong
# diameters show as a low Dice.
# usage: bench/LabelMap/run_dice.sh BUILD_DIR [SIZE]       (default 128 voxels)
set -e
build=${1:?build directory}
size=${2:-128}
cli=$build/bin/tarnwick-cli
root=$build/bench-dice
dice() {
    /usr/bin/python3 - "$1" "$2" <<'PY'
import sys
import nibabel, numpy
a = numpy.asarray(nibabel.load(sys.argv[1]).dataobj) > 0
b = numpy.asarray(nibabel.load(sys.argv[2]).dataobj) > 0
print(f"{2.0 * numpy.count_nonzero(a & b) / max(1, numpy.count_nonzero(a) + numpy.count_nonzero(b)):.3f}")
PY
}
printf '%-34s %10s %10s\n' phantom centerline vessel
run() {
    name=$1; shift
    work=$root/$name
    "$cli" --log-level 3 sample -o "$work" --size "$size" --seed 3 "$@" >/dev/null 2>&1
    "$cli" --log-level 3 extract "$work/vessels.nii.gz" -o "$work/graph.graphml" >/dev/null 2>&1
    for mode in Centerline Vessel; do
        "$cli" --log-level 4 run GraphToLabelMapAlgorithm "$work/graph.graphml" "$work/vessels.nii.gz" \
            --set mode=$mode -o "$work/drawn-$mode.nii.gz" >/dev/null
    done
    printf '%-34s %10s %10s\n' "$name" "$(dice "$work/vessels.nii.gz" "$work/drawn-Centerline.nii.gz")" \
        "$(dice "$work/vessels.nii.gz" "$work/drawn-Vessel.nii.gz")"
}
run default
run anisotropic-0.6x0.6x1.5 --spacing 0.6,0.6,1.5
run oblique --oblique
run thin-radius-3 --max-radius 3
run noisy --noise 0.2
run 2d --2d
