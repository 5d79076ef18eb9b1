#pragma once

#include <TarnwickLib/Image/SharedImageSet.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Tarnwick::Test {

/// A single-channel uint8 mask with reproducible random 0/1 voxels (about `density` of them 1).
std::unique_ptr<TypedImage<unsigned char>> randomMask(const Eigen::Vector3i& dimensions, double density,
                                                      std::uint32_t seed, const Eigen::Vector3d& spacing = {1, 1, 1});

/// A set holding `mem` as its one image, with `matrix` and `modality`.
std::unique_ptr<SharedImageSet> singleImageSet(std::unique_ptr<MemImage> mem,
                                               const Eigen::Matrix4d& matrix = Eigen::Matrix4d::Identity(),
                                               Data::Modality modality = Data::NA);

/// The values of a single-channel image converted to double, in memory order.
std::vector<double> valuesOf(const MemImage& image);

} // namespace Tarnwick::Test
