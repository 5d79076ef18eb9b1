#pragma once

#include "MaskVolume.h"

namespace Tarnwick::Test {

/// Topological invariants of a binary volume with everything outside it taken as background.
struct MaskTopology {
    int foregroundComponents = 0; ///< 26-connected
    int cavities = 0;             ///< 6-connected background components not connected to the outside
    bool operator==(const MaskTopology& o) const {
        return foregroundComponents == o.foregroundComponents && cavities == o.cavities;
    }
};

/// Counts components and cavities by flood fill (in-plane neighbours only when dims.z() == 1).
MaskTopology topologyOf(const MaskVolume& mask);

/// True when every non-zero voxel of `inner` is non-zero in `outer`.
bool isSubset(const MaskVolume& inner, const MaskVolume& outer);

} // namespace Tarnwick::Test
