#include <TarnwickGraph/Pipelines/VesselMask.h>

#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace Tarnwick {

namespace {

/// What one slab of voxels held.
struct SlabStatistics {
    std::size_t foreground = 0;
    bool negative = false;
    /// Distinct values met, at most kMaxMaskValues + 1 of them (then the image is no mask).
    std::vector<double> values;

    void note(double value) {
        if (values.size() <= kMaxMaskValues && std::find(values.begin(), values.end(), value) == values.end())
            values.push_back(value);
    }
};

template <typename T>
SlabStatistics scanSlab(const T* values, std::uint8_t* mask, std::size_t count, const VesselMaskRule& rule) {
    SlabStatistics statistics;
    const double level = rule.threshold.value_or(0.5);
    const std::uint8_t inside = rule.invert ? 0 : 1;
    // Masks hold long runs of one value: only a change of value needs the distinct-value bookkeeping.
    bool first = true;
    T previous{};
    for (std::size_t i = 0; i < count; ++i) {
        const T value = values[i];
        const double v = static_cast<double>(value);
        const bool selected = rule.label ? v == *rule.label : v > level;
        mask[i] = std::isnan(v) ? 0 : static_cast<std::uint8_t>(selected ? inside : 1 - inside);
        statistics.foreground += mask[i];
        if (first || !(value == previous)) {
            first = false;
            previous = value;
            statistics.negative |= v < 0.0;
            if (!std::isnan(v))
                statistics.note(v);
        }
    }
    return statistics;
}

std::string refusal(const std::string& reason) {
    return fmt::format("The input does not look like a vessel mask: {}. Choose the vessel voxels explicitly with "
                       "--threshold T (values above T; parameter threshold), --invert (the other voxels; "
                       "parameter invert), --label N (one label; parameter label) or --labels all (one graph "
                       "per label of a label map)",
                       reason);
}

} // namespace

VesselMask makeVesselMask(const SharedImage& image, const VesselMaskRule& rule) {
    VesselMask result;
    const ImageDescriptor& descriptor = image.descriptor();
    if (descriptor.channels != 1) {
        result.error = fmt::format("A vessel mask has one channel, not {}", descriptor.channels);
        return result;
    }
    ImageDescriptor maskDescriptor = descriptor;
    maskDescriptor.pixelType = PixelType::UInt8;
    std::unique_ptr<TypedImage<unsigned char>> mask = TypedImage<unsigned char>::uninitialized(maskDescriptor);
    const std::size_t total = descriptor.numValues();
    // Slabs of whole z slices, scanned in parallel and combined in order.
    const std::size_t sliceSize = total / std::max(1, descriptor.dimensions.z());
    const long long slabs = descriptor.dimensions.z();
    std::vector<SlabStatistics> statistics(static_cast<std::size_t>(slabs));
    dispatchPixelType(descriptor.pixelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T* values = static_cast<const T*>(image.mem()->data());
#pragma omp parallel for schedule(static)
        for (long long z = 0; z < slabs; ++z)
            statistics[z] = scanSlab(values + z * sliceSize, mask->pointer() + z * sliceSize, sliceSize, rule);
    });
    SlabStatistics all;
    for (const SlabStatistics& slab : statistics) {
        all.foreground += slab.foreground;
        all.negative |= slab.negative;
        for (double value : slab.values)
            all.note(value);
    }
    result.foregroundVoxels = all.foreground;
    if (!rule.threshold && !rule.label && !rule.invert) {
        if (all.negative)
            result.error = refusal("it has negative values, as a level set or a distance map has");
        else if (all.values.size() > kMaxMaskValues)
            result.error = refusal(fmt::format("it has more than {} distinct values", kMaxMaskValues));
        else if (2 * all.foreground > total)
            result.error = refusal(fmt::format("its foreground fills {:.0f} % of the volume",
                                               100.0 * double(all.foreground) / double(total)));
        if (!result.error.empty())
            return result;
    }
    result.mask =
        std::make_unique<SharedImage>(std::shared_ptr<MemImage>(std::move(mask)), image.matrixToWorld(), Data::Label);
    return result;
}

} // namespace Tarnwick
