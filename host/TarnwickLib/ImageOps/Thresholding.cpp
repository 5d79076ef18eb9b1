#include <TarnwickLib/ImageOps/Thresholding.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

namespace Tarnwick::ImageOps {

template <typename T>
bool threshold(const T* values, std::size_t count, double level, std::uint8_t* mask) {
    if (count > kMaxValueCount) {
        TW_LOG_ERROR("threshold: {} values exceed the limit of {}", count, kMaxValueCount);
        return false;
    }
    if (count > 0 && (!values || !mask)) {
        TW_LOG_ERROR("threshold: no value buffer given");
        return false;
    }
    const std::int64_t n = static_cast<std::int64_t>(count);
#pragma omp parallel for schedule(static) num_threads(threadsFor(count))
    for (std::int64_t i = 0; i < n; ++i)
        mask[i] = static_cast<double>(values[i]) > level;
    return true;
}

std::unique_ptr<TypedImage<unsigned char>> threshold(const MemImage& image, double level) {
    auto mask = TypedImage<unsigned char>::uninitialized(image.descriptor());
    const std::size_t count = image.descriptor().numValues();
    const bool ok = dispatchPixelType(image.pixelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        return ImageOps::threshold(static_cast<const T*>(image.data()), count, level, mask->pointer());
    });
    return ok ? std::move(mask) : nullptr;
}

template bool threshold<char>(const char*, std::size_t, double, std::uint8_t*);
template bool threshold<unsigned char>(const unsigned char*, std::size_t, double, std::uint8_t*);
template bool threshold<short>(const short*, std::size_t, double, std::uint8_t*);
template bool threshold<unsigned short>(const unsigned short*, std::size_t, double, std::uint8_t*);
template bool threshold<int>(const int*, std::size_t, double, std::uint8_t*);
template bool threshold<unsigned int>(const unsigned int*, std::size_t, double, std::uint8_t*);
template bool threshold<float>(const float*, std::size_t, double, std::uint8_t*);
template bool threshold<double>(const double*, std::size_t, double, std::uint8_t*);

} // namespace Tarnwick::ImageOps
