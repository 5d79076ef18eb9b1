#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {
class SharedImage;
}

namespace Tarnwick::Cli {

/// The distinct non-zero values of an integer label image, ascending; nothing with the reason in `error`
/// when the image is not an integer image of one channel or holds more than `maxLabels` of them.
/// One pass over the voxels.
std::optional<std::vector<long long>> labelValues(const SharedImage& image, std::size_t maxLabels, std::string& error);

} // namespace Tarnwick::Cli
