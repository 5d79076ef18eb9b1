#include <TarnwickLib/ImageOps/Resampling.h>

#include <TarnwickLib/Image/TypedImage.h>
#include <TarnwickLib/ImageOps/Parallel.h>
#include <TarnwickLib/ImageOps/VolumeValidation.h>

#include <TarnwickCore/Log.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace Tarnwick::ImageOps {
namespace {

template <typename T>
T fromDouble(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        const double rounded = std::round(value);
        return static_cast<T>(std::clamp(rounded, static_cast<double>(std::numeric_limits<T>::lowest()),
                                         static_cast<double>(std::numeric_limits<T>::max())));
    }
}

// Where one target coordinate falls along one source axis: the two voxels to blend and the weight of
// the upper one, or outside.
struct AxisSample {
    bool inside;
    std::int64_t lower, upper;
    double fraction;
};

AxisSample sampleAxis(double p, int n, bool nearest) {
    // The negated test also rejects NaN.
    if (!(p >= -0.5 && p <= n - 0.5))
        return {false, 0, 0, 0.0};
    const double clamped = std::clamp(p, 0.0, static_cast<double>(n - 1));
    if (nearest) {
        const std::int64_t i = std::min<std::int64_t>(static_cast<std::int64_t>(std::floor(clamped + 0.5)), n - 1);
        return {true, i, i, 0.0};
    }
    const std::int64_t lower = static_cast<std::int64_t>(std::floor(clamped));
    return {true, lower, std::min<std::int64_t>(lower + 1, n - 1), clamped - lower};
}

template <typename T>
class Resampler {
public:
    Resampler(const T* source, const Eigen::Vector3i& dims, int channels, bool nearest)
        : m_source(source), m_dims(dims), m_channels(channels), m_nearest(nearest) {}

    // Writes the value of every channel at source pixel coordinate p to `out`.
    void sample(const Eigen::Vector3d& p, T* out) const {
        const AxisSample sx = sampleAxis(p.x(), m_dims.x(), m_nearest);
        const AxisSample sy = sampleAxis(p.y(), m_dims.y(), m_nearest);
        const AxisSample sz = sampleAxis(p.z(), m_dims.z(), m_nearest);
        if (!sx.inside || !sy.inside || !sz.inside) {
            std::fill(out, out + m_channels, T(0));
            return;
        }
        const std::int64_t nx = m_dims.x(), plane = nx * m_dims.y();
        if (m_nearest) {
            const T* v = m_source + (sz.lower * plane + sy.lower * nx + sx.lower) * m_channels;
            std::copy(v, v + m_channels, out);
            return;
        }
        const std::int64_t rows[4] = {sz.lower * plane + sy.lower * nx, sz.lower * plane + sy.upper * nx,
                                      sz.upper * plane + sy.lower * nx, sz.upper * plane + sy.upper * nx};
        const double rowWeights[4] = {(1 - sz.fraction) * (1 - sy.fraction), (1 - sz.fraction) * sy.fraction,
                                      sz.fraction * (1 - sy.fraction), sz.fraction * sy.fraction};
        for (int c = 0; c < m_channels; ++c) {
            double value = 0.0;
            for (int r = 0; r < 4; ++r) {
                const T* row = m_source + rows[r] * m_channels + c;
                value += rowWeights[r] * ((1 - sx.fraction) * static_cast<double>(row[sx.lower * m_channels]) +
                                          sx.fraction * static_cast<double>(row[sx.upper * m_channels]));
            }
            out[c] = fromDouble<T>(value);
        }
    }

private:
    const T* m_source;
    Eigen::Vector3i m_dims;
    int m_channels;
    bool m_nearest;
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
    const Resampler<T> resampler(source, sourceDims, channels, options.interpolation == Interpolation::Nearest);
    const Eigen::Vector3d stepX = targetToSource.block<3, 1>(0, 0);
    const Eigen::Matrix<double, 3, 4> affine = targetToSource.topRows<3>();
#pragma omp parallel for schedule(dynamic, 1) if (worthParallel(voxelCount(targetDims)))
    for (int z = 0; z < targetDims.z(); ++z) {
        for (int y = 0; y < targetDims.y(); ++y) {
            const Eigen::Vector3d rowStart = affine * Eigen::Vector4d(0, y, z, 1);
            T* out = target + (static_cast<std::int64_t>(z) * targetDims.y() + y) * targetDims.x() * channels;
            for (int x = 0; x < targetDims.x(); ++x)
                resampler.sample(rowStart + x * stepX, out + static_cast<std::int64_t>(x) * channels);
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
        std::unique_ptr<MemImage> target = MemImage::create(descriptor);
        const bool ok = dispatchPixelType(source.pixelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            return resample(static_cast<const T*>(source.data()), source.dimensions(), source.channels(), targetDims,
                            targetToSource, options, static_cast<T*>(target->data()));
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
