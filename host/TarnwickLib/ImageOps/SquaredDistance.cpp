// Separable exact squared Euclidean distance transform (Felzenszwalb and Huttenlocher, "Distance
// transforms of sampled functions", Theory of Computing 8, 2012).
//
// Pass 1 finds, along each x row, the distance to the nearest source with two linear scans. Each further
// pass replaces every value g(i) of a line by min_j (g(j) + (step * (i - j))^2), the lower envelope of the
// parabolas rooted at the line's voxels, built and read in one left-to-right sweep each. A line is split
// into runs of non-source voxels, found from the mask: a parabola beyond the nearest source on either
// side can never be lower than the one rooted at that source (value 0), so each run is transformed on its
// own with its neighbouring sources, and source voxels are never touched after pass 1. Sparse targets
// therefore cost little beyond one scan of the mask per pass.
//
// Cost: O(voxels) per pass, three passes (two for 2-D volumes); OpenMP over planes or rows.

#include <TarnwickLib/ImageOps/SquaredDistance.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/RowScan.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace Tarnwick::ImageOps {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Lower envelope of parabolas over one run of a line, with its working memory.
class RunEnvelope {
public:
    explicit RunEnvelope(int maxLength)
        : m_position(static_cast<std::size_t>(maxLength) + 2), m_value(m_position.size()),
          m_boundary(m_position.size()) {}

    // Recomputes the values of the run [a, b] of a line of n voxels, reached as values[i * stride];
    // sources lie right before and after the run unless it touches the line's end, where the outside
    // is a source only when `outsideIsSource`.
    void transform(float* values, std::int64_t stride, int n, int a, int b, double step, bool outsideIsSource,
                   bool root) {
        const double stepSquared = step * step;
        m_count = 0;
        if (a > 0 || outsideIsSource)
            add(a - 1, 0.0);
        for (int i = a; i <= b; ++i) {
            const double g = values[i * stride];
            if (g != kInfinity)
                add(i, g / stepSquared);
        }
        if (b < n - 1 || outsideIsSource)
            add(b + 1, 0.0);
        if (m_count == 0)
            return; // no source reaches the run: it stays +inf
        int k = 0;
        for (int i = a; i <= b; ++i) {
            while (k + 1 < m_count && m_boundary[static_cast<std::size_t>(k) + 1] < i)
                ++k;
            const double d = i - m_position[static_cast<std::size_t>(k)];
            const double squared = stepSquared * (d * d + m_value[static_cast<std::size_t>(k)]);
            values[i * stride] = static_cast<float>(root ? std::sqrt(squared) : squared);
        }
    }

private:
    // Adds the parabola (x - q)^2 + f, in index units; q increases from call to call.
    void add(int q, double f) {
        int k = m_count - 1;
        double s = -kInfinity;
        while (k >= 0) {
            const double p = m_position[static_cast<std::size_t>(k)];
            s = ((f + double(q) * q) - (m_value[static_cast<std::size_t>(k)] + p * p)) / (2.0 * (q - p));
            if (s > m_boundary[static_cast<std::size_t>(k)])
                break;
            --k;
        }
        ++k;
        m_position[static_cast<std::size_t>(k)] = q;
        m_value[static_cast<std::size_t>(k)] = f;
        m_boundary[static_cast<std::size_t>(k)] = k == 0 ? -kInfinity : s;
        m_count = k + 1;
    }

    std::vector<double> m_position, m_value, m_boundary;
    int m_count = 0;
};

class SeparableTransform {
public:
    SeparableTransform(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                       const SquaredDistanceOptions& options, float* values)
        : m_mask(mask), m_sourceValue(sourcesAreForeground), m_dims(dims), m_options(options), m_values(values),
          m_threads(threadsFor(voxelCount(dims))) {}

    void alongX();
    void alongLines(int axis, bool lastPass);

private:
    bool isSource(std::uint8_t maskValue) const { return (maskValue != 0) == m_sourceValue; }
    // Whether any of the eight mask bytes at `bytes` is a non-source.
    bool anyTarget(const std::uint8_t* bytes) const {
        const std::uint64_t word = RowScan::loadWord(bytes);
        return m_sourceValue ? RowScan::hasZeroByte(word) : word != 0;
    }

    const std::uint8_t* m_mask;
    bool m_sourceValue;
    Eigen::Vector3i m_dims;
    const SquaredDistanceOptions& m_options;
    float* m_values;
    int m_threads;
    std::int64_t m_sources = 0; // counted by alongX()
};

void SeparableTransform::alongX() {
    const int nx = m_dims.x();
    const int rows = m_dims.y() * m_dims.z();
    const double step = m_options.spacing.x();
    std::int64_t sources = 0;
#pragma omp parallel num_threads(m_threads) reduction(+ : sources)
    {
        std::vector<int> distance(static_cast<std::size_t>(nx));
#pragma omp for schedule(static)
        for (int row = 0; row < rows; ++row) {
            const std::size_t start = static_cast<std::size_t>(row) * nx;
            const std::uint8_t* mask = m_mask + start;
            int x = 0;
            while (x + 8 <= nx && !anyTarget(mask + x))
                x += 8;
            if (x + 8 > nx && std::all_of(mask + x, mask + nx, [this](std::uint8_t v) { return isSource(v); })) {
                std::fill(m_values + start, m_values + start + nx, 0.0f); // sources only
                sources += nx;
                continue;
            }
            float* values = m_values + start;
            RowScan::forEachDistance(
                mask, nx, m_sourceValue, m_options.outsideIsSource, distance.data(), [&](int x, int d) {
                    const double length = d >= RowScan::kNoSource ? kInfinity : static_cast<double>(d) * step;
                    values[x] = static_cast<float>(length * length);
                    sources += d == 0;
                });
        }
    }
    m_sources = sources;
}

void SeparableTransform::alongLines(int axis, bool lastPass) {
    // The lines of one plane (axis y) or one xz slab (axis z) are swept together, one mask row at a time,
    // so the mask is read contiguously; each column remembers where its current run of non-sources began
    // and transforms the run when it ends. Groups of eight columns without targets or open runs are
    // skipped in one step.
    const int nx = m_dims.x(), n = m_dims[axis];
    const std::size_t plane = static_cast<std::size_t>(nx) * m_dims.y();
    const std::int64_t lineStride = axis == 1 ? nx : static_cast<std::int64_t>(plane);
    const std::size_t outerStride = axis == 1 ? plane : static_cast<std::size_t>(nx);
    const int outerCount = axis == 1 ? m_dims.z() : m_dims.y();
    const double step = m_options.spacing[axis];
    const bool root = m_options.root && lastPass;
    // Along z, consecutive voxels of a line lie a whole plane apart. When most voxels are targets, the
    // runs are long and such strided access thrashes caches and page tables, so the xz slab is then
    // copied to contiguous memory first.
    const bool copySlabs = axis == 2 && 2 * m_sources < static_cast<std::int64_t>(voxelCount(m_dims));
#pragma omp parallel num_threads(m_threads)
    {
        RunEnvelope envelope(n);
        std::vector<int> runStart(static_cast<std::size_t>(nx));
        std::vector<int> openInGroup(static_cast<std::size_t>(nx) / 8 + 1);
        std::vector<float> slab(copySlabs ? static_cast<std::size_t>(nx) * n : 0);
#pragma omp for schedule(dynamic, 1)
        for (int outer = 0; outer < outerCount; ++outer) {
            const std::size_t first = outer * outerStride;
            float* values = m_values + first;
            std::int64_t valueStride = lineStride;
            if (copySlabs) {
                for (int i = 0; i < n; ++i)
                    std::copy(values + i * lineStride, values + i * lineStride + nx, slab.data() + i * nx);
                values = slab.data();
                valueStride = nx;
            }
            auto finishRun = [&](int x, int a, int b) {
                envelope.transform(values + x, valueStride, n, a, b, step, m_options.outsideIsSource, root);
            };
            std::fill(runStart.begin(), runStart.end(), -1);
            std::fill(openInGroup.begin(), openInGroup.end(), 0);
            for (int i = 0; i < n; ++i) {
                const std::uint8_t* maskRow = m_mask + first + i * lineStride;
                for (int x = 0; x < nx;) {
                    if (x % 8 == 0 && x + 8 <= nx && openInGroup[static_cast<std::size_t>(x / 8)] == 0 &&
                        !anyTarget(maskRow + x)) {
                        x += 8;
                        continue;
                    }
                    int& start = runStart[static_cast<std::size_t>(x)];
                    if (!isSource(maskRow[x])) {
                        if (start < 0) {
                            start = i;
                            ++openInGroup[static_cast<std::size_t>(x / 8)];
                        }
                    } else if (start >= 0) {
                        finishRun(x, start, i - 1);
                        start = -1;
                        --openInGroup[static_cast<std::size_t>(x / 8)];
                    }
                    ++x;
                }
            }
            for (int x = 0; x < nx; ++x) {
                if (runStart[static_cast<std::size_t>(x)] >= 0)
                    finishRun(x, runStart[static_cast<std::size_t>(x)], n - 1);
            }
            if (copySlabs) {
                for (int i = 0; i < n; ++i)
                    std::copy(slab.data() + i * nx, slab.data() + (i + 1) * nx, m_values + first + i * lineStride);
            }
        }
    }
}

} // namespace

void squaredDistances(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                      const SquaredDistanceOptions& options, float* values) {
    SeparableTransform transform(mask, sourcesAreForeground, dims, options, values);
    transform.alongX();
    const bool flat = dims.z() == 1;
    transform.alongLines(1, flat);
    if (!flat)
        transform.alongLines(2, true);
}

} // namespace Tarnwick::ImageOps
