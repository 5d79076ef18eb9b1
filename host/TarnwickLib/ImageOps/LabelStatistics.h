#pragma once

#include <TarnwickLib/Image/MemImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <map>
#include <optional>

namespace Tarnwick::ImageOps {

/// Smallest box of voxel indices holding every voxel of one label: min and max per axis, inclusive.
struct LabelBounds {
    Eigen::Vector3i min;
    Eigen::Vector3i max;
};

/// Bounding box of each label of an integer label image, a label being each distinct non-zero value.
///
/// `labels` holds dims.prod() single-channel voxels, x fastest. T is one of the six integer pixel types.
/// Returns the boxes ordered by label (empty when every voxel is 0). One pass, runs of equal labels
/// along x handled at once; OpenMP over planes with per-thread tables merged at the end. Invalid input
/// (null buffer, a dimension < 1, too many voxels) logs an error and returns nullopt.
template <typename T>
std::optional<std::map<std::int64_t, LabelBounds>> computeBounds(const T* labels, const Eigen::Vector3i& dims);

/// computeBounds() of a single-channel image of an integer pixel type; nullopt (with a logged error)
/// for floating-point or multi-channel images.
std::optional<std::map<std::int64_t, LabelBounds>> computeBounds(const MemImage& labels);

extern template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<char>(const char*,
                                                                                       const Eigen::Vector3i&);
extern template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<unsigned char>(const unsigned char*,
                                                                                                const Eigen::Vector3i&);
extern template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<short>(const short*,
                                                                                        const Eigen::Vector3i&);
extern template std::optional<std::map<std::int64_t, LabelBounds>>
computeBounds<unsigned short>(const unsigned short*, const Eigen::Vector3i&);
extern template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<int>(const int*,
                                                                                      const Eigen::Vector3i&);
extern template std::optional<std::map<std::int64_t, LabelBounds>> computeBounds<unsigned int>(const unsigned int*,
                                                                                               const Eigen::Vector3i&);

} // namespace Tarnwick::ImageOps
