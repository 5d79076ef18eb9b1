#include <TarnwickLib/ImageOps/BitVolume.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <cstring>

namespace Tarnwick::ImageOps {

BitVolume::BitVolume(const Eigen::Vector3i& dims) : m_dims(dims) {
    const std::int64_t rowWords = (static_cast<std::int64_t>(dims.x()) + 2 + 63) / 64;
    m_strideY = rowWords * 64;
    m_strideZ = m_strideY * (dims.y() + 2);
    m_words.assign(static_cast<std::size_t>(rowWords * (dims.y() + 2) * (dims.z() + 2) + 1), 0);
}

void BitVolume::setFromMask(const std::uint8_t* mask) {
#pragma omp parallel for schedule(static) num_threads(threadsFor(voxelCount(m_dims)))
    for (int z = 0; z < m_dims.z(); ++z) {
        for (int y = 0; y < m_dims.y(); ++y) {
            const std::uint8_t* row = mask + (static_cast<std::int64_t>(z) * m_dims.y() + y) * m_dims.x();
            const std::int64_t start = index(0, y, z);
            int x = 0;
            // Sparse masks: skip eight background bytes at a time.
            for (; x + 8 <= m_dims.x(); x += 8) {
                std::uint64_t chunk;
                std::memcpy(&chunk, row + x, sizeof chunk);
                if (chunk == 0)
                    continue;
                for (int k = 0; k < 8; ++k) {
                    if (row[x + k])
                        set(start + x + k);
                }
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
