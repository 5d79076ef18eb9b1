#pragma once

#include <TarnwickLib/Image/ImageDescriptorWorld.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/Core>

#include <memory>
#include <vector>

namespace Tarnwick::Test {

/// A straight piece of tube: the points within `radius` of the segment [a, b] (world millimetres).
struct TubeSegment {
    Eigen::Vector3d a;
    Eigen::Vector3d b;
    double radius;
};

/// Segments of constant radius along a polyline (consecutive points joined).
std::vector<TubeSegment> tubeAlong(const std::vector<Eigen::Vector3d>& polyline, double radius);

/// A one-channel label image of the frame's pixel type: 1 in every voxel whose centre lies inside one of the
/// tubes, 0 elsewhere.
std::shared_ptr<SharedImage> tubeLabelImage(const std::vector<TubeSegment>& tubes, const ImageDescriptorWorld& frame);

/// A one-channel float image on `frame` holding, for every voxel centre, the largest (radius - distance to the axis)
/// over the tubes, or 0 outside them: the distance to the boundary inside a single tube and a lower bound
/// of it where tubes overlap.
std::shared_ptr<SharedImage> tubeDistanceImage(const std::vector<TubeSegment>& tubes,
                                               const ImageDescriptorWorld& frame);

} // namespace Tarnwick::Test
