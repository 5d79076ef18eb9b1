#pragma once

namespace Tarnwick {

class Graph;
class SharedImage;

/// Measures the edge feature "diameter" of a centerline graph in the binary vessel mask (unsigned 8-bit,
/// non-zero inside) it was extracted from, with ComputeCommonGraphFeaturesAlgorithm in mode
/// VesselDiameter and its default parameters (voxels above 0.5 inside, empty edges filled from their
/// neighbours, values clamped and averaged over 3 edges along each segment).
///
/// The measurement reads, for each ray sample, the voxel found by truncating the sample's pixel
/// coordinate, and keeps the last sample inside along each ray. With voxel centres at whole pixel
/// coordinates the first reads a voxel up to one voxel towards the negative axes, and the second loses
/// half a ray step on average: vessels come out 0.2 to 1 voxel too thin in radius (a third of the
/// diameter at a radius of 2 voxels). So the algorithm is handed a view of the mask (the same voxels,
/// not copied) placed half a voxel towards the negative axes, which turns the truncating read into a
/// nearest-voxel read, and whose nominal spacing along its shortest axis is a sixteenth of the smallest
/// spacing, with its matrix scaled to compensate: the voxels stay where they are in world space, and the
/// rays, which step by the smallest spacing, advance by a sixteenth of a voxel (16 times the samples).
///
/// A single-slice (2-D) mask is measured differently: rays across an edge would leave the slice, so each
/// edge's diameter is twice the inside distance (to the nearest background voxel centre) at its
/// midpoint, sampled with EvaluateGraphAtImageAlgorithm.
///
/// Returns false, with the reason logged, when the mask is not unsigned 8-bit or the measurement fails.
bool measureVesselDiameters(Graph& graph, const SharedImage& mask);

} // namespace Tarnwick
