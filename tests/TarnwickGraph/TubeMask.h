#pragma once

#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/Core>

#include <cmath>
#include <memory>

namespace Tarnwick::Test {

/// A tube of radius 1 mm around the image's x axis (through the volume centre), as `T` values `inside`
/// on a 60 x 40 x 20 grid of spacing (0.1, 0.1, 0.3) mm placed by `placement`.
template <typename T>
std::shared_ptr<SharedImage> tubeMask(T inside, const Eigen::Matrix4d& placement) {
    const Eigen::Vector3i dims(60, 40, 20);
    const Eigen::Vector3d spacing(0.1, 0.1, 0.3);
    auto values = TypedImage<T>::create(ImageDescriptor(pixelTypeOf<T>(), dims, 1, spacing));
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 5; x < dims.x() - 5; ++x) {
                const double dy = (y - (dims.y() - 1) / 2.0) * spacing.y();
                const double dz = (z - (dims.z() - 1) / 2.0) * spacing.z();
                values->setValue(x, y, z, std::hypot(dy, dz) <= 1.0 ? inside : T(0));
            }
    return std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(values)), placement);
}

} // namespace Tarnwick::Test
