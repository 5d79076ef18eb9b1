#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <vector>

namespace Tarnwick::Bench {

/// Shape of a synthetic vessel mask.
struct VesselMaskOptions {
    Eigen::Vector3i dims{128, 128, 128};
    std::uint32_t seed = 1;
    /// Radius range of the tubes in voxels: trees start at maxRadius and branches thin down to minRadius.
    double minRadius = 1.0;
    double maxRadius = 10.0;
};

/// A binary (0/1) mask of random branching tubes, x fastest then y then z: a few trees, each a random
/// walk with persistent direction that spawns thinner side branches. The same options always give the
/// same mask. Vessels stay clear of the volume border. Typically 2-5 % of the voxels are foreground.
std::vector<std::uint8_t> generateVesselMask(const VesselMaskOptions& options);

} // namespace Tarnwick::Bench
