#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <random>
#include <vector>

namespace Tarnwick::Test {

/// A small binary volume for tests: dims and 0/1 voxels, x fastest.
struct MaskVolume {
    Eigen::Vector3i dims = Eigen::Vector3i::Ones();
    std::vector<std::uint8_t> voxels;

    MaskVolume() = default;
    explicit MaskVolume(const Eigen::Vector3i& size) : dims(size), voxels(static_cast<std::size_t>(size.prod()), 0) {}

    bool inside(int x, int y, int z) const {
        return x >= 0 && y >= 0 && z >= 0 && x < dims.x() && y < dims.y() && z < dims.z();
    }
    std::size_t index(int x, int y, int z) const { return (static_cast<std::size_t>(z) * dims.y() + y) * dims.x() + x; }
    /// Value at (x, y, z); 0 outside the volume.
    std::uint8_t at(int x, int y, int z) const { return inside(x, y, z) ? voxels[index(x, y, z)] : 0; }
    void set(int x, int y, int z, std::uint8_t value = 1) { voxels[index(x, y, z)] = value; }
    std::size_t count() const;
};

/// Random blobs: independent voxels with probability `density`, then each voxel takes the majority of its
/// 3x3x3 neighbourhood `smoothing` times. Density near 0.5 and little smoothing give intricate topology.
MaskVolume randomBlobs(const Eigen::Vector3i& dims, double density, int smoothing, std::mt19937& random);

/// Voxels whose centre lies within `radius` of the segment a-b.
MaskVolume capsule(const Eigen::Vector3i& dims, const Eigen::Vector3d& a, const Eigen::Vector3d& b, double radius);

} // namespace Tarnwick::Test
