#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <vector>

namespace Tarnwick::Bench {

/// The synthetic vessel mask of size^3 voxels with seed 1, generated once per process and kept, so that
/// benchmarks do not time its generation.
const std::vector<std::uint8_t>& cachedVesselMask(int size);

/// A buffer of `count` values with every page already written, so that first-touch page faults do not
/// land in the timed loop (the caller of an image operation owns its output image).
template <typename T>
std::vector<T> touchedBuffer(std::size_t count) {
    return std::vector<T>(count, T(1));
}

} // namespace Tarnwick::Bench
