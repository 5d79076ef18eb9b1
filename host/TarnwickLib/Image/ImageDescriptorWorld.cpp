#include <TarnwickLib/Image/ImageDescriptorWorld.h>

#include <Eigen/Geometry>
#include <Eigen/LU>

namespace Tarnwick {

Eigen::Matrix4d ImageDescriptorWorld::pixelToWorldMatrix() const {
    return matrixToWorld * descriptor.pixelToImageMatrix();
}

Eigen::Matrix4d ImageDescriptorWorld::worldToPixelMatrix() const {
    return descriptor.imageToPixelMatrix() * matrixToWorld.inverse();
}

Eigen::Vector3d ImageDescriptorWorld::pixelToWorld(const Eigen::Vector3d& pixel) const {
    return (pixelToWorldMatrix() * pixel.homogeneous()).hnormalized();
}

Eigen::Vector3d ImageDescriptorWorld::worldToPixel(const Eigen::Vector3d& world) const {
    return (worldToPixelMatrix() * world.homogeneous()).hnormalized();
}

} // namespace Tarnwick
