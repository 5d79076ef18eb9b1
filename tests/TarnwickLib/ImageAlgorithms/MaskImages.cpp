#include "MaskImages.h"

#include <random>

namespace Tarnwick::Test {

std::unique_ptr<TypedImage<unsigned char>> randomMask(const Eigen::Vector3i& dimensions, double density,
                                                      std::uint32_t seed, const Eigen::Vector3d& spacing) {
    auto mask = TypedImage<unsigned char>::create(ImageDescriptor(PixelType::UInt8, dimensions, 1, spacing));
    std::mt19937 random(seed);
    std::bernoulli_distribution foreground(density);
    for (std::size_t i = 0; i < mask->descriptor().numValues(); ++i)
        mask->pointer()[i] = foreground(random) ? 1 : 0;
    return mask;
}

std::unique_ptr<SharedImageSet> singleImageSet(std::unique_ptr<MemImage> mem, const Eigen::Matrix4d& matrix,
                                               Data::Modality modality) {
    return std::make_unique<SharedImageSet>(std::make_shared<SharedImage>(std::move(mem), matrix, modality));
}

std::vector<double> valuesOf(const MemImage& image) {
    return dispatchPixelType(image.pixelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* values = static_cast<const T*>(image.data());
        return std::vector<double>(values, values + image.descriptor().numValues());
    });
}

} // namespace Tarnwick::Test
