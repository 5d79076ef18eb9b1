#include <TarnwickLib/ImageOps/Resampling.h>

#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

namespace Tarnwick::ImageOps {
namespace {

template <typename T>
T fromDouble(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        // Round half away from zero, clamped to the type; written out because std::round is a library
        // call on baseline x86-64 and this runs once per voxel.
        constexpr double lowest = static_cast<double>(std::numeric_limits<T>::lowest());
        constexpr double highest = static_cast<double>(std::numeric_limits<T>::max());
        if (value <= lowest)
            return std::numeric_limits<T>::lowest();
        if (value >= highest)
            return std::numeric_limits<T>::max();
        return static_cast<T>(value >= 0.0 ? static_cast<std::int64_t>(value + 0.5)
                                           : -static_cast<std::int64_t>(0.5 - value));
    }
}

// Where one target coordinate falls along one source axis: the two voxels to blend and the weight of
// the upper one; false outside. The clamped coordinate is never negative, so truncation is floor.
inline bool sampleAxis(double p, int n, std::int64_t& lower, std::int64_t& upper, double& fraction) {
    // The negated test also rejects NaN.
    if (!(p >= -0.5 && p <= n - 0.5))
        return false;
    const double clamped = p < 0.0 ? 0.0 : (p > n - 1 ? static_cast<double>(n - 1) : p);
    lower = static_cast<std::int64_t>(clamped);
    upper = lower + (lower < n - 1);
    fraction = clamped - static_cast<double>(lower);
    return true;
}

inline bool nearestAxis(double p, int n, std::int64_t& index) {
    if (!(p >= -0.5 && p <= n - 0.5))
        return false;
    // p + 0.5 lies in [0, n]; the upper end belongs to the last voxel.
    index = std::min<std::int64_t>(static_cast<std::int64_t>(p + 0.5), n - 1);
    return true;
}

template <typename T>
class Resampler {
public:
    Resampler(const T* source, const Eigen::Vector3i& dims, int channels)
        : m_source(source), m_dims(dims), m_channels(channels), m_row(dims.x()),
          m_plane(static_cast<std::int64_t>(dims.x()) * dims.y()) {}

    // Writes the values of every channel at source pixel coordinate p to `out`: nearest voxel.
    void nearest(const Eigen::Vector3d& p, T* out) const {
        std::int64_t x, y, z;
        if (!nearestAxis(p.x(), m_dims.x(), x) || !nearestAxis(p.y(), m_dims.y(), y) ||
            !nearestAxis(p.z(), m_dims.z(), z)) {
            clear(out);
            return;
        }
        const T* v = m_source + (z * m_plane + y * m_row + x) * m_channels;
        for (int c = 0; c < m_channels; ++c) // a plain loop: library copies cost a call per voxel
            out[c] = v[c];
    }

    // The same, trilinear.
    void linear(const Eigen::Vector3d& p, T* out) const {
        std::int64_t x0, x1, y0, y1, z0, z1;
        double fx, fy, fz;
        if (!sampleAxis(p.x(), m_dims.x(), x0, x1, fx) || !sampleAxis(p.y(), m_dims.y(), y0, y1, fy) ||
            !sampleAxis(p.z(), m_dims.z(), z0, z1, fz)) {
            clear(out);
            return;
        }
        const T* r00 = m_source + (z0 * m_plane + y0 * m_row) * m_channels;
        const T* r01 = m_source + (z0 * m_plane + y1 * m_row) * m_channels;
        const T* r10 = m_source + (z1 * m_plane + y0 * m_row) * m_channels;
        const T* r11 = m_source + (z1 * m_plane + y1 * m_row) * m_channels;
        const std::int64_t a = x0 * m_channels, b = x1 * m_channels;
        for (int c = 0; c < m_channels; ++c) {
            const T taps[8] = {r00[a + c], r00[b + c], r01[a + c], r01[b + c],
                               r10[a + c], r10[b + c], r11[a + c], r11[b + c]};
            out[c] = blend(taps, fx, fy, fz);
        }
    }

    // The same for coordinates known to lie in the interior returned by interior(): no tests, no clamping.
    void nearestInterior(const Eigen::Vector3d& p, T* out) const {
        const std::int64_t x = static_cast<std::int64_t>(p.x() + 0.5), y = static_cast<std::int64_t>(p.y() + 0.5),
                           z = static_cast<std::int64_t>(p.z() + 0.5);
        const T* v = m_source + (z * m_plane + y * m_row + x) * m_channels;
        for (int c = 0; c < m_channels; ++c)
            out[c] = v[c];
    }
    void linearInterior(const Eigen::Vector3d& p, T* out) const {
        const std::int64_t x0 = static_cast<std::int64_t>(p.x()), y0 = static_cast<std::int64_t>(p.y()),
                           z0 = static_cast<std::int64_t>(p.z());
        const double fx = p.x() - x0, fy = p.y() - y0, fz = p.z() - z0;
        const T* r00 = m_source + (z0 * m_plane + y0 * m_row + x0) * m_channels;
        const T* r01 = r00 + m_row * m_channels;
        const T* r10 = r00 + m_plane * m_channels;
        const T* r11 = r10 + m_row * m_channels;
        for (int c = 0; c < m_channels; ++c) {
            const T taps[8] = {r00[c], r00[m_channels + c], r01[c], r01[m_channels + c],
                               r10[c], r10[m_channels + c], r11[c], r11[m_channels + c]};
            out[c] = blend(taps, fx, fy, fz);
        }
    }

    // Target x range [first, end) of the row starting at source position `start` with step `step`
    // whose samples need neither inside tests nor clamping: every coordinate in [0, n - 1) for linear
    // and in [-0.5, n - 0.5) for nearest, with one voxel of margin against rounding.
    std::pair<int, int> interior(const Eigen::Vector3d& start, const Eigen::Vector3d& step, int width,
                                 bool nearest) const {
        double first = 0.0, end = width;
        for (int a = 0; a < 3; ++a) {
            const double lo = nearest ? -0.5 : 0.0, hi = nearest ? m_dims[a] - 0.5 : m_dims[a] - 1.0;
            if (std::abs(step[a]) < 1e-12) {
                if (!(start[a] >= lo + 1e-9 && start[a] < hi - 1e-9))
                    return {0, 0};
                continue;
            }
            double t0 = (lo - start[a]) / step[a], t1 = (hi - start[a]) / step[a];
            if (t0 > t1)
                std::swap(t0, t1);
            first = std::max(first, std::ceil(t0) + 1.0);
            end = std::min(end, std::floor(t1) - 1.0);
        }
        if (!(first < end))
            return {0, 0};
        return {static_cast<int>(first), static_cast<int>(end)};
    }

private:
    // Trilinear blend of the eight voxels around a point, x fastest: (x0 y0 z0), (x1 y0 z0), (x0 y1 z0), ...
    static T blend(const T (&taps)[8], double fx, double fy, double fz) {
        // Masks are mostly background: skip the arithmetic when all eight neighbours are 0.
        if (std::all_of(taps, taps + 8, [](T v) { return v == T(0); }))
            return T(0);
        auto alongX = [fx](T low, T high) {
            return static_cast<double>(low) + fx * (static_cast<double>(high) - static_cast<double>(low));
        };
        const double a = alongX(taps[0], taps[1]), b = alongX(taps[2], taps[3]), d = alongX(taps[4], taps[5]),
                     e = alongX(taps[6], taps[7]);
        const double low = a + fy * (b - a), high = d + fy * (e - d);
        return fromDouble<T>(low + fz * (high - low));
    }

    void clear(T* out) const {
        for (int c = 0; c < m_channels; ++c)
            out[c] = T(0);
    }

    const T* m_source;
    Eigen::Vector3i m_dims;
    int m_channels;
    std::int64_t m_row, m_plane;
};

} // namespace

template <typename T>
bool resample(const T* source, const Eigen::Vector3i& sourceDims, int channels, const Eigen::Vector3i& targetDims,
              const Eigen::Matrix4d& targetToSource, const ResamplingOptions& options, T* target) {
    if (!validateVolume("resample", source, sourceDims, channels) ||
        !validateVolume("resample", target, targetDims, channels))
        return false;
    if (!targetToSource.allFinite()) {
        TW_LOG_ERROR("resample: the target-to-source matrix is not finite");
        return false;
    }
    const Resampler<T> resampler(source, sourceDims, channels);
    const bool nearest = options.interpolation == Interpolation::Nearest;
    const Eigen::Vector3d stepX = targetToSource.block<3, 1>(0, 0);
    const Eigen::Matrix<double, 3, 4> affine = targetToSource.topRows<3>();
#pragma omp parallel for schedule(dynamic, 1) num_threads(threadsFor(voxelCount(targetDims)))
    for (int z = 0; z < targetDims.z(); ++z) {
        for (int y = 0; y < targetDims.y(); ++y) {
            const Eigen::Vector3d rowStart = affine * Eigen::Vector4d(0, y, z, 1);
            T* row = target + (static_cast<std::int64_t>(z) * targetDims.y() + y) * targetDims.x() * channels;
            const auto [first, end] = resampler.interior(rowStart, stepX, targetDims.x(), nearest);
            for (int x = 0; x < targetDims.x(); ++x) {
                T* out = row + static_cast<std::int64_t>(x) * channels;
                const Eigen::Vector3d p = rowStart + x * stepX;
                const bool inner = x >= first && x < end;
                if (nearest)
                    inner ? resampler.nearestInterior(p, out) : resampler.nearest(p, out);
                else
                    inner ? resampler.linearInterior(p, out) : resampler.linear(p, out);
            }
        }
    }
    return true;
}

std::unique_ptr<MemImage> resample(const MemImage& source, const Eigen::Vector3i& targetDims,
                                   const Eigen::Vector3d& targetSpacing, const Eigen::Matrix4d& targetToSource,
                                   const ResamplingOptions& options) {
    if (!validateVolume("resample", source.data(), targetDims, source.channels()) ||
        !validateSpacing("resample", targetSpacing))
        return nullptr;
    try {
        const ImageDescriptor descriptor(source.pixelType(), targetDims, source.channels(), targetSpacing);
        std::unique_ptr<MemImage> target;
        const bool ok = dispatchPixelType(source.pixelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            // Every target value is written.
            auto typed = TypedImage<T>::uninitialized(descriptor);
            T* values = typed->pointer();
            target = std::move(typed);
            return resample(static_cast<const T*>(source.data()), source.dimensions(), source.channels(), targetDims,
                            targetToSource, options, values);
        });
        return ok ? std::move(target) : nullptr;
    } catch (const std::bad_alloc&) {
        TW_LOG_ERROR("resample: not enough memory for a {}x{}x{} target", targetDims.x(), targetDims.y(),
                     targetDims.z());
        return nullptr;
    }
}

#define TARNWICK_RESAMPLE_INSTANTIATE(T)                                                                               \
    template bool resample<T>(const T*, const Eigen::Vector3i&, int, const Eigen::Vector3i&, const Eigen::Matrix4d&,   \
                              const ResamplingOptions&, T*);
TARNWICK_RESAMPLE_INSTANTIATE(char)
TARNWICK_RESAMPLE_INSTANTIATE(unsigned char)
TARNWICK_RESAMPLE_INSTANTIATE(short)
TARNWICK_RESAMPLE_INSTANTIATE(unsigned short)
TARNWICK_RESAMPLE_INSTANTIATE(int)
TARNWICK_RESAMPLE_INSTANTIATE(unsigned int)
TARNWICK_RESAMPLE_INSTANTIATE(float)
TARNWICK_RESAMPLE_INSTANTIATE(double)
#undef TARNWICK_RESAMPLE_INSTANTIATE

} // namespace Tarnwick::ImageOps
