#!/usr/bin/python3
"""Extract the centerline graph of a vessel mask and measure it.

    extract_and_measure.py [MASK.nii.gz] [-o GRAPH.graphml]

Without a mask file it builds a small synthetic vessel tree in NumPy. The mask file is read with nibabel
when it is installed (else with tarnwick.load_image); the graph is summarised, its segments listed with
pandas when installed, and it is written to GRAPH (default: vessels.graphml in the current folder).
"""

import argparse
import logging

import numpy as np

import tarnwick


def synthetic_tree():
    """A Y-shaped tree of tubes (radius 4, 3 and 2.5 voxels) in a 96 x 64 x 48 volume, 0.5 mm voxels."""
    i, j, k = np.meshgrid(np.arange(96), np.arange(64), np.arange(48), indexing="ij")
    mask = np.zeros((96, 64, 48), dtype=bool, order="F")

    def tube(start, end, radius):
        start, end = np.asarray(start, float), np.asarray(end, float)
        axis = end - start
        points = np.stack([i, j, k], axis=-1) - start
        t = np.clip(points @ axis / (axis @ axis), 0.0, 1.0)
        distance = np.linalg.norm(points - t[..., None] * axis, axis=-1)
        mask[distance <= radius] = True

    tube((8, 32, 24), (50, 32, 24), 4.0)
    tube((50, 32, 24), (88, 12, 20), 3.0)
    tube((50, 32, 24), (86, 54, 28), 2.5)
    affine = np.diag([0.5, 0.5, 0.5, 1.0])
    return mask, affine


def read_mask(path):
    try:
        import nibabel
    except ImportError:
        return tarnwick.load_image(path)
    image = nibabel.load(path)
    return np.asanyarray(image.dataobj), image.affine


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("mask", nargs="?", help="vessel mask image (NIfTI, NRRD, MetaImage)")
    parser.add_argument("-o", "--output", default="vessels.graphml", help="graph file to write")
    arguments = parser.parse_args()
    logging.basicConfig(level=logging.WARNING, format="%(levelname)s %(name)s: %(message)s")

    mask, affine = read_mask(arguments.mask) if arguments.mask else synthetic_tree()
    print("Mask: {} {} voxels, {} of them vessel".format(mask.shape, mask.dtype, int(np.count_nonzero(mask))))

    graph = tarnwick.extract(mask, affine=affine, minVesselDiameter=1.0)
    ids, positions = graph.nodes
    features = graph.edge_features
    print("Graph: {} nodes, {} edges".format(len(ids), len(graph.edges)))
    print("Total length: {:.2f} mm".format(features["length"].sum()))
    print("Diameter: {:.2f} to {:.2f} mm".format(features["diameter"].min(), features["diameter"].max()))
    print("Bounding box (RAS mm): {} to {}".format(np.round(positions.min(0), 2), np.round(positions.max(0), 2)))

    try:
        segments = graph.segments()
    except ImportError:
        print("(pandas is not installed: no segment table)")
    else:
        print("Segments:")
        print(segments.round(2).to_string(index=False))

    try:
        nx_graph = graph.to_networkx()
    except ImportError:
        pass
    else:
        import networkx

        print("NetworkX: {} connected component(s)".format(networkx.number_connected_components(nx_graph)))

    graph.save(arguments.output)
    print("Wrote", arguments.output)


if __name__ == "__main__":
    main()
