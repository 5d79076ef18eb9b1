#pragma once

#include <Eigen/Core>

#include <cstdint>

namespace Tarnwick::ImageOps {

/// What the last pass of cappedSquaredDistances() stores per voxel, d² being its squared distance.
enum class CappedOutput {
    SquaredDistance, ///< d² when d² <= radius², else 255
    WithinRadius,    ///< 1 when d² <= radius², else 0
    BeyondRadius,    ///< 1 when d² > radius², else 0
};

/// Squared Euclidean distance (voxel units) from every voxel to the nearest source voxel, exact up to
/// radius², on bytes: the sources are the voxels where (mask != 0) == sourcesAreForeground, and each
/// voxel of `values` receives `output`; `values` may be `mask` itself. With `outsideIsSource` the voxels
/// beyond the border count as sources. A volume with dims.z() == 1 is treated as 2-D.
///
/// Method: the separable transform with each one-dimensional minimisation restricted to ±radius voxels.
/// A term from farther away already exceeds radius², so every result up to radius² is exact. Cost
/// O(voxels * radius) byte operations that vectorise along x; one plane of working memory per thread;
/// OpenMP over planes and rows. radius must lie in 1..15, so that radius² stays below 255, the value
/// for "farther"; inputs are not validated here.
void cappedSquaredDistances(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                            int radius, bool outsideIsSource, CappedOutput output, std::uint8_t* values);

} // namespace Tarnwick::ImageOps
