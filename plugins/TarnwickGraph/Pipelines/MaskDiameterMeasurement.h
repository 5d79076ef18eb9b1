#pragma once

namespace Tarnwick {

class Graph;
class SharedImage;

/// Measures the edge feature "diameter" (world millimetres) of a centerline graph in the binary vessel
/// mask (unsigned 8-bit, non-zero inside) it was extracted from.
///
/// The mask is read as the union of its inside voxels' cells: a point is inside when the voxel nearest to
/// it is. A vessel voxelised by "centre within r of the axis" then covers pi r^2 per unit length on
/// average at any radius, since each inside centre stands for one cell, and its cell boundary lies half
/// a voxel beyond the last inside centre. Measuring distances to the last inside centre instead (as a
/// distance map does) comes out half a voxel short, a third of the diameter at r = 1.5 voxels.
///
/// For each edge, 32 rays leave the point half-way along it in the plane normal to the local vessel
/// direction (the chord over up to three edges either way along the segment); each ray marches in
/// quarter-voxel steps to the first outside sample and refines the crossing by bisection. The radius is
/// that of the disk with the cross-section's area, sqrt(mean(rho^2)), with each ray clipped at
/// 1.5 x the median ray + half a voxel so that rays escaping into a branch or a neighbour do not count.
/// A single-slice (2-D) mask is measured along the in-plane normal only: the width of the cross-section.
/// Edges whose point is outside the mask get the mean of their neighbours (0 with none), and the values
/// are then evened out along each segment (clamped to within 10 % of the segment's median, then averaged
/// over 3 edges). Cost: O(edges x rays x radius / quarter voxel), parallel over edges.
///
/// Returns false, with the reason logged, when the mask is not single-channel unsigned 8-bit.
bool measureVesselDiameters(Graph& graph, const SharedImage& mask);

} // namespace Tarnwick
