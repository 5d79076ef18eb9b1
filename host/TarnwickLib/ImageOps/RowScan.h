#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

/// Scans along one x row of a byte mask, shared by the distance transforms' first pass.
namespace Tarnwick::ImageOps::RowScan {

/// The eight mask bytes at `bytes` as one word.
inline std::uint64_t loadWord(const std::uint8_t* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// Whether any of the eight bytes of `word` is zero (the classic bit trick).
inline bool hasZeroByte(std::uint64_t word) {
    return ((word - 0x0101010101010101ull) & ~word & 0x8080808080808080ull) != 0;
}

/// Least distance reported when a voxel has no source in its row; longer than any row this is used on.
constexpr int kNoSource = 1 << 30;

/// Calls emit(x, d) for x = n - 1 down to 0, d being the distance in voxels from voxel x of the row to
/// the nearest source, the voxels where (mask[x] != 0) == sourcesAreForeground (0 at a source). With
/// `outsideIsSource` the voxels just beyond both ends are sources too; a voxel without any source gets
/// kNoSource or more. The whole mask row is read before the first emit, so emit may overwrite it. `scratch`
/// holds at least n values; n must stay below kNoSource. Two linear scans on ints (wider distances cost
/// the capped transform several per cent).
template <typename Emit>
void forEachDistance(const std::uint8_t* mask, int n, bool sourcesAreForeground, bool outsideIsSource, int* scratch,
                     Emit&& emit) {
    int last = outsideIsSource ? -1 : -kNoSource;
    for (int x = 0; x < n; ++x) {
        if ((mask[x] != 0) == sourcesAreForeground)
            last = x;
        scratch[x] = x - last;
    }
    int next = outsideIsSource ? n : n + kNoSource;
    for (int x = n - 1; x >= 0; --x) {
        const int d = scratch[x];
        if (d == 0)
            next = x;
        emit(x, std::min(d, next - x));
    }
}

} // namespace Tarnwick::ImageOps::RowScan
