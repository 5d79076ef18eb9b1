"""Writes NIfTI files with nibabel for the image file tests, or compares two NIfTI files.

    nibabel_images.py write DIR    writes the files and DIR/manifest.json describing them
    nibabel_images.py compare A1 B1 [A2 B2 ...]
                                   exits 0 when every Ai holds the same data and affine as Bi

The manifest gives, per file, the expected pixel type, dimensions, channels, values (x fastest)
and the LPS world position of a few voxels, computed from the affine nibabel reads back.
"""
import json
import os
import sys

import nibabel as nib
import numpy as np

LPS_FROM_RAS = np.diag([-1.0, -1.0, 1.0, 1.0])


def rotation(axis, angle):
    axis = np.asarray(axis, dtype=float)
    axis /= np.linalg.norm(axis)
    k = np.array([[0, -axis[2], axis[1]], [axis[2], 0, -axis[0]], [-axis[1], axis[0], 0]])
    return np.eye(3) + np.sin(angle) * k + (1 - np.cos(angle)) * k @ k


def affine(rot, spacing, translation):
    a = np.eye(4)
    a[:3, :3] = rot @ np.diag(spacing)
    a[:3, 3] = translation
    return a


def voxels(shape):
    last = [n - 1 for n in shape[:3]]
    return [[0, 0, 0], last, [last[0], 0, last[2] if len(last) > 2 else 0], [1, min(2, last[1]), 0]]


def write(directory):
    rng = np.random.default_rng(5)
    manifest = {}

    def add(name, image, pixel_type, channels=1, positions=True):
        path = os.path.join(directory, name)
        nib.save(image, path)
        reread = nib.load(path)
        data = np.asanyarray(reread.dataobj) if pixel_type is None else reread.get_fdata()
        entry = {"pixelType": pixel_type, "channels": channels}
        shape = reread.shape
        entry["dimensions"] = [int(n) for n in (list(shape[:3]) + [1, 1, 1])[:3]]
        if pixel_type is not None:
            spatial = data.reshape(entry["dimensions"] + [channels], order="F")
            # x fastest, channels interleaved: transpose to (z, y, x, c) and flatten in C order.
            entry["values"] = np.transpose(spatial, (2, 1, 0, 3)).ravel().tolist()
        if positions:
            best = LPS_FROM_RAS @ reread.header.get_best_affine()
            entry["voxels"] = []
            for v in voxels(entry["dimensions"]):
                world = best @ np.array([v[0], v[1], v[2], 1.0])
                entry["voxels"].append({"pixel": v, "world": world[:3].tolist()})
        manifest[name] = entry

    rot = rotation([1, -2, 0.5], 0.6)
    oblique = affine(rot, [0.8, 1.25, 2.5], [-30.5, 12.0, 47.25])
    img = nib.Nifti1Image(rng.integers(-3000, 3000, (7, 5, 4)).astype(np.int16), oblique)
    img.set_qform(oblique, code=1)
    img.set_sform(oblique, code=1)
    add("oblique.nii.gz", img, "int16")

    sform = affine(rotation([0, 0, 1], -0.4), [0.5, 0.5, 1.5], [5.0, -8.0, 2.0])
    img = nib.Nifti1Image(rng.random((6, 4, 3)).astype(np.float32), sform)
    img.set_qform(None, code=0)
    img.set_sform(sform, code=2)
    add("sform_only.nii", img, "float")

    flat = affine(np.eye(3), [0.3, 0.6, 1.0], [10.0, 20.0, 0.0])
    add("flat.nii", nib.Nifti1Image(rng.integers(0, 255, (6, 4)).astype(np.uint8), flat), "uint8")

    img = nib.Nifti1Image(rng.integers(0, 100, (4, 3, 2)).astype(np.uint8), oblique)
    img.header.set_slope_inter(2.0, 1.0)
    add("scaled.nii", img, "float")

    img = nib.Nifti1Image(rng.random((4, 3, 2, 1, 3)).astype(np.float64), oblique)
    img.header.set_intent("vector")
    add("vectors.nii", img, "double", channels=3)

    add("single_frame.nii", nib.Nifti1Image(rng.integers(0, 9, (4, 3, 2, 1)).astype(np.int32), oblique), "int32")
    add("frames.nii", nib.Nifti1Image(np.zeros((4, 3, 2, 3), dtype=np.int16), oblique), None, positions=False)
    add("int64.nii", nib.Nifti1Image(np.zeros((4, 3, 2), dtype=np.int64), oblique, dtype=np.int64), None, positions=False)

    with open(os.path.join(directory, "manifest.json"), "w") as out:
        json.dump(manifest, out)


def same(a, b):
    first, second = nib.load(a), nib.load(b)
    # Trailing axes of length 1 (a 4-D file with one frame) do not change the image.
    same_data = np.array_equal(np.asanyarray(first.dataobj).squeeze(), np.asanyarray(second.dataobj).squeeze())
    same_affine = np.allclose(first.header.get_best_affine(), second.header.get_best_affine(), atol=1e-4)
    if not (same_data and same_affine):
        print(f"{a} vs {b}: data {'equal' if same_data else 'differs'}, affine {'equal' if same_affine else 'differs'}")
        print(first.header.get_best_affine())
        print(second.header.get_best_affine())
    return same_data and same_affine


def compare(paths):
    results = [same(paths[i], paths[i + 1]) for i in range(0, len(paths), 2)]
    return 0 if all(results) else 1


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[1] == "write":
        write(sys.argv[2])
    elif len(sys.argv) >= 4 and len(sys.argv) % 2 == 0 and sys.argv[1] == "compare":
        sys.exit(compare(sys.argv[2:]))
    else:
        sys.exit(__doc__)
