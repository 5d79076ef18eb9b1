#pragma once

#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Tarnwick::ImageOps {

struct DistanceTransformOptions {
    /// Distances in millimetres (scaled by the voxel spacing per axis) rather than in voxels.
    bool useSpacing = true;
    /// true: each foreground voxel gets the distance from its centre to the nearest background voxel
    /// centre and background voxels get 0. false: background voxels get their distance to the nearest
    /// foreground voxel and foreground voxels get 0.
    bool insideDistance = true;
    /// The voxels that would get 0 get minus their distance to the other class instead.
    bool signedDistance = false;
};

/// Exact Euclidean distance transform of a binary mask (non-zero voxels are foreground).
///
/// `mask` and `distances` hold dims.prod() voxels, x fastest. Distances are measured between voxel
/// centres, anisotropic spacing included. The volume border is not a boundary: voxels outside the image
/// belong to neither class, so a vessel cut by the border keeps its full inside distance there. A voxel
/// gets +inf when the image holds no voxel of the other class. A volume with dims.z() == 1 is 2-D.
///
/// Cost O(voxels) (separable lower envelopes of parabolas), OpenMP over lines; a signed transform runs
/// twice and needs a second float volume. Invalid input (null buffer, a dimension < 1, too many voxels,
/// spacing not finite and positive when used) logs an error and returns false.
bool distanceTransform(const std::uint8_t* mask, const Eigen::Vector3i& dims, const Eigen::Vector3d& spacing,
                       const DistanceTransformOptions& options, float* distances);

/// distanceTransform() of a single-channel mask image with its own spacing; the result keeps the
/// spacing. nullptr (with a logged error) for invalid input.
std::unique_ptr<TypedImage<float>> distanceTransform(const TypedImage<unsigned char>& mask,
                                                     const DistanceTransformOptions& options);

} // namespace Tarnwick::ImageOps
