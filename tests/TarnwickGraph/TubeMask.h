#pragma once

#include "support/TubeImages.h"

#include <Eigen/Geometry>

#include <memory>

namespace Tarnwick::Test {

/// The small vessel of the smoothing, resampling and spanning-tree tests: a tube of radius 1 mm around
/// the image x axis from x = -2.45 to 2.45 mm, on a 60 x 40 x 20 grid of spacing (0.1, 0.1, 0.3) mm placed
/// by `placement`, as a label image of pixel type `type` (1 inside, 0 outside; all 0 without the tube).
inline std::shared_ptr<SharedImage> tubeMask(PixelType type, const Eigen::Matrix4d& placement, bool withTube = true) {
    const ImageDescriptorWorld frame(ImageDescriptor(type, {60, 40, 20}, 1, {0.1, 0.1, 0.3}), placement);
    const Eigen::Vector3d a = (placement * Eigen::Vector4d(-2.45, 0, 0, 1)).head<3>();
    const Eigen::Vector3d b = (placement * Eigen::Vector4d(2.45, 0, 0, 1)).head<3>();
    return tubeLabelImage(withTube ? std::vector<TubeSegment>{{a, b, 1.0}} : std::vector<TubeSegment>{}, frame);
}

} // namespace Tarnwick::Test
