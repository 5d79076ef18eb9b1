#include "support/TestImages.h"

#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Geometry>

#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace Tarnwick::Test {

std::unique_ptr<MemImage> randomImage(PixelType type, const Eigen::Vector3i& dimensions, int channels,
                                      std::uint32_t seed) {
    return dispatchPixelType(type, [&](auto tag) -> std::unique_ptr<MemImage> {
        using T = typename decltype(tag)::type;
        auto image = TypedImage<T>::zeros(dimensions, channels);
        std::mt19937 random(seed);
        T* values = image->pointer();
        const std::size_t n = image->descriptor().numValues();
        if constexpr (std::is_floating_point_v<T>) {
            std::uniform_real_distribution<T> distribution(T(-1e6), T(1e6));
            for (std::size_t i = 0; i < n; ++i)
                values[i] = distribution(random);
        } else {
            std::uniform_int_distribution<long long> distribution(std::numeric_limits<T>::lowest(),
                                                                  std::numeric_limits<T>::max());
            for (std::size_t i = 0; i < n; ++i)
                values[i] = static_cast<T>(distribution(random));
        }
        return image;
    });
}

Eigen::Matrix4d obliquePlacement(double angle, const Eigen::Vector3d& translation) {
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(angle, Eigen::Vector3d(1, 2, 3).normalized()).toRotationMatrix();
    m.topRightCorner<3, 1>() = translation;
    return m;
}

bool sameValues(const MemImage& a, const MemImage& b) {
    const ImageDescriptor& da = a.descriptor();
    const ImageDescriptor& db = b.descriptor();
    return da.pixelType == db.pixelType && da.dimensions == db.dimensions && da.channels == db.channels && std::memcmp(a.data(), b.data(), a.descriptor().byteSize()) == 0;
}

} // namespace Tarnwick::Test
