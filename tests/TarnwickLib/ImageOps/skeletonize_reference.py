"""Skeletons of raw 0/1 masks (x fastest) by scikit-image's 3-D thinning, written back as raw 0/1 bytes.

Usage: /usr/bin/python3 skeletonize_reference.py INPUT.u8 NX NY NZ OUTPUT.u8 [INPUT.u8 NX NY NZ OUTPUT.u8 ...]
A volume with NZ == 1 is passed as a 2-D image.
"""
import sys

import numpy as np
from skimage.morphology import skeletonize_3d


def skeletonize_file(source, nx, ny, nz, target):
    shape = (ny, nx) if nz == 1 else (nz, ny, nx)
    mask = np.fromfile(source, dtype=np.uint8).reshape(shape)
    (skeletonize_3d(mask) != 0).astype(np.uint8).tofile(target)


def main():
    args = sys.argv[1:]
    if not args or len(args) % 5:
        sys.exit(__doc__)
    for i in range(0, len(args), 5):
        source, nx, ny, nz, target = args[i:i + 5]
        skeletonize_file(source, int(nx), int(ny), int(nz), target)


if __name__ == "__main__":
    main()
