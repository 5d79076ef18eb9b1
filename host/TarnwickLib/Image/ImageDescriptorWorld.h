#pragma once

#include <TarnwickLib/Image/ImageDescriptor.h>

#include <Eigen/Core>

namespace Tarnwick {

/// An image shape placed in world space: the descriptor plus the image-to-world matrix.
///
/// `matrixToWorld` maps image coordinates (millimetres, origin at the volume centre, see
/// ImageDescriptor) to world coordinates (millimetres, LPS). For a file with origin o, direction D
/// and spacing s it is [D, o + D * diag(s) * (dimensions - 1) / 2; 0 0 0 1].
struct ImageDescriptorWorld {
    ImageDescriptor descriptor;
    Eigen::Matrix4d matrixToWorld = Eigen::Matrix4d::Identity();

    ImageDescriptorWorld() = default;
    ImageDescriptorWorld(const ImageDescriptor& descriptor, const Eigen::Matrix4d& matrixToWorld)
        : descriptor(descriptor), matrixToWorld(matrixToWorld) {}

    Eigen::Matrix4d pixelToImageMatrix() const { return descriptor.pixelToImageMatrix(); }
    Eigen::Matrix4d imageToPixelMatrix() const { return descriptor.imageToPixelMatrix(); }
    /// matrixToWorld * pixelToImageMatrix.
    Eigen::Matrix4d pixelToWorldMatrix() const;
    /// Inverse of pixelToWorldMatrix (matrixToWorld must be invertible).
    Eigen::Matrix4d worldToPixelMatrix() const;

    /// World position of a (fractional) pixel coordinate.
    Eigen::Vector3d pixelToWorld(const Eigen::Vector3d& pixel) const;
    /// Pixel coordinate of a world position.
    Eigen::Vector3d worldToPixel(const Eigen::Vector3d& world) const;
};

} // namespace Tarnwick
