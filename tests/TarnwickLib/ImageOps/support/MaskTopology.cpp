#include "MaskTopology.h"

#include <array>
#include <vector>

namespace Tarnwick::Test {
namespace {

// Labels the components of voxels whose value equals `value` in a volume padded by one background voxel,
// with face (6) or full (26) adjacency; returns the label of each padded voxel (0 = other value).
struct PaddedLabels {
    Eigen::Vector3i dims;
    std::vector<int> labels;
    int count = 0;
};

PaddedLabels label(const MaskVolume& mask, std::uint8_t value, bool fullAdjacency) {
    const bool flat = mask.dims.z() == 1;
    const Eigen::Vector3i dims = mask.dims + Eigen::Vector3i(2, 2, flat ? 0 : 2);
    const int pad = flat ? 0 : 1;
    PaddedLabels result{dims, std::vector<int>(static_cast<std::size_t>(dims.prod()), 0), 0};
    auto valueAt = [&](int x, int y, int z) { return (mask.at(x - 1, y - 1, z - pad) != 0) == (value != 0); };
    auto index = [&](int x, int y, int z) { return (static_cast<std::size_t>(z) * dims.y() + y) * dims.x() + x; };
    std::vector<std::array<int, 3>> offsets;
    for (int dz = flat ? 0 : -1; dz <= (flat ? 0 : 1); ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const int steps = std::abs(dx) + std::abs(dy) + std::abs(dz);
                if (steps > 0 && (fullAdjacency || steps == 1))
                    offsets.push_back({dx, dy, dz});
            }
    std::vector<std::array<int, 3>> stack;
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 0; x < dims.x(); ++x) {
                if (!valueAt(x, y, z) || result.labels[index(x, y, z)])
                    continue;
                const int id = ++result.count;
                result.labels[index(x, y, z)] = id;
                stack.push_back({x, y, z});
                while (!stack.empty()) {
                    const auto [cx, cy, cz] = stack.back();
                    stack.pop_back();
                    for (const auto& o : offsets) {
                        const int nx = cx + o[0], ny = cy + o[1], nz = cz + o[2];
                        if (nx < 0 || ny < 0 || nz < 0 || nx >= dims.x() || ny >= dims.y() || nz >= dims.z())
                            continue;
                        if (valueAt(nx, ny, nz) && !result.labels[index(nx, ny, nz)]) {
                            result.labels[index(nx, ny, nz)] = id;
                            stack.push_back({nx, ny, nz});
                        }
                    }
                }
            }
    return result;
}

} // namespace

MaskTopology topologyOf(const MaskVolume& mask) {
    MaskTopology topology;
    topology.foregroundComponents = label(mask, 1, true).count;
    // The padding is one background component that touches the outside; every other one is a cavity.
    topology.cavities = label(mask, 0, false).count - 1;
    return topology;
}

bool isSubset(const MaskVolume& inner, const MaskVolume& outer) {
    for (std::size_t i = 0; i < inner.voxels.size(); ++i) {
        if (inner.voxels[i] && !outer.voxels[i])
            return false;
    }
    return true;
}

} // namespace Tarnwick::Test
