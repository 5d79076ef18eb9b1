#pragma once

#include <cstddef>

namespace Tarnwick {

class Graph;
class SharedImage;

/// Corrections of a thinned centerline graph that need the vessel diameters: the graph has junction
/// clusters merged and the edge feature "diameter" (world millimetres). Segments are the chains between
/// nodes whose adjacency count is not 2; a segment's radius is half the median of its edge diameters.
/// Lengths are measured in world millimetres.
namespace CenterlineCleanup {

/// Thinning peels a vessel's rounded end for as long as the end is wider than one voxel, so every
/// skeleton end lies short of the true end, by several voxels on thin vessels. The true end of a tube
/// with a rounded cap lies one radius inside the cap's surface. From each end node the mask ahead of it
/// (not behind the end along the direction of its last three edges) is searched for the geodesically
/// farthest voxels; the end is carried in a straight line towards their mean, to one radius before the
/// surface (three quarters of a voxel beyond that mean), with new nodes at most a voxel apart whose edges
/// copy the last edge's features. An end whose mask reaches further than four radii plus three voxels is
/// left as it is (the mask goes on: a junction, another vessel). The mask is unsigned
/// 8-bit, non-zero inside. Returns the number of ends extended. O(ends x voxels within that reach).
std::size_t extendTerminalBranches(Graph& graph, const SharedImage& mask);

/// Removes terminal segments that are surface bumps rather than branches: a terminal segment whose length
/// beyond the surface of its parent (the thickest other segment at its junction), length - parent
/// radius, is below `reach` times its own radius. Shortest first; a junction keeps at least two other
/// segments. Returns the number of segments removed.
std::size_t pruneSurfaceBumps(Graph& graph, double reach);

/// Breaks every cycle shorter than the circumference of the thickest vessel on it (pi times its
/// diameter): such a cycle runs around a tunnel or a notch in one vessel's wall, never around a gap
/// between vessels. The cycle's thinnest segment is removed (the longer on ties). Returns the number of
/// segments removed. Each pass searches once from every segment, over segments no thicker and within its
/// circumference, and breaks every short cycle that does not overlap one broken before it; at most four
/// passes.
std::size_t breakShortCycles(Graph& graph);

} // namespace CenterlineCleanup

} // namespace Tarnwick
