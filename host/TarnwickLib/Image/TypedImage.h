#pragma once

#include <TarnwickLib/Image/MemImage.h>

#include <memory>

namespace Tarnwick {

/// An image in CPU memory with values of type T (one of the eight pixel types: char, unsigned char,
/// short, unsigned short, int, unsigned int, float, double). The buffer is either owned by the image
/// or borrowed from the caller (see MemImage::Ownership).
///
/// value()/setValue() do not check their arguments: indices must lie inside the image.
template <typename T>
class TypedImage final : public MemImage {
public:
    using ValueType = T;

    /// An image over `buffer`, which holds descriptor.numValues() values. Throws std::invalid_argument
    /// when the descriptor is invalid, its pixel type is not T's, or the buffer is null.
    static std::unique_ptr<TypedImage> create(const ImageDescriptor& descriptor, T* buffer, Ownership ownership);
    /// A zero-filled image with the descriptor's dimensions, channels and spacing; the descriptor's
    /// pixel type is ignored (it becomes T's). Throws std::invalid_argument when the shape is invalid.
    static std::unique_ptr<TypedImage> create(const ImageDescriptor& descriptor);
    /// Like create(descriptor) but the values are left indeterminate and the memory is not touched,
    /// for callers that overwrite every value (readers, operations writing a full output).
    static std::unique_ptr<TypedImage> uninitialized(const ImageDescriptor& descriptor);
    /// A zero-filled image with spacing 1. Throws std::invalid_argument for non-positive sizes.
    static std::unique_ptr<TypedImage> zeros(const Eigen::Vector3i& dimensions, int channels = 1);

    T* pointer() { return m_data; }
    const T* pointer() const { return m_data; }
    void* data() override { return m_data; }
    const void* data() const override { return m_data; }

    T value(int x, int y, int z, int channel = 0) const { return m_data[descriptor().index(x, y, z) + channel]; }
    void setValue(int x, int y, int z, T value, int channel = 0) {
        m_data[descriptor().index(x, y, z) + channel] = value;
    }

    std::unique_ptr<MemImage> clone() const override { return cloneTyped(); }
    /// Deep copy that keeps the static type.
    std::unique_ptr<TypedImage> cloneTyped() const;

    std::pair<double, double> minMax() const override;

    /// Value of `channel` at a fractional pixel coordinate, interpolated trilinearly from the eight
    /// surrounding voxel centres (bilinearly from four in a 2-D image, where the z coordinate only
    /// selects inside/outside).
    ///
    /// Outside the image: a coordinate within half a voxel past the border voxel centre along every
    /// axis (-0.5 <= p <= n - 0.5) is clamped to the border, so the border value extends to the edge
    /// of the volume; any coordinate farther out (or NaN) gives 0.
    double interpolatedValue(const Eigen::Vector3d& pixel, int channel = 0) const;

private:
    /// Restricts construction to the factories while letting them use std::make_unique.
    struct Key {
        explicit Key() = default;
    };

public:
    TypedImage(Key, const ImageDescriptor& descriptor, T* data, std::unique_ptr<T[]> owned);

private:
    /// Validates the shape (throwing std::invalid_argument) before allocating owned memory.
    static std::unique_ptr<TypedImage> allocate(const ImageDescriptor& descriptor, bool zeroFill);

    std::unique_ptr<T[]> m_owned;
    T* m_data = nullptr;
};

extern template class TypedImage<char>;
extern template class TypedImage<unsigned char>;
extern template class TypedImage<short>;
extern template class TypedImage<unsigned short>;
extern template class TypedImage<int>;
extern template class TypedImage<unsigned int>;
extern template class TypedImage<float>;
extern template class TypedImage<double>;

} // namespace Tarnwick
