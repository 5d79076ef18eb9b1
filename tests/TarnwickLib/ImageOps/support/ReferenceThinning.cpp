#include "ReferenceThinning.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace Tarnwick::Test {
namespace {

// Euler characteristic change per octant configuration (odd indices 1..255), from the method's table.
const int kEulerTable[128] = {
    1,  -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
    -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
    -7, -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
    -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1};

// Neighbourhood numbers of each octant, first number = index bit 7.
const int kOctants[8][7] = {{2, 1, 11, 10, 5, 4, 14},     {0, 9, 3, 12, 1, 10, 4},      {8, 7, 17, 16, 5, 4, 14},
                            {6, 15, 7, 16, 3, 12, 4},     {20, 23, 19, 22, 11, 14, 10}, {18, 21, 9, 12, 19, 22, 10},
                            {26, 23, 17, 14, 25, 22, 16}, {24, 25, 15, 16, 21, 22, 12}};

struct Offset {
    int dx, dy, dz;
};

Offset offsetOf(int n) {
    return {(n % 9) / 3 - 1, n % 3 - 1, n / 9 - 1};
}

class Padded {
public:
    explicit Padded(const MaskVolume& mask) : m_dims(mask.dims + Eigen::Vector3i::Constant(2)) {
        m_voxels.assign(static_cast<std::size_t>(m_dims.prod()), 0);
        for (int z = 0; z < mask.dims.z(); ++z)
            for (int y = 0; y < mask.dims.y(); ++y)
                for (int x = 0; x < mask.dims.x(); ++x)
                    at(x + 1, y + 1, z + 1) = mask.at(x, y, z) ? 1 : 0;
    }
    std::uint8_t& at(int x, int y, int z) {
        return m_voxels[(static_cast<std::size_t>(z) * m_dims.y() + y) * m_dims.x() + x];
    }
    const Eigen::Vector3i& dims() const { return m_dims; }
    Neighborhood neighborhood(int x, int y, int z) {
        Neighborhood n{};
        for (int k = 0; k < 27; ++k) {
            const Offset o = offsetOf(k);
            n[k] = at(x + o.dx, y + o.dy, z + o.dz);
        }
        return n;
    }

private:
    Eigen::Vector3i m_dims;
    std::vector<std::uint8_t> m_voxels;
};

struct Voxel {
    int x, y, z;
};

} // namespace

bool referenceIsEndpoint(const Neighborhood& n) {
    int sum = 0;
    for (std::uint8_t v : n)
        sum += v;
    return sum == 2;
}

bool referenceIsEulerInvariant(const Neighborhood& n) {
    int change = 0;
    for (const auto& octant : kOctants) {
        int index = 1;
        for (int k = 0; k < 7; ++k) {
            if (n[octant[k]] == 1)
                index |= 128 >> k;
        }
        change += kEulerTable[(index - 1) / 2];
    }
    return change == 0;
}

bool referenceIsSimple(const Neighborhood& n) {
    std::vector<int> label(27, 0);
    int components = 0;
    for (int start = 0; start < 27; ++start) {
        if (start == 13 || n[start] != 1 || label[start])
            continue;
        ++components;
        std::vector<int> queue{start};
        label[start] = components;
        for (std::size_t head = 0; head < queue.size(); ++head) {
            const Offset a = offsetOf(queue[head]);
            for (int other = 0; other < 27; ++other) {
                const Offset b = offsetOf(other);
                const bool adjacent =
                    std::abs(a.dx - b.dx) <= 1 && std::abs(a.dy - b.dy) <= 1 && std::abs(a.dz - b.dz) <= 1;
                if (other != 13 && n[other] == 1 && !label[other] && adjacent) {
                    label[other] = components;
                    queue.push_back(other);
                }
            }
        }
    }
    return components <= 1;
}

namespace {

/// One thinning run; with keepNewEndpoints the re-check also keeps voxels that have become end points.
MaskVolume thinningRun(const MaskVolume& mask, bool keepNewEndpoints) {
    Padded image(mask);
    const Eigen::Vector3i d = image.dims();
    // Border directions -y, +y, +x, -x, +z, -z; a 2-D image uses the first four.
    const Offset directions[6] = {{0, -1, 0}, {0, 1, 0}, {1, 0, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, -1}};
    const int numDirections = mask.dims.z() == 1 ? 4 : 6;
    int unchanged = 0;
    while (unchanged < numDirections) {
        unchanged = 0;
        for (int k = 0; k < numDirections; ++k) {
            const Offset dir = directions[k];
            std::vector<Voxel> candidates;
            for (int z = 1; z < d.z() - 1; ++z)
                for (int y = 1; y < d.y() - 1; ++y)
                    for (int x = 1; x < d.x() - 1; ++x) {
                        if (image.at(x, y, z) != 1 || image.at(x + dir.dx, y + dir.dy, z + dir.dz) != 0)
                            continue;
                        const Neighborhood n = image.neighborhood(x, y, z);
                        if (!referenceIsEndpoint(n) && referenceIsEulerInvariant(n) && referenceIsSimple(n))
                            candidates.push_back({x, y, z});
                    }
            bool changed = false;
            for (const Voxel& v : candidates) {
                const Neighborhood now = image.neighborhood(v.x, v.y, v.z);
                const int neighbours = static_cast<int>(std::count(now.begin(), now.end(), 1)) - 1;
                if ((!keepNewEndpoints || neighbours >= 2) && referenceIsSimple(now)) {
                    image.at(v.x, v.y, v.z) = 0;
                    changed = true;
                }
            }
            if (!changed)
                ++unchanged;
        }
    }
    MaskVolume result(mask.dims);
    for (int z = 0; z < mask.dims.z(); ++z)
        for (int y = 0; y < mask.dims.y(); ++y)
            for (int x = 0; x < mask.dims.x(); ++x)
                result.set(x, y, z, image.at(x + 1, y + 1, z + 1));
    return result;
}

} // namespace

MaskVolume referenceThinning(const MaskVolume& mask) {
    MaskVolume result = thinningRun(mask, false);
    // An object the run erased completely is thinned again alone, keeping new end points.
    std::vector<std::uint8_t> seen(mask.voxels.size(), 0);
    for (int z = 0; z < mask.dims.z(); ++z)
        for (int y = 0; y < mask.dims.y(); ++y)
            for (int x = 0; x < mask.dims.x(); ++x) {
                if (!mask.at(x, y, z) || seen[mask.index(x, y, z)])
                    continue;
                MaskVolume object(mask.dims);
                std::vector<Eigen::Vector3i> queue{{x, y, z}};
                seen[mask.index(x, y, z)] = 1;
                bool kept = false;
                for (std::size_t head = 0; head < queue.size(); ++head) {
                    const Eigen::Vector3i p = queue[head];
                    object.set(p.x(), p.y(), p.z());
                    kept = kept || result.at(p.x(), p.y(), p.z());
                    for (int n = 0; n < 27; ++n) {
                        const Offset o = offsetOf(n);
                        const Eigen::Vector3i q = p + Eigen::Vector3i(o.dx, o.dy, o.dz);
                        if (mask.at(q.x(), q.y(), q.z()) && !seen[mask.index(q.x(), q.y(), q.z())]) {
                            seen[mask.index(q.x(), q.y(), q.z())] = 1;
                            queue.push_back(q);
                        }
                    }
                }
                if (kept)
                    continue;
                const MaskVolume rethinned = thinningRun(object, true);
                for (std::size_t i = 0; i < rethinned.voxels.size(); ++i)
                    result.voxels[i] |= rethinned.voxels[i];
            }
    return result;
}

} // namespace Tarnwick::Test
