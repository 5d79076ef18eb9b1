#!/usr/bin/env python3
"""Writes image-set-v1.tnw: a data file with one image set record of version 1, written from the
documented layout (not by the program), so the reader is checked against the layout itself.

The set "fixture" has modality Label (8) and one uint16 image of 4x3x2 voxels, spacing 0.5 x 0.75 x 2,
value 7 * i + 3 at linear index i, placed by a pure translation (10, -20, 30)."""
import os
import struct

def matrix(translation):
    rows = [[1.0, 0.0, 0.0, translation[0]], [0.0, 1.0, 0.0, translation[1]],
            [0.0, 0.0, 1.0, translation[2]], [0.0, 0.0, 0.0, 1.0]]
    return b"".join(struct.pack("<4d", *row) for row in rows)

placement = matrix((10.0, -20.0, 30.0))
values = struct.pack("<24H", *[7 * i + 3 for i in range(24)])
image = (struct.pack("<i3ii", 5123, 4, 3, 2, 1) + struct.pack("<3d", 0.5, 0.75, 2.0) + placement +
         struct.pack("<IQ", 8, len(values)) + values)
payload = struct.pack("<II", 1, 8) + placement + struct.pack("<iI", 0, 1) + image
name = b"fixture"
record = struct.pack("<III", 100, 0, len(name)) + name + struct.pack("<Q", len(payload)) + payload
data = b"TARNWICK" + struct.pack("<II", 1, 1) + record

with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "image-set-v1.tnw"), "wb") as out:
    out.write(data)
