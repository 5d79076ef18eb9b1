#pragma once

#include <Eigen/Core>

#include <cstdint>

namespace Tarnwick::ImageOps {

struct SquaredDistanceOptions {
    /// Step lengths along x, y and z (voxel units: all 1).
    Eigen::Vector3d spacing = Eigen::Vector3d::Ones();
    /// Whether the voxels beyond the volume border count as sources.
    bool outsideIsSource = false;
    /// Store distances rather than squared distances.
    bool root = false;
};

/// Exact squared Euclidean distance from every voxel centre to the nearest source voxel centre.
///
/// Sources are the voxels where (mask != 0) == sourcesAreForeground. `values` (dims.prod() floats,
/// x fastest) receives 0 at sources and the squared distance (or the distance, with options.root) at
/// every other voxel, +inf when there is no source at all. A volume with dims.z() == 1 is treated as 2-D.
///
/// Method: separable lower envelopes of parabolas (Felzenszwalb and Huttenlocher, "Distance transforms
/// of sampled functions", 2012), one pass per axis. The mask tells each line's runs of non-sources apart;
/// only those runs are read and written, each with the sources right next to it, because no source
/// beyond the nearest one on either side can be closer. Cost O(voxels); OpenMP over planes and rows.
/// Inputs are not validated here.
void squaredDistances(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                      const SquaredDistanceOptions& options, float* values);

} // namespace Tarnwick::ImageOps
