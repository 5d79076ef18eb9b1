#include "ImageLabels.h"

#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <fmt/format.h>

#include <set>
#include <type_traits>

namespace Tarnwick::Cli {

std::optional<std::vector<long long>> labelValues(const SharedImage& image, std::size_t maxLabels, std::string& error) {
    const ImageDescriptor& descriptor = image.descriptor();
    if (descriptor.channels != 1 || descriptor.pixelType == PixelType::Float ||
        descriptor.pixelType == PixelType::Double) {
        error = "one graph per label needs a label image: integer values in one channel";
        return std::nullopt;
    }
    std::set<long long> labels;
    bool tooMany = false;
    dispatchPixelType(descriptor.pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_integral_v<T>) {
            const T* values = static_cast<const T*>(image.mem()->data());
            const std::size_t count = descriptor.numValues();
            // Label maps hold long runs of one value: only a change of value is looked up.
            T previous = 0;
            for (std::size_t i = 0; i < count && !tooMany; ++i) {
                if (values[i] == previous)
                    continue;
                previous = values[i];
                if (previous != 0 && labels.insert(static_cast<long long>(previous)).second)
                    tooMany = labels.size() > maxLabels;
            }
        }
    });
    if (tooMany) {
        error = fmt::format("the image holds more than {} distinct labels; is it a label map?", maxLabels);
        return std::nullopt;
    }
    return std::vector<long long>(labels.begin(), labels.end());
}

} // namespace Tarnwick::Cli
