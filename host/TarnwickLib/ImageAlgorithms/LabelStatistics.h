#pragma once

#include <TarnwickLib/Data/AlignedBox.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <cstdint>
#include <map>
#include <optional>

/// Per-label measurements of host label images.
namespace Tarnwick::LabelStatistics {

/// The bounding box of each label of `labels` (each distinct non-zero value), ordered by label, in
/// voxel coordinates: min and max are the smallest and largest voxel indices per axis holding the
/// label, so extent() is one voxel less than the number of voxels spanned and center() the middle voxel
/// (fractional for an even span). Merge boxes with Geometry::AlignedBox::addBox. Empty when every
/// voxel is 0.
///
/// `labels` must be a single-channel image of an integer pixel type; floating-point or multi-channel
/// images give nothing, with an error logged. Computed by ImageOps::computeBounds: one pass, parallel.
std::optional<std::map<std::int64_t, Geometry::AlignedBox>> computeBounds(const SharedImage& labels);

} // namespace Tarnwick::LabelStatistics
