#include <TarnwickLib/ImageAlgorithms/LabelStatistics.h>

#include <TarnwickLib/ImageOps/LabelStatistics.h>

namespace Tarnwick::LabelStatistics {

std::optional<std::map<std::int64_t, Geometry::AlignedBox>> computeBounds(const SharedImage& labels) {
    const auto bounds = ImageOps::computeBounds(*labels.mem());
    if (!bounds)
        return std::nullopt;
    std::map<std::int64_t, Geometry::AlignedBox> boxes;
    for (const auto& [label, box] : *bounds)
        boxes.emplace(label, Geometry::AlignedBox(box.min.cast<double>(), box.max.cast<double>()));
    return boxes;
}

} // namespace Tarnwick::LabelStatistics
