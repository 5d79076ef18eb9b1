// Enclosed cavities by labelling the background in runs: each row (fixed y and z) is cut into its runs of
// background along x, runs that overlap in face-adjacent rows are joined with a union-find, and every run
// whose set never reaches the volume border is filled. Sparse vessel masks have a few runs per row, so the
// cost is one sequential pass over the bytes plus work proportional to the runs.
#include <TarnwickGraph/Pipelines/CavityFilling.h>

#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <cstring>
#include <vector>

namespace Tarnwick {

namespace {

struct Run {
    std::int32_t x0, x1; ///< inclusive
};

class RunSets {
public:
    explicit RunSets(std::size_t count) : m_parent(count) {
        for (std::size_t i = 0; i < count; ++i)
            m_parent[i] = static_cast<std::uint32_t>(i);
    }
    std::uint32_t find(std::uint32_t i) {
        while (m_parent[i] != i)
            i = m_parent[i] = m_parent[m_parent[i]];
        return i;
    }
    void join(std::uint32_t a, std::uint32_t b) {
        a = find(a);
        b = find(b);
        // The smaller root wins, so that border runs (marked through their root later) stay cheap to find.
        if (a < b)
            m_parent[b] = a;
        else if (b < a)
            m_parent[a] = b;
    }

private:
    std::vector<std::uint32_t> m_parent;
};

} // namespace

std::size_t fillEnclosedCavities(SharedImage& mask) {
    const ImageDescriptor& descriptor = mask.descriptor();
    if (descriptor.pixelType != PixelType::UInt8 || descriptor.channels != 1)
        return 0;
    const Eigen::Vector3i dims = descriptor.dimensions;
    const std::int64_t nx = dims.x(), ny = dims.y(), nz = dims.z(), rows = ny * nz;
    if (nx * rows >= (std::int64_t(1) << 32)) // run indices are 32-bit
        return 0;
    auto* values = static_cast<std::uint8_t*>(mask.mem()->data());

    // Background runs, row by row; rowStart[r] .. rowStart[r + 1] are the runs of row r = z * ny + y.
    std::vector<Run> runs;
    std::vector<std::uint32_t> rowStart(static_cast<std::size_t>(rows) + 1, 0);
    for (std::int64_t r = 0; r < rows; ++r) {
        const std::uint8_t* row = values + r * nx;
        std::int64_t x = 0;
        while (x < nx) {
            while (x < nx && row[x] != 0)
                ++x;
            if (x == nx)
                break;
            const std::int64_t start = x;
            // Background dominates: skip it eight bytes at a time.
            for (std::uint64_t word = 0; x + 8 <= nx; x += 8) {
                std::memcpy(&word, row + x, 8);
                if (word != 0)
                    break;
            }
            while (x < nx && row[x] == 0)
                ++x;
            runs.push_back({static_cast<std::int32_t>(start), static_cast<std::int32_t>(x - 1)});
        }
        rowStart[static_cast<std::size_t>(r) + 1] = static_cast<std::uint32_t>(runs.size());
    }
    if (runs.empty())
        return 0;

    RunSets sets(runs.size());
    // Joins the overlapping runs of two rows (a sweep over both sorted lists).
    const auto joinRows = [&](std::int64_t a, std::int64_t b) {
        std::uint32_t i = rowStart[a], j = rowStart[b];
        const std::uint32_t iEnd = rowStart[a + 1], jEnd = rowStart[b + 1];
        while (i < iEnd && j < jEnd) {
            if (runs[i].x1 >= runs[j].x0 && runs[j].x1 >= runs[i].x0)
                sets.join(i, j);
            if (runs[i].x1 < runs[j].x1)
                ++i;
            else
                ++j;
        }
    };
    for (std::int64_t z = 0; z < nz; ++z)
        for (std::int64_t y = 0; y < ny; ++y) {
            const std::int64_t r = z * ny + y;
            if (y + 1 < ny)
                joinRows(r, r + 1);
            if (z + 1 < nz)
                joinRows(r, r + ny);
        }

    std::vector<std::uint8_t> outside(runs.size(), 0);
    for (std::int64_t z = 0; z < nz; ++z)
        for (std::int64_t y = 0; y < ny; ++y) {
            const std::int64_t r = z * ny + y;
            const bool borderRow = y == 0 || y == ny - 1 || (nz > 1 && (z == 0 || z == nz - 1));
            for (std::uint32_t i = rowStart[r]; i < rowStart[r + 1]; ++i)
                if (borderRow || runs[i].x0 == 0 || runs[i].x1 == nx - 1)
                    outside[sets.find(i)] = 1;
        }

    std::size_t filled = 0;
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::uint32_t i = rowStart[r]; i < rowStart[r + 1]; ++i)
            if (!outside[sets.find(i)]) {
                std::memset(values + r * nx + runs[i].x0, 1, static_cast<std::size_t>(runs[i].x1 - runs[i].x0 + 1));
                filled += static_cast<std::size_t>(runs[i].x1 - runs[i].x0 + 1);
            }
    return filled;
}

} // namespace Tarnwick
