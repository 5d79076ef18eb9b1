#!/usr/bin/python3
"""The centerline pipeline a researcher would write with Debian's Python packages: nibabel to read the
mask, skimage skeletonize_3d, scipy's Euclidean distance transform for radii, a 26-neighbour NetworkX
graph of skeleton voxels, spur pruning (terminal paths shorter than the local radius), lengths and
diameters on the edges, and networkx.write_graphml with world (LPS) coordinates.

usage: baseline.py MASK.nii.gz OUT.graphml    (prints the time of each stage)
"""
import sys
import time

import networkx as nx
import nibabel as nib
import numpy as np
from scipy import ndimage
from skimage.morphology import skeletonize_3d

stages = []
clock = time.perf_counter()


def stage(name):
    global clock
    now = time.perf_counter()
    stages.append((name, now - clock))
    clock = now


image = nib.load(sys.argv[1])
mask = np.asarray(image.dataobj) > 0
stage("load")
skeleton = skeletonize_3d(mask.astype(np.uint8)) > 0
stage("thin")
distance = ndimage.distance_transform_edt(mask, sampling=image.header.get_zooms()[:3])
stage("distance")

graph = nx.Graph()
voxels = np.argwhere(skeleton)
index = {tuple(v): i for i, v in enumerate(voxels)}
for i, v in enumerate(voxels):
    graph.add_node(i)
offsets = [(dx, dy, dz) for dx in (-1, 0, 1) for dy in (-1, 0, 1) for dz in (-1, 0, 1) if (dx, dy, dz) > (0, 0, 0)]
for i, v in enumerate(voxels):
    for d in offsets:
        j = index.get((v[0] + d[0], v[1] + d[1], v[2] + d[2]))
        if j is not None:
            graph.add_edge(i, j)
stage("graph")

# RAS (nibabel) to LPS world positions of the voxels.
world = nib.affines.apply_affine(image.affine, voxels) * np.array([-1.0, -1.0, 1.0])
radius = distance[tuple(voxels.T)]


def length(a, b):
    return float(np.linalg.norm(world[a] - world[b]))


# Spur pruning: walk from every leaf to the next branching node; drop the walk when it is shorter than
# the largest radius met along it.
removed = set()
for leaf in [n for n in graph.nodes if graph.degree(n) == 1]:
    path, previous, current, walked = [leaf], None, leaf, 0.0
    while True:
        following = [n for n in graph.neighbors(current) if n != previous]
        if len(following) != 1 or graph.degree(following[0]) > 2:
            if following:
                walked += length(current, following[0])
            break
        walked += length(current, following[0])
        previous, current = current, following[0]
        path.append(current)
    if len(following) >= 1 and walked < max(radius[p] for p in path):
        removed.update(path)
graph.remove_nodes_from(removed)
graph.remove_nodes_from([c for comp in list(nx.connected_components(graph)) if len(comp) < 3 for c in comp])
stage("prune")

for a, b in graph.edges:
    graph.edges[a, b]["length"] = length(a, b)
    graph.edges[a, b]["diameter"] = float(radius[a] + radius[b])
for n in graph.nodes:
    graph.nodes[n]["x"], graph.nodes[n]["y"], graph.nodes[n]["z"] = (float(c) for c in world[n])
stage("diameters")
nx.write_graphml(graph, sys.argv[2])
stage("export")

for name, seconds in stages:
    print(f"  {name:<18} {seconds:8.3f} s")
print(f"  {'total':<18} {sum(s for _, s in stages):8.3f} s")
print(f"Nodes: {graph.number_of_nodes()} Edges: {graph.number_of_edges()}")
