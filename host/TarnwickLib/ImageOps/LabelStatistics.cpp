#include <TarnwickLib/ImageOps/LabelStatistics.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <omp.h>

#include <type_traits>
#include <unordered_map>
#include <vector>

namespace Tarnwick::ImageOps {
namespace {

using BoundsTable = std::unordered_map<std::int64_t, LabelBounds>;

void include(BoundsTable& table, std::int64_t label, const Eigen::Vector3i& first, int lastX) {
    auto [it, inserted] = table.try_emplace(label, LabelBounds{first, Eigen::Vector3i(lastX, first.y(), first.z())});
    if (!inserted) {
        it->second.min = it->second.min.cwiseMin(first);
        it->second.max = it->second.max.cwiseMax(Eigen::Vector3i(lastX, first.y(), first.z()));
    }
}

} // namespace

template <typename T>
std::optional<std::map<std::int64_t, LabelBounds>> computeBounds(const T* labels, const Eigen::Vector3i& dims) {
    if (!validateVolume("computeBounds", labels, dims))
        return std::nullopt;
    const int threads = threadsFor(voxelCount(dims));
    std::vector<BoundsTable> perThread(static_cast<std::size_t>(threads));
#pragma omp parallel for schedule(static) num_threads(threads)
    for (int z = 0; z < dims.z(); ++z) {
        BoundsTable& table = perThread[static_cast<std::size_t>(omp_get_thread_num())];
        for (int y = 0; y < dims.y(); ++y) {
            const T* row = labels + (static_cast<std::int64_t>(z) * dims.y() + y) * dims.x();
            for (int x = 0; x < dims.x();) {
                const T label = row[x];
                int end = x + 1;
                while (end < dims.x() && row[end] == label)
                    ++end;
                if (label != T(0))
                    include(table, static_cast<std::int64_t>(label), Eigen::Vector3i(x, y, z), end - 1);
                x = end;
            }
        }
    }
    std::map<std::int64_t, LabelBounds> bounds;
    for (const BoundsTable& table : perThread) {
        for (const auto& [label, box] : table) {
            auto [it, inserted] = bounds.try_emplace(label, box);
            if (!inserted) {
                it->second.min = it->second.min.cwiseMin(box.min);
                it->second.max = it->second.max.cwiseMax(box.max);
            }
        }
    }
    return bounds;
}

std::optional<std::map<std::int64_t, LabelBounds>> computeBounds(const MemImage& labels) {
    if (labels.channels() != 1) {
        TW_LOG_ERROR("computeBounds: expected a single-channel label image, got {} channels", labels.channels());
        return std::nullopt;
    }
    return dispatchPixelType(labels.pixelType(), [&](auto tag) -> std::optional<std::map<std::int64_t, LabelBounds>> {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_integral_v<T>) {
            return computeBounds(static_cast<const T*>(labels.data()), labels.dimensions());
        } else {
            TW_LOG_ERROR("computeBounds: expected an integer label image, got {}", pixelTypeName(labels.pixelType()));
            return std::nullopt;
        }
    });
}

template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<char>(const char*, const Eigen::Vector3i&);
template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<unsigned char>(const unsigned char*,
                                                                                         const Eigen::Vector3i&);
template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<short>(const short*, const Eigen::Vector3i&);
template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<unsigned short>(const unsigned short*,
                                                                                          const Eigen::Vector3i&);
template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<int>(const int*, const Eigen::Vector3i&);
template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<unsigned int>(const unsigned int*,
                                                                                        const Eigen::Vector3i&);

} // namespace Tarnwick::ImageOps
