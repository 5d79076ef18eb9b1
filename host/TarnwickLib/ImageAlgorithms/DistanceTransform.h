#pragma once

#include <TarnwickLib/Image/SharedImageSet.h>

#include <memory>

/// The distance transform of a mask or label image as a host image, placed where the input is.
namespace Tarnwick::DistanceTransform {

/// Distance map of a label image: a float image with the input's dimensions, spacing and placement
/// and modality Distance. Voxels with a value > 0 are foreground (the labels), all others background.
/// Distances are exact Euclidean distances between voxel centres (the name is kept for callers; no
/// chamfer approximation is involved), computed by ImageOps::distanceTransform.
///
/// - useSpacing: distances in millimetres, honouring anisotropic spacing; false: in voxel steps.
/// - insideDistance: true: each foreground voxel gets the distance to the nearest background voxel and
///   background voxels get 0; false: each background voxel gets the distance to the nearest foreground
///   voxel and foreground voxels get 0.
/// - signedDistance: the voxels that would get 0 get minus their distance to the other class instead.
///
/// The volume border is not a boundary (a structure cut by it keeps its full inside distance there); a
/// voxel gets +inf when the image holds no voxel of the other class. (true, true, false) gives the
/// local radius inside a vessel mask in millimetres and 0 outside it.
///
/// Null, with an error logged, for a multi-channel image or when the memory cannot be had.
/// Cost O(voxels), parallel.
std::unique_ptr<SharedImage> computeChamfer(const SharedImage& labels, bool useSpacing, bool insideDistance,
                                            bool signedDistance);

/// computeChamfer() of the set's current image (its first unless another was selected); null with an
/// error logged when the set is empty.
std::unique_ptr<SharedImage> computeChamfer(const SharedImageSet& labels, bool useSpacing, bool insideDistance,
                                            bool signedDistance);

} // namespace Tarnwick::DistanceTransform
