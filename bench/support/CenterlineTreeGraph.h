#pragma once

#include "CenterlineTreeGenerator.h"

#include <TarnwickGraph/Graph/Graph.h>

#include <cstddef>
#include <memory>

namespace Tarnwick::Bench {

/// The tree as an undirected graph: node i + 1 at point i, jittered by up to `jitter` voxels per axis
/// to imitate a staircase skeleton, an edge (parent[i] + 1, i + 1) per non-root point, plus `chords`
/// extra edges between points 5 to 40 steps apart along the generation order, which close cycles.
/// The same arguments always give the same graph.
std::unique_ptr<Graph> centerlineTreeGraph(const CenterlineTree& tree, double jitter = 0.0, std::size_t chords = 0);

} // namespace Tarnwick::Bench
