#pragma once

#include <TarnwickLib/Image/TypedImage.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Tarnwick::ImageOps {

/// Binary mask of values: mask[i] = 1 when values[i] > level, else 0 (NaN gives 0). Values are
/// compared as doubles, which is exact for every pixel type. Channels are values like any other, so an
/// interleaved image thresholds channel by channel. T is one of the eight pixel types.
///
/// `mask` may not overlap `values` unless T is unsigned char (then it may be the same buffer).
/// OpenMP over blocks. Null buffers (with count > 0) or more than kMaxValueCount values log an error
/// and return false.
template <typename T>
bool threshold(const T* values, std::size_t count, double level, std::uint8_t* mask);

/// threshold() of an image of any pixel type: a uint8 image with its dimensions, channels and spacing.
/// nullptr (with a logged error) when the image's buffer is unusable.
std::unique_ptr<TypedImage<unsigned char>> threshold(const MemImage& image, double level);

extern template bool threshold<char>(const char*, std::size_t, double, std::uint8_t*);
extern template bool threshold<unsigned char>(const unsigned char*, std::size_t, double, std::uint8_t*);
extern template bool threshold<short>(const short*, std::size_t, double, std::uint8_t*);
extern template bool threshold<unsigned short>(const unsigned short*, std::size_t, double, std::uint8_t*);
extern template bool threshold<int>(const int*, std::size_t, double, std::uint8_t*);
extern template bool threshold<unsigned int>(const unsigned int*, std::size_t, double, std::uint8_t*);
extern template bool threshold<float>(const float*, std::size_t, double, std::uint8_t*);
extern template bool threshold<double>(const double*, std::size_t, double, std::uint8_t*);

} // namespace Tarnwick::ImageOps
