#include <TarnwickLib/Image/MemImage.h>

#include <TarnwickLib/Image/TypedImage.h>

#include <cmath>
#include <stdexcept>

namespace Tarnwick {

MemImage::MemImage(const ImageDescriptor& descriptor) : m_descriptor(descriptor) {
    std::string error = descriptor.validationError();
    if (!error.empty())
        throw std::invalid_argument("cannot create image: " + error);
}

std::unique_ptr<MemImage> MemImage::create(const ImageDescriptor& descriptor) {
    if (!isValidPixelType(static_cast<int>(descriptor.pixelType)))
        throw std::invalid_argument("cannot create image: " + descriptor.validationError());
    return dispatchPixelType(descriptor.pixelType, [&](auto tag) -> std::unique_ptr<MemImage> {
        return TypedImage<typename decltype(tag)::type>::create(descriptor);
    });
}

void MemImage::setSpacing(const Eigen::Vector3d& spacing) {
    for (int i = 0; i < 3; ++i)
        if (!std::isfinite(spacing[i]) || spacing[i] <= 0)
            throw std::invalid_argument("spacing must be finite and positive");
    m_descriptor.spacing = spacing;
}

} // namespace Tarnwick
