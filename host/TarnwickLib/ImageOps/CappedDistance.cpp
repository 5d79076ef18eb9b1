// Capped separable distance transform on bytes. Pass 1 stores, along each x row, the squared distance to
// the nearest source if it is at most radius (255 otherwise). Passes 2 and 3 replace each value by
// min over |k| <= radius of (value k voxels away along y, resp. z) + k^2, saturating at 255, row by row
// so that the inner loops run along x over contiguous bytes. Each pass reads a copy of the plane (or of
// the xz slab) it rewrites, so the transform works in place.
//
// Cost: O(voxels * radius) per pass, three passes (two for 2-D volumes); OpenMP over planes or rows.

#include <TarnwickLib/ImageOps/CappedDistance.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/RowScan.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <algorithm>
#include <vector>

namespace Tarnwick::ImageOps {
namespace {

constexpr std::uint8_t kFar = 255;

// Byte addition that stops at 255; written so that loops over it stay in byte vectors.
inline std::uint8_t saturatingAdd(std::uint8_t a, std::uint8_t b) {
    const std::uint8_t sum = static_cast<std::uint8_t>(a + b);
    return sum < a ? std::uint8_t(255) : sum;
}

struct RowContent {
    bool anyZero = false, anyNonZero = false;
};

// Which kinds of byte a row holds, eight bytes at a time: most rows of a sparse mask are uniform.
RowContent rowContent(const std::uint8_t* row, int n) {
    RowContent content;
    int x = 0;
    for (; x + 8 <= n; x += 8) {
        const std::uint64_t word = RowScan::loadWord(row + x);
        content.anyNonZero |= word != 0;
        content.anyZero |= RowScan::hasZeroByte(word);
    }
    for (; x < n; ++x) {
        content.anyNonZero |= row[x] != 0;
        content.anyZero |= row[x] == 0;
    }
    return content;
}

class CappedTransform {
public:
    CappedTransform(std::uint8_t* values, const Eigen::Vector3i& dims, int radius, bool outsideIsSource,
                    CappedOutput output)
        : m_values(values), m_dims(dims), m_radius(radius), m_outsideIsSource(outsideIsSource), m_output(output),
          m_threads(threadsFor(voxelCount(dims))) {}

    void alongX(const std::uint8_t* mask, bool sourcesAreForeground);
    void alongY(bool lastPass);
    void alongZ();

private:
    // Writes to `out` the windowed minimum around row `index` of the `count` rows in `rows` (each nx bytes
    // long); rows beyond either end are sources when the outside is, else far.
    void windowMinimum(const std::uint8_t* rows, int count, int index, bool lastPass, std::uint8_t* out) const;

    std::uint8_t* m_values;
    Eigen::Vector3i m_dims;
    int m_radius;
    bool m_outsideIsSource;
    CappedOutput m_output;
    int m_threads;
};

void CappedTransform::alongX(const std::uint8_t* mask, bool sourcesAreForeground) {
    const int nx = m_dims.x();
    const int rows = m_dims.y() * m_dims.z();
#pragma omp parallel num_threads(m_threads)
    {
        std::vector<int> distance(static_cast<std::size_t>(nx));
#pragma omp for schedule(static)
        for (int row = 0; row < rows; ++row) {
            const std::uint8_t* in = mask + static_cast<std::size_t>(row) * nx;
            std::uint8_t* v = m_values + static_cast<std::size_t>(row) * nx;
            const RowContent content = rowContent(in, nx);
            const bool anySource = sourcesAreForeground ? content.anyNonZero : content.anyZero;
            const bool anyTarget = sourcesAreForeground ? content.anyZero : content.anyNonZero;
            if (!anyTarget) {
                std::fill(v, v + nx, std::uint8_t(0));
                continue;
            }
            if (!anySource && !m_outsideIsSource) {
                std::fill(v, v + nx, kFar);
                continue;
            }
            RowScan::forEachDistance(
                in, nx, sourcesAreForeground, m_outsideIsSource, distance.data(),
                [&](int x, int d) { v[x] = d <= m_radius ? static_cast<std::uint8_t>(d * d) : kFar; });
        }
    }
}

void CappedTransform::windowMinimum(const std::uint8_t* rows, int count, int index, bool lastPass,
                                    std::uint8_t* out) const {
    const int nx = m_dims.x();
    const std::uint8_t beyond = m_outsideIsSource ? 0 : kFar;
    std::copy(rows + static_cast<std::size_t>(index) * nx, rows + static_cast<std::size_t>(index + 1) * nx, out);
    for (int k = 1; k <= m_radius; ++k) {
        const int lower = index - k, upper = index + k;
        const std::uint8_t* lowerRow = lower >= 0 ? rows + static_cast<std::size_t>(lower) * nx : nullptr;
        const std::uint8_t* upperRow = upper < count ? rows + static_cast<std::size_t>(upper) * nx : nullptr;
        const std::uint8_t step = static_cast<std::uint8_t>(k * k);
        if (lowerRow && upperRow) {
            for (int x = 0; x < nx; ++x)
                out[x] = std::min(out[x], saturatingAdd(std::min(lowerRow[x], upperRow[x]), step));
        } else if (lowerRow || upperRow) {
            const std::uint8_t* row = lowerRow ? lowerRow : upperRow;
            const std::uint8_t outside = saturatingAdd(beyond, step);
            for (int x = 0; x < nx; ++x)
                out[x] = std::min(out[x], std::min(saturatingAdd(row[x], step), outside));
        } else if (m_outsideIsSource) {
            for (int x = 0; x < nx; ++x)
                out[x] = std::min(out[x], step);
        }
    }
    if (!lastPass)
        return;
    const int cap = m_radius * m_radius;
    if (m_output == CappedOutput::SquaredDistance) {
        for (int x = 0; x < nx; ++x)
            out[x] = out[x] <= cap ? out[x] : kFar;
        return;
    }
    const bool within = m_output == CappedOutput::WithinRadius;
    for (int x = 0; x < nx; ++x)
        out[x] = static_cast<std::uint8_t>((out[x] <= cap) == within);
}

void CappedTransform::alongY(bool lastPass) {
    const int nx = m_dims.x(), ny = m_dims.y();
    const std::size_t plane = static_cast<std::size_t>(nx) * ny;
#pragma omp parallel num_threads(m_threads)
    {
        std::vector<std::uint8_t> original(plane);
#pragma omp for schedule(static)
        for (int z = 0; z < m_dims.z(); ++z) {
            std::uint8_t* values = m_values + z * plane;
            std::copy(values, values + plane, original.begin());
            for (int y = 0; y < ny; ++y)
                windowMinimum(original.data(), ny, y, lastPass, values + static_cast<std::size_t>(y) * nx);
        }
    }
}

void CappedTransform::alongZ() {
    const int nx = m_dims.x(), nz = m_dims.z();
    const std::size_t plane = static_cast<std::size_t>(nx) * m_dims.y();
#pragma omp parallel num_threads(m_threads)
    {
        std::vector<std::uint8_t> slab(static_cast<std::size_t>(nx) * nz);
#pragma omp for schedule(static)
        for (int y = 0; y < m_dims.y(); ++y) {
            std::uint8_t* first = m_values + static_cast<std::size_t>(y) * nx;
            for (int z = 0; z < nz; ++z)
                std::copy(first + z * plane, first + z * plane + nx, slab.begin() + static_cast<std::size_t>(z) * nx);
            for (int z = 0; z < nz; ++z)
                windowMinimum(slab.data(), nz, z, true, first + z * plane);
        }
    }
}

} // namespace

void cappedSquaredDistances(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                            int radius, bool outsideIsSource, CappedOutput output, std::uint8_t* values) {
    CappedTransform transform(values, dims, radius, outsideIsSource, output);
    transform.alongX(mask, sourcesAreForeground);
    const bool flat = dims.z() == 1;
    transform.alongY(flat);
    if (!flat)
        transform.alongZ();
}

} // namespace Tarnwick::ImageOps
