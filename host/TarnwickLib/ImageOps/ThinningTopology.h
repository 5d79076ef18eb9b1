#pragma once

#include <cstdint>

namespace Tarnwick::ImageOps::ThinningTopology {

/// Local tests of the 3x3x3 thinning, on a neighbourhood packed into the low 27 bits of an integer:
/// the voxel at offset (dx, dy, dz) in {-1, 0, 1}^3 is bit cubeBit(dx, dy, dz), so x runs fastest as in
/// the image and the centre voxel is bit 13. Foreground is 1 (26-connected), background 0 (6-connected).

constexpr int cubeBit(int dx, int dy, int dz) {
    return (dx + 1) + 3 * (dy + 1) + 9 * (dz + 1);
}
constexpr int kCenterBit = cubeBit(0, 0, 0);
constexpr std::uint32_t kCubeMask = (std::uint32_t(1) << 27) - 1;

/// True when the centre has exactly one foreground voxel among its 26 neighbours.
bool isEndpoint(std::uint32_t cube);

/// True when the centre has no foreground voxel among its 26 neighbours.
bool isIsolated(std::uint32_t cube);

/// True when removing the centre keeps the Euler characteristic of the neighbourhood: the sum over the
/// eight 2x2x2 octants of the change table of Lee, Kashyap and Chu (1994) is zero.
bool isEulerInvariant(std::uint32_t cube);

/// True when the foreground neighbours of the centre (the centre itself excluded) form at most one
/// 26-connected component. Bit-parallel flood fill: a few shifts per step, no tables.
bool hasSingleNeighborComponent(std::uint32_t cube);

} // namespace Tarnwick::ImageOps::ThinningTopology
