#pragma once

#include <TarnwickLib/Image/MemImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Tarnwick::Test {

/// An image of any pixel type filled with reproducible pseudo-random values spanning the type's
/// range (integers) or [-1e6, 1e6] (floating point), so byte-exact comparisons catch swapped,
/// truncated or converted values.
std::unique_ptr<MemImage> randomImage(PixelType type, const Eigen::Vector3i& dimensions, int channels = 1,
                                      std::uint32_t seed = 1);

/// A rigid placement with a rotation about a skewed axis and a non-zero translation.
Eigen::Matrix4d obliquePlacement(double angle = 0.7, const Eigen::Vector3d& translation = {-12.5, 40.25, 3.0});

/// True when both images have the same pixel type, dimensions and channels and identical bytes
/// (spacing is not compared).
bool sameValues(const MemImage& a, const MemImage& b);

} // namespace Tarnwick::Test
