#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <limits>

namespace Tarnwick::ImageOps {

/// What the last pass of squaredDistances() stores for a voxel whose squared distance is d².
enum class DistanceOutput {
    Squared,   ///< d²
    Root,      ///< d
    WithinCap, ///< 1 when d² <= cap, else 0
    BeyondCap, ///< 1 when d² > cap, else 0
};

struct SquaredDistanceOptions {
    /// Step lengths along x, y and z (voxel units: all 1).
    Eigen::Vector3d spacing = Eigen::Vector3d::Ones();
    /// Whether the voxels beyond the volume border count as sources.
    bool outsideIsSource = false;
    /// Squared distances above the cap may be treated as "far" (no source within reach), which lets
    /// lines without nearby sources be skipped. With uint8 values the cap must be at most 254.
    double cap = std::numeric_limits<double>::infinity();
    DistanceOutput output = DistanceOutput::Squared;
};

/// Exact squared Euclidean distance from every voxel centre to the nearest source voxel centre.
///
/// Sources are the voxels where (mask != 0) == sourcesAreForeground. `values` (dims.prod() entries,
/// x fastest) receives, for each voxel, options.output of its squared distance: 0 at sources; "far"
/// (+inf for float, 255 for uint8) where no source lies within the cap. For uint8 values the spacing
/// must be integral so that squared distances are exact integers. `mask` may alias `values` for uint8.
///
/// Method: separable lower envelopes of parabolas (Felzenszwalb and Huttenlocher, "Distance transforms
/// of sampled functions", 2012), one pass per axis; each line is split at its sources, because no
/// source beyond the nearest one on either side can be closer. Cost O(voxels); OpenMP over lines.
/// A volume with dims.z() == 1 is treated as 2-D. Inputs are not validated here.
template <typename T>
void squaredDistances(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                      const SquaredDistanceOptions& options, T* values);

extern template void squaredDistances<float>(const std::uint8_t*, bool, const Eigen::Vector3i&,
                                             const SquaredDistanceOptions&, float*);
extern template void squaredDistances<std::uint8_t>(const std::uint8_t*, bool, const Eigen::Vector3i&,
                                                    const SquaredDistanceOptions&, std::uint8_t*);

} // namespace Tarnwick::ImageOps
