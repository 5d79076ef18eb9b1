#pragma once

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Tarnwick::ImageOps {

/// Largest number of values (voxels times channels) an image operation accepts. Larger requests are
/// refused with an error instead of attempting an allocation the machine cannot satisfy.
constexpr std::uint64_t kMaxValueCount = std::uint64_t(1) << 32;

/// Longest axis an image operation accepts: the distance transforms' row scans add the row length to
/// a 2^30 sentinel in int arithmetic, which longer rows would overflow.
constexpr int kMaxAxisLength = (1 << 30) - 1;

/// Checks the raw description of a volume at the entry of an image operation: `data` is not null,
/// every dimension and the channel count are at least 1, no dimension exceeds kMaxAxisLength, and dims.prod() * channels does not exceed
/// kMaxValueCount. On failure logs "<operation>: <reason>" as an error and returns false.
bool validateVolume(std::string_view operation, const void* data, const Eigen::Vector3i& dims, int channels = 1);

/// Checks that every spacing component is finite and positive; logs "<operation>: <reason>" otherwise.
bool validateSpacing(std::string_view operation, const Eigen::Vector3d& spacing);

/// Number of voxels of a volume whose dimensions passed validateVolume().
inline std::size_t voxelCount(const Eigen::Vector3i& dims) {
    return static_cast<std::size_t>(dims.x()) * static_cast<std::size_t>(dims.y()) * static_cast<std::size_t>(dims.z());
}

} // namespace Tarnwick::ImageOps
