#include <TarnwickLib/Image/ImageDescriptor.h>

#include <fmt/format.h>

#include <cmath>

namespace Tarnwick {

namespace {

/// numValues() * pixel size, or false when the product does not fit in size_t.
bool checkedByteSize(const ImageDescriptor& d, std::size_t& bytes) {
    bytes = pixelTypeSize(d.pixelType);
    for (int i = 0; i < 3; ++i)
        if (__builtin_mul_overflow(bytes, static_cast<std::size_t>(d.dimensions[i]), &bytes))
            return false;
    return !__builtin_mul_overflow(bytes, static_cast<std::size_t>(d.channels), &bytes);
}

} // namespace

ImageDescriptor::ImageDescriptor(PixelType type, const Eigen::Vector3i& dimensions, int channels,
                                 const Eigen::Vector3d& spacing)
    : pixelType(type), dimensions(dimensions), channels(channels), spacing(spacing) {}

Eigen::Vector3d ImageDescriptor::extent() const {
    return dimensions.cast<double>().cwiseProduct(spacing);
}

std::size_t ImageDescriptor::numPixels() const {
    if ((dimensions.array() <= 0).any())
        return 0;
    return static_cast<std::size_t>(dimensions.x()) * dimensions.y() * dimensions.z();
}

std::size_t ImageDescriptor::numValues() const {
    return channels > 0 ? numPixels() * channels : 0;
}

std::size_t ImageDescriptor::byteSize() const {
    return numValues() * pixelTypeSize(pixelType);
}

bool ImageDescriptor::isValid() const {
    return validationError().empty();
}

std::string ImageDescriptor::validationError() const {
    if (!isValidPixelType(static_cast<int>(pixelType)))
        return fmt::format("invalid pixel type code {}", static_cast<int>(pixelType));
    if ((dimensions.array() < 1).any())
        return fmt::format("invalid dimensions {}x{}x{}", dimensions.x(), dimensions.y(), dimensions.z());
    if (channels < 1)
        return fmt::format("invalid channel count {}", channels);
    for (int i = 0; i < 3; ++i)
        if (!std::isfinite(spacing[i]) || spacing[i] <= 0)
            return fmt::format("invalid spacing {}x{}x{}", spacing.x(), spacing.y(), spacing.z());
    std::size_t bytes = 0;
    if (!checkedByteSize(*this, bytes))
        return "image size overflows the address space";
    return {};
}

Eigen::Matrix4d ImageDescriptor::pixelToImageMatrix() const {
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    for (int i = 0; i < 3; ++i) {
        m(i, i) = spacing[i];
        m(i, 3) = -spacing[i] * (dimensions[i] - 1) / 2.0;
    }
    return m;
}

Eigen::Matrix4d ImageDescriptor::imageToPixelMatrix() const {
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    for (int i = 0; i < 3; ++i) {
        m(i, i) = 1.0 / spacing[i];
        m(i, 3) = (dimensions[i] - 1) / 2.0;
    }
    return m;
}

bool ImageDescriptor::operator==(const ImageDescriptor& other) const {
    return pixelType == other.pixelType && dimensions == other.dimensions && channels == other.channels &&
           spacing == other.spacing;
}

std::string ImageDescriptor::describe() const {
    return fmt::format("{} {}x{}x{} x{} spacing {}x{}x{}", pixelTypeName(pixelType), dimensions.x(), dimensions.y(),
                       dimensions.z(), channels, spacing.x(), spacing.y(), spacing.z());
}

} // namespace Tarnwick
