// Neighbourhood tests of the Lee–Kashyap–Chu thinning on a 27-bit cube.
//
// The Euler test sums, over the eight octants (2x2x2 blocks sharing the centre), the change of the
// Euler characteristic that removing the centre causes; the change per octant configuration comes from
// column "delta G_26" of table 2 of the paper. Each octant's 7 non-centre voxels form an index into that
// table in a fixed order (first listed voxel = bit 7). To avoid 56 bit extractions per call, one table
// per octant and z-plane maps the 9 bits of that plane directly to the plane's share of the index.
//
// The connectivity test grows the component of the lowest foreground neighbour by 26-dilation (three
// masked shift-or steps) until it covers all foreground neighbours (one component) or stops growing.

#include <TarnwickLib/ImageOps/ThinningTopology.h>

#include <array>

namespace Tarnwick::ImageOps::ThinningTopology {
namespace {

struct Offset {
    int dx, dy, dz;
};

// The 7 non-centre voxels of each octant, in the order that defines the table index (weights 128 .. 2).
constexpr Offset kOctants[8][7] = {
    {{-1, 1, -1}, {-1, 0, -1}, {-1, 1, 0}, {-1, 0, 0}, {0, 1, -1}, {0, 0, -1}, {0, 1, 0}},
    {{-1, -1, -1}, {-1, -1, 0}, {0, -1, -1}, {0, -1, 0}, {-1, 0, -1}, {-1, 0, 0}, {0, 0, -1}},
    {{1, 1, -1}, {1, 0, -1}, {1, 1, 0}, {1, 0, 0}, {0, 1, -1}, {0, 0, -1}, {0, 1, 0}},
    {{1, -1, -1}, {1, -1, 0}, {1, 0, -1}, {1, 0, 0}, {0, -1, -1}, {0, -1, 0}, {0, 0, -1}},
    {{-1, 1, 1}, {0, 1, 1}, {-1, 0, 1}, {0, 0, 1}, {-1, 1, 0}, {0, 1, 0}, {-1, 0, 0}},
    {{-1, -1, 1}, {0, -1, 1}, {-1, -1, 0}, {0, -1, 0}, {-1, 0, 1}, {0, 0, 1}, {-1, 0, 0}},
    {{1, 1, 1}, {0, 1, 1}, {1, 1, 0}, {0, 1, 0}, {1, 0, 1}, {0, 0, 1}, {1, 0, 0}},
    {{1, -1, 1}, {1, 0, 1}, {1, -1, 0}, {1, 0, 0}, {0, -1, 1}, {0, 0, 1}, {0, -1, 0}},
};

// Euler characteristic change for the odd octant indices 1, 3, ..., 255 (the centre is always set).
constexpr int kEulerChange[128] = {
    1,  -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
    -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
    -7, -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
    -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1};

struct EulerTables {
    // planeIndexBits[octant][plane][9 plane bits] = the plane's contribution to the octant index.
    std::array<std::array<std::array<std::uint8_t, 512>, 3>, 8> planeIndexBits{};

    EulerTables() {
        for (int octant = 0; octant < 8; ++octant) {
            for (int k = 0; k < 7; ++k) {
                const Offset& o = kOctants[octant][k];
                const int planeBit = cubeBit(o.dx, o.dy, -1);
                const std::uint8_t weight = static_cast<std::uint8_t>(128 >> k);
                auto& table = planeIndexBits[octant][o.dz + 1];
                for (int pattern = 0; pattern < 512; ++pattern) {
                    if (pattern & (1 << planeBit))
                        table[pattern] |= weight;
                }
            }
        }
    }
};

constexpr std::uint32_t axisPlane(int axis, int coordinate) {
    std::uint32_t mask = 0;
    for (int bit = 0; bit < 27; ++bit) {
        const int c[3] = {bit % 3, (bit / 3) % 3, bit / 9};
        if (c[axis] == coordinate)
            mask |= std::uint32_t(1) << bit;
    }
    return mask;
}

constexpr std::uint32_t kNotLastX = kCubeMask & ~axisPlane(0, 2);
constexpr std::uint32_t kNotFirstX = kCubeMask & ~axisPlane(0, 0);
constexpr std::uint32_t kNotLastY = kCubeMask & ~axisPlane(1, 2);
constexpr std::uint32_t kNotFirstY = kCubeMask & ~axisPlane(1, 0);

std::uint32_t dilate26(std::uint32_t set) {
    const std::uint32_t alongX = set | ((set & kNotLastX) << 1) | ((set & kNotFirstX) >> 1);
    const std::uint32_t alongY = alongX | ((alongX & kNotLastY) << 3) | ((alongX & kNotFirstY) >> 3);
    return (alongY | (alongY << 9) | (alongY >> 9)) & kCubeMask;
}

} // namespace

bool isEndpoint(std::uint32_t cube) {
    const std::uint32_t neighbors = cube & kCubeMask & ~(std::uint32_t(1) << kCenterBit);
    return neighbors != 0 && (neighbors & (neighbors - 1)) == 0;
}

bool isIsolated(std::uint32_t cube) {
    return (cube & kCubeMask & ~(std::uint32_t(1) << kCenterBit)) == 0;
}

bool isEulerInvariant(std::uint32_t cube) {
    static const EulerTables tables;
    const std::uint32_t planes[3] = {cube & 511u, (cube >> 9) & 511u, (cube >> 18) & 511u};
    int change = 0;
    for (int octant = 0; octant < 8; ++octant) {
        const auto& t = tables.planeIndexBits[octant];
        const int index = 1 | t[0][planes[0]] | t[1][planes[1]] | t[2][planes[2]];
        change += kEulerChange[index >> 1];
    }
    return change == 0;
}

bool hasSingleNeighborComponent(std::uint32_t cube) {
    const std::uint32_t neighbors = cube & kCubeMask & ~(std::uint32_t(1) << kCenterBit);
    std::uint32_t component = neighbors & (~neighbors + 1);
    for (;;) {
        const std::uint32_t grown = dilate26(component) & neighbors;
        if (grown == neighbors)
            return true;
        if (grown == component)
            return false;
        component = grown;
    }
}

} // namespace Tarnwick::ImageOps::ThinningTopology
