#include <TarnwickLib/ImageOps/BitVolume.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <cstring>

namespace Tarnwick::ImageOps {

BitVolume::BitVolume(const Eigen::Vector3i& dims) : m_dims(dims) {
    m_strideY = (static_cast<std::int64_t>(dims.x()) + 2 + 63) / 64 * 64;
    m_strideZ = m_strideY * (static_cast<std::int64_t>(dims.y()) + 2);
    m_words.assign(static_cast<std::size_t>(paddedBits(dims) / 64 + 1), 0);
}

void BitVolume::setFromMask(const std::uint8_t* mask) {
#pragma omp parallel for schedule(static) num_threads(threadsFor(voxelCount(m_dims)))
    for (int z = 0; z < m_dims.z(); ++z) {
        for (int y = 0; y < m_dims.y(); ++y) {
            const std::uint8_t* row = mask + (static_cast<std::int64_t>(z) * m_dims.y() + y) * m_dims.x();
            const std::int64_t start = index(0, y, z);
            int x = 0;
            // Eight voxels at a time: the byte-wise "non-zero" bits are gathered into one byte (bit k from
            // byte k, on this little-endian layout) by a multiplication, and written with at most two ORs.
            for (; x + 8 <= m_dims.x(); x += 8) {
                std::uint64_t chunk;
                std::memcpy(&chunk, row + x, sizeof chunk);
                if (chunk == 0)
                    continue;
                chunk |= chunk >> 4;
                chunk |= chunk >> 2;
                chunk |= chunk >> 1;
                const std::uint64_t eight = ((chunk & 0x0101010101010101u) * 0x0102040810204080u) >> 56;
                const std::int64_t first = start + x;
                const int shift = static_cast<int>(first & 63);
                m_words[first >> 6] |= eight << shift;
                if (shift > 56)
                    m_words[(first >> 6) + 1] |= eight >> (64 - shift);
            }
            for (; x < m_dims.x(); ++x) {
                if (row[x])
                    set(start + x);
            }
        }
    }
}

void BitVolume::writeMask(std::uint8_t* out) const {
#pragma omp parallel for schedule(static) num_threads(threadsFor(voxelCount(m_dims)))
    for (int z = 0; z < m_dims.z(); ++z) {
        for (int y = 0; y < m_dims.y(); ++y) {
            std::uint8_t* row = out + (static_cast<std::int64_t>(z) * m_dims.y() + y) * m_dims.x();
            std::memset(row, 0, static_cast<std::size_t>(m_dims.x()));
            const std::int64_t start = index(0, y, z);
            const std::int64_t firstWord = start >> 6, lastWord = (start + m_dims.x() - 1) >> 6;
            for (std::int64_t w = firstWord; w <= lastWord; ++w) {
                for (std::uint64_t bits = m_words[w]; bits != 0; bits &= bits - 1)
                    row[w * 64 + lowestBit(bits) - start] = 1;
            }
        }
    }
}

} // namespace Tarnwick::ImageOps
