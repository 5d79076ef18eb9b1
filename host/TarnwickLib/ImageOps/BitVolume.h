#pragma once

#include <TarnwickLib/ImageOps/HugePageAllocator.h>

#include <Eigen/Core>

#include <cstdint>
#include <cstring>

namespace Tarnwick::ImageOps {

/// A binary volume with one bit per voxel and one voxel of zero padding on every side, for the
/// neighbourhood-heavy thinning. Each padded row starts on a 64-bit word, so rows of different planes
/// never share a word, planes can be written by different threads, and the words of the neighbouring
/// rows of a word are a fixed number of words away.
///
/// Voxels are addressed by a linear bit index; index(x, y, z) takes unpadded coordinates, and the
/// neighbour at (dx, dy, dz) is index + dx + dy * strideY() + dz * strideZ().
class BitVolume {
public:
    /// An all-zero volume for unpadded dimensions `dims` (each at least 1).
    explicit BitVolume(const Eigen::Vector3i& dims);

    /// Bits of the padded volume for `dims`: the largest voxel index is below this.
    static std::uint64_t paddedBits(const Eigen::Vector3i& dims) {
        const std::uint64_t rowBits = (static_cast<std::uint64_t>(dims.x()) + 2 + 63) / 64 * 64;
        return rowBits * (static_cast<std::uint64_t>(dims.y()) + 2) * (static_cast<std::uint64_t>(dims.z()) + 2);
    }

    /// Sets the bit of every non-zero voxel of `mask` (dims.prod() bytes, x fastest); parallel over z.
    void setFromMask(const std::uint8_t* mask);
    /// Writes every voxel as 0 or 1 into `out` (dims.prod() bytes, x fastest); parallel over z.
    void writeMask(std::uint8_t* out) const;

    std::int64_t index(int x, int y, int z) const { return (z + 1) * m_strideZ + (y + 1) * m_strideY + (x + 1); }
    std::int64_t strideY() const { return m_strideY; }
    std::int64_t strideZ() const { return m_strideZ; }

    bool test(std::int64_t i) const { return (m_words[i >> 6] >> (i & 63)) & 1; }
    void set(std::int64_t i) { m_words[i >> 6] |= std::uint64_t(1) << (i & 63); }
    void reset(std::int64_t i) { m_words[i >> 6] &= ~(std::uint64_t(1) << (i & 63)); }

    /// Word access: word w holds voxels 64w .. 64w + 63, bit k being voxel 64w + k.
    std::uint64_t word(std::int64_t w) const { return m_words[w]; }
    void setWord(std::int64_t w, std::uint64_t bits) { m_words[w] = bits; }
    /// Index of the first word of row (y, z) (unpadded coordinates; includes the padding voxel x = -1).
    std::int64_t rowFirstWord(int y, int z) const { return index(-1, y, z) >> 6; }
    std::int64_t wordsPerRow() const { return m_strideY >> 6; }
    std::int64_t wordsPerPlane() const { return m_strideZ >> 6; }

    /// The 3x3x3 neighbourhood of voxel i packed as in ThinningTopology (bit (dx+1) + 3(dy+1) + 9(dz+1)).
    std::uint32_t cube(std::int64_t i) const {
        // Rows start on word boundaries, so the nine rows share one bit offset; the three bits of a row
        // lie in the two bytes from the byte holding the first of them.
        const std::int64_t start = i - 1;
        const int shift = static_cast<int>(start & 7);
        const unsigned char* center = bytes() + (start >> 3);
        const std::int64_t row = m_strideY >> 3, plane = m_strideZ >> 3;
        std::uint32_t bits = 0;
        int position = 0;
        for (int dz = -1; dz <= 1; ++dz) {
            for (int dy = -1; dy <= 1; ++dy, position += 3) {
                std::uint16_t pair;
                std::memcpy(&pair, center + dy * row + dz * plane, sizeof pair);
                bits |= static_cast<std::uint32_t>((pair >> shift) & 7) << position;
            }
        }
        return bits;
    }

    /// Index of the lowest set bit of a non-zero word.
    static int lowestBit(std::uint64_t bits) { return __builtin_ctzll(bits); }

private:
    // Byte k of the words holds voxels 8k .. 8k + 7 (bit j = voxel 8k + j) on little-endian machines.
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "BitVolume reads bit rows through bytes");
    const unsigned char* bytes() const { return reinterpret_cast<const unsigned char*>(m_words.data()); }
    unsigned char* bytes() { return reinterpret_cast<unsigned char*>(m_words.data()); }

    Eigen::Vector3i m_dims;
    std::int64_t m_strideY = 0;
    std::int64_t m_strideZ = 0;
    ScratchVector<std::uint64_t> m_words; // one spare word at the end for cube()
};

} // namespace Tarnwick::ImageOps
