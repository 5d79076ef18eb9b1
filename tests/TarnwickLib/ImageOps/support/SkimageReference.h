#pragma once

#include "MaskVolume.h"

#include <optional>
#include <vector>

namespace Tarnwick::Test {

/// True when /usr/bin/python3 can import scikit-image.
bool skimageAvailable();

/// Skeletons of the masks computed by scikit-image's 3-D thinning (through skeletonize_reference.py,
/// one Python run for all masks); nullopt when the script fails.
std::optional<std::vector<MaskVolume>> skimageSkeletons(const std::vector<MaskVolume>& masks);

} // namespace Tarnwick::Test
