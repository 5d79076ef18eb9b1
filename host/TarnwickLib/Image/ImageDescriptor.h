#pragma once

#include <TarnwickLib/Image/PixelType.h>

#include <Eigen/Core>

#include <cstddef>
#include <string>

namespace Tarnwick {

/// Shape of an image in memory: pixel type, dimensions, interleaved channels and voxel spacing.
///
/// Voxels are stored x fastest, then y, then z, with the channels of a voxel next to each other.
/// A 2-D image has dimensions.z() == 1.
///
/// Coordinate frames:
/// - pixel coordinates: voxel centres at integer indices 0 .. n-1 along each axis;
/// - image coordinates: millimetres along the voxel axes with the origin at the centre of the volume,
///   image = spacing * (pixel - (dimensions - 1) / 2) per axis. For a 2-D image the z term is 0.
struct ImageDescriptor {
    PixelType pixelType = PixelType::UInt8;
    Eigen::Vector3i dimensions = Eigen::Vector3i::Zero();
    int channels = 1;
    /// Voxel size in millimetres.
    Eigen::Vector3d spacing = Eigen::Vector3d::Ones();

    ImageDescriptor() = default;
    ImageDescriptor(PixelType type, const Eigen::Vector3i& dimensions, int channels = 1,
                    const Eigen::Vector3d& spacing = Eigen::Vector3d::Ones());

    /// Size of the volume in millimetres: dimensions * spacing per axis.
    Eigen::Vector3d extent() const;
    /// Number of voxels (channels not counted); 0 when a dimension is not positive.
    std::size_t numPixels() const;
    /// Number of stored values: numPixels() * channels.
    std::size_t numValues() const;
    /// Bytes of the pixel buffer: numValues() * size of the pixel type.
    std::size_t byteSize() const;
    bool is2D() const { return dimensions.z() == 1; }

    /// True when the pixel type is valid, every dimension and the channel count are at least 1,
    /// every spacing is finite and positive, and byteSize() does not overflow.
    bool isValid() const;
    /// Why isValid() is false (for error messages); empty when the descriptor is valid.
    std::string validationError() const;

    /// Linear index of the first channel of voxel (x, y, z) in the value buffer.
    std::size_t index(int x, int y, int z) const {
        return ((static_cast<std::size_t>(z) * dimensions.y() + y) * dimensions.x() + x) * channels;
    }

    /// Homogeneous 4x4 maps between pixel and image coordinates (see above).
    Eigen::Matrix4d pixelToImageMatrix() const;
    Eigen::Matrix4d imageToPixelMatrix() const;

    bool operator==(const ImageDescriptor& other) const;
    bool operator!=(const ImageDescriptor& other) const { return !(*this == other); }

    /// "uint8 64x64x32 x1 spacing 0.5x0.5x1": for logs and messages.
    std::string describe() const;
};

} // namespace Tarnwick
