// Separable exact squared Euclidean distance transform (Felzenszwalb and Huttenlocher, "Distance
// transforms of sampled functions", Theory of Computing 8, 2012).
//
// Pass 1 finds, along each x row, the distance to the nearest source with two linear scans. Each further
// pass replaces every value g(i) of a line by min_j (g(j) + (step * (i - j))^2), the lower envelope of the
// parabolas rooted at the line's voxels, built and read in one left-to-right sweep each. A line is split
// at its sources (zeros): a parabola beyond the nearest zero on either side can never be lower than the
// one rooted at that zero. Sparse targets therefore cost little, and lines without targets are skipped.
// Lines are processed in blocks of columns that share cache lines, copied to contiguous buffers.
//
// Cost: O(voxels) per pass, three passes (two for 2-D volumes); OpenMP over planes or rows.

#include <TarnwickLib/ImageOps/SquaredDistance.h>

#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace Tarnwick::ImageOps {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <typename T>
constexpr T farValue() {
    if constexpr (std::numeric_limits<T>::has_infinity)
        return std::numeric_limits<T>::infinity();
    else
        return std::numeric_limits<T>::max();
}

template <typename T>
double toSquared(T value) {
    return value == farValue<T>() ? kInfinity : static_cast<double>(value);
}

template <typename T>
T store(double squared, const SquaredDistanceOptions& options, bool lastPass) {
    if (squared > options.cap)
        squared = kInfinity;
    if (lastPass) {
        switch (options.output) {
        case DistanceOutput::Squared:
            break;
        case DistanceOutput::Root:
            squared = std::sqrt(squared);
            break;
        case DistanceOutput::WithinCap:
            return static_cast<T>(squared <= options.cap ? 1 : 0);
        case DistanceOutput::BeyondCap:
            return static_cast<T>(squared > options.cap ? 1 : 0);
        }
    }
    return squared == kInfinity ? farValue<T>() : static_cast<T>(squared);
}

// Lower envelope of parabolas along one line, with its working memory.
class LineEnvelope {
public:
    explicit LineEnvelope(int maxLength)
        : m_position(static_cast<std::size_t>(maxLength) + 2), m_value(m_position.size()),
          m_boundary(m_position.size() + 1) {}

    // g: squared distances along the line (0 at sources, +inf where unknown), replaced by the exact ones.
    void transform(double* g, int n, double step, bool outsideIsSource) {
        for (int a = 0; a < n;) {
            if (g[a] == 0.0) {
                ++a;
                continue;
            }
            int b = a;
            while (b + 1 < n && g[b + 1] != 0.0)
                ++b;
            transformRun(g, n, a, b, step, outsideIsSource);
            a = b + 1;
        }
    }

private:
    // Recomputes g[a..b], a maximal run without sources, from its own values and the sources next to it.
    void transformRun(double* g, int n, int a, int b, double step, bool outsideIsSource) {
        const double stepSquared = step * step;
        m_count = 0;
        if (a > 0 || outsideIsSource)
            add(a - 1, 0.0);
        for (int i = a; i <= b; ++i) {
            if (g[i] != kInfinity)
                add(i, g[i] / stepSquared);
        }
        if (b < n - 1 || outsideIsSource)
            add(b + 1, 0.0);
        if (m_count == 0)
            return;
        int k = 0;
        for (int i = a; i <= b; ++i) {
            while (k + 1 < m_count && m_boundary[static_cast<std::size_t>(k) + 1] < i)
                ++k;
            const double d = i - m_position[static_cast<std::size_t>(k)];
            g[i] = stepSquared * (d * d + m_value[static_cast<std::size_t>(k)]);
        }
    }

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

template <typename T>
class SeparableTransform {
public:
    SeparableTransform(const Eigen::Vector3i& dims, const SquaredDistanceOptions& options, T* values)
        : m_dims(dims), m_options(options), m_values(values) {}

    void alongX(const std::uint8_t* mask, bool sourcesAreForeground);
    void alongLines(int axis, bool lastPass);

private:
    // Columns handled together: one cache line of values.
    static constexpr int kBlock = static_cast<int>(64 / sizeof(T));

    Eigen::Vector3i m_dims;
    const SquaredDistanceOptions& m_options;
    T* m_values;
};

template <typename T>
void SeparableTransform<T>::alongX(const std::uint8_t* mask, bool sourcesAreForeground) {
    const int nx = m_dims.x();
    const int rows = m_dims.y() * m_dims.z();
    constexpr int kNone = 1 << 30; // farther than any volume is long
    const double step = m_options.spacing.x();
#pragma omp parallel if (worthParallel(voxelCount(m_dims)))
    {
        std::vector<int> distance(static_cast<std::size_t>(nx));
#pragma omp for schedule(static)
        for (int row = 0; row < rows; ++row) {
            const std::size_t start = static_cast<std::size_t>(row) * nx;
            int last = m_options.outsideIsSource ? -1 : -kNone;
            for (int x = 0; x < nx; ++x) {
                if ((mask[start + x] != 0) == sourcesAreForeground)
                    last = x;
                distance[static_cast<std::size_t>(x)] = x - last;
            }
            int next = m_options.outsideIsSource ? nx : kNone + nx;
            for (int x = nx - 1; x >= 0; --x) {
                int& d = distance[static_cast<std::size_t>(x)];
                if (d == 0)
                    next = x;
                d = std::min(d, next - x);
                const double length = d >= kNone ? kInfinity : d * step;
                m_values[start + x] = store<T>(length * length, m_options, false);
            }
        }
    }
}

template <typename T>
void SeparableTransform<T>::alongLines(int axis, bool lastPass) {
    const int nx = m_dims.x(), n = m_dims[axis];
    const std::size_t plane = static_cast<std::size_t>(nx) * m_dims.y();
    const std::size_t lineStride = axis == 1 ? static_cast<std::size_t>(nx) : plane;
    const std::size_t outerStride = axis == 1 ? plane : static_cast<std::size_t>(nx);
    const int outerCount = axis == 1 ? m_dims.z() : m_dims.y();
    const double step = m_options.spacing[axis];
    const T zeroOutput = store<T>(0.0, m_options, lastPass);
#pragma omp parallel if (worthParallel(voxelCount(m_dims)))
    {
        LineEnvelope envelope(n);
        std::vector<double> lines(static_cast<std::size_t>(kBlock) * n);
#pragma omp for schedule(dynamic, 1)
        for (int outer = 0; outer < outerCount; ++outer) {
            for (int x0 = 0; x0 < nx; x0 += kBlock) {
                const int width = std::min(kBlock, nx - x0);
                T* base = m_values + outer * outerStride + x0;
                bool anyTarget = false;
                for (int i = 0; i < n; ++i) {
                    const T* row = base + i * lineStride;
                    for (int k = 0; k < width; ++k) {
                        anyTarget |= row[k] != T(0);
                        lines[static_cast<std::size_t>(k) * n + i] = toSquared(row[k]);
                    }
                }
                if (!anyTarget) {
                    if (zeroOutput != T(0)) {
                        for (int i = 0; i < n; ++i)
                            std::fill(base + i * lineStride, base + i * lineStride + width, zeroOutput);
                    }
                    continue;
                }
                for (int k = 0; k < width; ++k)
                    envelope.transform(&lines[static_cast<std::size_t>(k) * n], n, step, m_options.outsideIsSource);
                for (int i = 0; i < n; ++i) {
                    T* row = base + i * lineStride;
                    for (int k = 0; k < width; ++k)
                        row[k] = store<T>(lines[static_cast<std::size_t>(k) * n + i], m_options, lastPass);
                }
            }
        }
    }
}

} // namespace

template <typename T>
void squaredDistances(const std::uint8_t* mask, bool sourcesAreForeground, const Eigen::Vector3i& dims,
                      const SquaredDistanceOptions& options, T* values) {
    SeparableTransform<T> transform(dims, options, values);
    transform.alongX(mask, sourcesAreForeground);
    const bool flat = dims.z() == 1;
    transform.alongLines(1, flat);
    if (!flat)
        transform.alongLines(2, true);
}

template void squaredDistances<float>(const std::uint8_t*, bool, const Eigen::Vector3i&, const SquaredDistanceOptions&,
                                      float*);
template void squaredDistances<std::uint8_t>(const std::uint8_t*, bool, const Eigen::Vector3i&,
                                             const SquaredDistanceOptions&, std::uint8_t*);

} // namespace Tarnwick::ImageOps
