#pragma once

#include <TarnwickLib/Image/ImageDescriptor.h>

#include <memory>
#include <utility>

namespace Tarnwick {

/// An image in CPU memory whose pixel type is known only at run time; TypedImage<T> is the one
/// implementation per pixel type. Use `descriptor().pixelType` with dispatchPixelType, or
/// dynamic_cast / SharedImage::typed<T>(), to reach the values.
///
/// Images are not copyable; clone() makes a deep copy.
class MemImage {
public:
    /// How TypedImage::create treats the buffer it is given.
    enum class Ownership {
        Borrow, ///< use the caller's buffer, which must outlive the image
        Copy,   ///< copy the buffer into memory owned by the image
        Take,   ///< take over a buffer allocated with new T[] and delete[] it on destruction
    };

    virtual ~MemImage() = default;
    MemImage(const MemImage&) = delete;
    MemImage& operator=(const MemImage&) = delete;

    /// A zero-filled image of the descriptor's pixel type, dimensions, channels and spacing.
    /// Throws std::invalid_argument when the descriptor is not valid.
    static std::unique_ptr<MemImage> create(const ImageDescriptor& descriptor);

    const ImageDescriptor& descriptor() const { return m_descriptor; }
    PixelType pixelType() const { return m_descriptor.pixelType; }
    const Eigen::Vector3i& dimensions() const { return m_descriptor.dimensions; }
    int channels() const { return m_descriptor.channels; }
    const Eigen::Vector3d& spacing() const { return m_descriptor.spacing; }
    /// Changes the voxel size; throws std::invalid_argument unless every component is finite and > 0.
    void setSpacing(const Eigen::Vector3d& spacing);

    /// The value buffer (descriptor().byteSize() bytes, layout as in ImageDescriptor).
    virtual void* data() = 0;
    virtual const void* data() const = 0;
    /// Deep copy with its own memory (also when this image borrows its buffer).
    virtual std::unique_ptr<MemImage> clone() const = 0;

    /// Smallest and largest value over all voxels and channels, as doubles. NaN values are ignored;
    /// when every value is NaN the result is (+inf, -inf). One pass over the buffer.
    virtual std::pair<double, double> minMax() const = 0;
    double minValue() const { return minMax().first; }
    double maxValue() const { return minMax().second; }

protected:
    /// Throws std::invalid_argument when the descriptor is not valid.
    explicit MemImage(const ImageDescriptor& descriptor);

private:
    ImageDescriptor m_descriptor;
};

} // namespace Tarnwick
