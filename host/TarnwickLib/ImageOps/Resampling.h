#pragma once

#include <TarnwickLib/Image/MemImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Tarnwick::ImageOps {

enum class Interpolation { Nearest, Linear };

struct ResamplingOptions {
    Interpolation interpolation = Interpolation::Linear;
};

/// Resamples an image onto another voxel grid.
///
/// Target voxel (x, y, z) takes the source value at the pixel coordinate p = targetToSource * (x, y, z, 1)
/// (the caller composes target pixel -> world -> source pixel). A coordinate with -0.5 <= p <= n - 0.5
/// on every axis lies inside the source and is clamped to the border voxel centres, so the border value
/// reaches the edge of the volume; any other coordinate (or NaN) gives 0. An axis with one voxel (the z
/// axis of a 2-D image) therefore only decides inside or outside.
///
/// - Nearest: the voxel whose centre is closest (halves round up).
/// - Linear: trilinear interpolation of the eight surrounding voxel centres; integer types are rounded to
///   the nearest value (halves away from zero) and clamped to their range. A 0/1 mask thus becomes 1
///   where the interpolated value reaches 0.5, the same as interpolating and thresholding at 0.5.
///
/// `source` holds sourceDims.prod() * channels values and `target` targetDims.prod() * channels, channels
/// interleaved, x fastest. T is one of the eight pixel types. OpenMP over target planes. Invalid input
/// (null buffers, a dimension or channel count < 1, too many values, a matrix that is not finite) logs
/// an error and returns false.
template <typename T>
bool resample(const T* source, const Eigen::Vector3i& sourceDims, int channels, const Eigen::Vector3i& targetDims,
              const Eigen::Matrix4d& targetToSource, const ResamplingOptions& options, T* target);

/// resample() of an image of any pixel type onto `targetDims` voxels of spacing `targetSpacing`; the
/// result has the source's pixel type and channels. nullptr (with a logged error) for invalid input.
std::unique_ptr<MemImage> resample(const MemImage& source, const Eigen::Vector3i& targetDims,
                                   const Eigen::Vector3d& targetSpacing, const Eigen::Matrix4d& targetToSource,
                                   const ResamplingOptions& options);

#define TARNWICK_RESAMPLE_EXTERN(T)                                                                                    \
    extern template bool resample<T>(const T*, const Eigen::Vector3i&, int, const Eigen::Vector3i&,                    \
                                     const Eigen::Matrix4d&, const ResamplingOptions&, T*);
TARNWICK_RESAMPLE_EXTERN(char)
TARNWICK_RESAMPLE_EXTERN(unsigned char)
TARNWICK_RESAMPLE_EXTERN(short)
TARNWICK_RESAMPLE_EXTERN(unsigned short)
TARNWICK_RESAMPLE_EXTERN(int)
TARNWICK_RESAMPLE_EXTERN(unsigned int)
TARNWICK_RESAMPLE_EXTERN(float)
TARNWICK_RESAMPLE_EXTERN(double)
#undef TARNWICK_RESAMPLE_EXTERN

} // namespace Tarnwick::ImageOps
