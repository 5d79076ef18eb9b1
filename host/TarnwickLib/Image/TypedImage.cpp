#include <TarnwickLib/Image/TypedImage.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Tarnwick {

template <typename T>
TypedImage<T>::TypedImage(Key, const ImageDescriptor& descriptor, T* data, std::unique_ptr<T[]> owned)
    : MemImage(descriptor), m_owned(std::move(owned)), m_data(data) {}

template <typename T>
std::unique_ptr<TypedImage<T>> TypedImage<T>::create(const ImageDescriptor& descriptor, T* buffer,
                                                     Ownership ownership) {
    if (descriptor.pixelType != pixelTypeOf<T>())
        throw std::invalid_argument(std::string("cannot create image: descriptor pixel type is ") +
                                    pixelTypeName(descriptor.pixelType) + ", buffer type is " +
                                    pixelTypeName(pixelTypeOf<T>()));
    if (!buffer)
        throw std::invalid_argument("cannot create image: null buffer");
    std::string error = descriptor.validationError();
    if (!error.empty())
        throw std::invalid_argument("cannot create image: " + error);

    switch (ownership) {
    case Ownership::Borrow:
        return std::make_unique<TypedImage>(Key{}, descriptor, buffer, nullptr);
    case Ownership::Take:
        return std::make_unique<TypedImage>(Key{}, descriptor, buffer, std::unique_ptr<T[]>(buffer));
    case Ownership::Copy:
        break;
    }
    auto image = create(descriptor);
    std::copy(buffer, buffer + descriptor.numValues(), image->m_data);
    return image;
}

template <typename T>
std::unique_ptr<TypedImage<T>> TypedImage<T>::allocate(const ImageDescriptor& descriptor, bool zeroFill) {
    ImageDescriptor typed = descriptor;
    typed.pixelType = pixelTypeOf<T>();
    std::string error = typed.validationError();
    if (!error.empty())
        throw std::invalid_argument("cannot create image: " + error);
    const std::size_t n = typed.numValues();
    // Default-initialised new[] leaves the pages untouched (C++17 has no make_unique_for_overwrite).
    std::unique_ptr<T[]> owned = zeroFill ? std::make_unique<T[]>(n) : std::unique_ptr<T[]>(new T[n]);
    T* data = owned.get();
    return std::make_unique<TypedImage>(Key{}, typed, data, std::move(owned));
}

template <typename T>
std::unique_ptr<TypedImage<T>> TypedImage<T>::create(const ImageDescriptor& descriptor) {
    return allocate(descriptor, true);
}

template <typename T>
std::unique_ptr<TypedImage<T>> TypedImage<T>::uninitialized(const ImageDescriptor& descriptor) {
    return allocate(descriptor, false);
}

template <typename T>
std::unique_ptr<TypedImage<T>> TypedImage<T>::zeros(const Eigen::Vector3i& dimensions, int channels) {
    return create(ImageDescriptor(pixelTypeOf<T>(), dimensions, channels));
}

template <typename T>
std::unique_ptr<TypedImage<T>> TypedImage<T>::cloneTyped() const {
    return create(descriptor(), m_data, Ownership::Copy);
}

template <typename T>
std::pair<double, double> TypedImage<T>::minMax() const {
    double lo = std::numeric_limits<double>::infinity();
    double hi = -std::numeric_limits<double>::infinity();
    const std::size_t n = descriptor().numValues();
    for (std::size_t i = 0; i < n; ++i) {
        const double v = static_cast<double>(m_data[i]);
        if (v < lo)
            lo = v;
        if (v > hi)
            hi = v;
    }
    return {lo, hi};
}

template <typename T>
double TypedImage<T>::interpolatedValue(const Eigen::Vector3d& pixel, int channel) const {
    const Eigen::Vector3i& dims = dimensions();
    int lower[3], upper[3];
    double fraction[3];
    for (int axis = 0; axis < 3; ++axis) {
        const double p = pixel[axis];
        // The negated test also rejects NaN.
        if (!(p >= -0.5 && p <= dims[axis] - 0.5))
            return 0.0;
        const double clamped = std::clamp(p, 0.0, static_cast<double>(dims[axis] - 1));
        lower[axis] = static_cast<int>(std::floor(clamped));
        upper[axis] = std::min(lower[axis] + 1, dims[axis] - 1);
        fraction[axis] = clamped - lower[axis];
    }

    double result = 0.0;
    for (int corner = 0; corner < 8; ++corner) {
        double weight = 1.0;
        int index[3];
        for (int axis = 0; axis < 3; ++axis) {
            const bool high = (corner >> axis) & 1;
            weight *= high ? fraction[axis] : 1.0 - fraction[axis];
            index[axis] = high ? upper[axis] : lower[axis];
        }
        if (weight != 0.0)
            result += weight * static_cast<double>(value(index[0], index[1], index[2], channel));
    }
    return result;
}

template class TypedImage<char>;
template class TypedImage<unsigned char>;
template class TypedImage<short>;
template class TypedImage<unsigned short>;
template class TypedImage<int>;
template class TypedImage<unsigned int>;
template class TypedImage<float>;
template class TypedImage<double>;

} // namespace Tarnwick
