#include "support/TubeImages.h"

#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <functional>

namespace Tarnwick::Test {

namespace {

double distanceToSegment(const Eigen::Vector3d& p, const TubeSegment& tube) {
    const Eigen::Vector3d axis = tube.b - tube.a;
    const double squared = axis.squaredNorm();
    const double t = squared > 0.0 ? std::clamp((p - tube.a).dot(axis) / squared, 0.0, 1.0) : 0.0;
    return (tube.a + t * axis - p).norm();
}

/// For every voxel near a tube: value = max(value, voxelValue(radius, distance to the axis)).
std::vector<float> rasterize(const std::vector<TubeSegment>& tubes, const ImageDescriptorWorld& frame,
                             const std::function<float(double, double)>& voxelValue) {
    const ImageDescriptor& descriptor = frame.descriptor;
    const Eigen::Vector3i& dims = descriptor.dimensions;
    std::vector<float> values(descriptor.numPixels(), 0.0f);
    const Eigen::Matrix4d toPixel = frame.worldToPixelMatrix();
    const Eigen::Matrix4d toWorld = frame.pixelToWorldMatrix();
    for (const TubeSegment& tube : tubes) {
        const Eigen::Vector3d pa = (toPixel * tube.a.homogeneous()).head<3>();
        const Eigen::Vector3d pb = (toPixel * tube.b.homogeneous()).head<3>();
        const double reach = tube.radius / descriptor.spacing.minCoeff() + 1.0;
        const Eigen::Vector3i lo = (pa.cwiseMin(pb).array() - reach).floor().cast<int>().max(0);
        const Eigen::Vector3i hi = (pa.cwiseMax(pb).array() + reach).ceil().cast<int>().min((dims.array() - 1));
        for (int z = lo.z(); z <= hi.z(); ++z)
            for (int y = lo.y(); y <= hi.y(); ++y)
                for (int x = lo.x(); x <= hi.x(); ++x) {
                    const Eigen::Vector3d world = (toWorld * Eigen::Vector4d(x, y, z, 1.0)).head<3>();
                    float& value = values[(static_cast<std::size_t>(z) * dims.y() + y) * dims.x() + x];
                    value = std::max(value, voxelValue(tube.radius, distanceToSegment(world, tube)));
                }
    }
    return values;
}

std::shared_ptr<SharedImage> imageFrom(const std::vector<float>& values, const ImageDescriptorWorld& frame) {
    ImageDescriptor descriptor = frame.descriptor;
    descriptor.channels = 1;
    std::shared_ptr<MemImage> mem = MemImage::create(descriptor);
    dispatchPixelType(descriptor.pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        std::transform(values.begin(), values.end(), static_cast<TypedImage<T>&>(*mem).pointer(),
                       [](float v) { return static_cast<T>(v); });
    });
    return std::make_shared<SharedImage>(mem, frame.matrixToWorld);
}

} // namespace

std::vector<TubeSegment> tubeAlong(const std::vector<Eigen::Vector3d>& polyline, double radius) {
    std::vector<TubeSegment> tubes;
    for (std::size_t i = 1; i < polyline.size(); ++i)
        tubes.push_back({polyline[i - 1], polyline[i], radius});
    return tubes;
}

std::shared_ptr<SharedImage> tubeLabelImage(const std::vector<TubeSegment>& tubes, const ImageDescriptorWorld& frame) {
    return imageFrom(
        rasterize(tubes, frame, [](double radius, double distance) { return distance <= radius ? 1.0f : 0.0f; }),
        frame);
}

std::shared_ptr<SharedImage> tubeDistanceImage(const std::vector<TubeSegment>& tubes,
                                               const ImageDescriptorWorld& frame) {
    const std::vector<float> values = rasterize(tubes, frame, [](double radius, double distance) {
        return static_cast<float>(std::max(0.0, radius - distance));
    });
    ImageDescriptorWorld floatFrame = frame;
    floatFrame.descriptor.pixelType = PixelType::Float;
    return imageFrom(values, floatFrame);
}

} // namespace Tarnwick::Test
