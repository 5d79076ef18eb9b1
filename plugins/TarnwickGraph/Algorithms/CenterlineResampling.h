#pragma once

#include <TarnwickLib/Image/ImageDescriptorWorld.h>

#include <Eigen/Core>

#include <memory>
#include <optional>

namespace Tarnwick {

class SharedImage;
class SharedImageSet;

/// The isotropic resampling of a vessel mask that centerline extraction and distance-weighted smoothing
/// share: the mask is coarsened (never refined) until the thinnest vessel of interest spans a given
/// number of voxels, on an odd-sized grid around the labels with a margin for hole closing and thinning.
namespace CenterlineResampling {

struct Options {
    double minVesselDiameter = 1.0;        ///< millimetres
    int minPixelResolution = 6;            ///< voxels across the thinnest vessel
    std::optional<int> closeHolesSize = 2; ///< extra margin in voxels on each side when set
};

/// The foreground of `labels` as a uint8 mask of modality Label in the same frame: an unsigned 8-bit image
/// shares its voxels (non-zero is foreground), any other is thresholded above 0.5 into a new mask. Null,
/// with an error logged, when the thresholded copy cannot be made.
std::shared_ptr<SharedImage> binaryMask(const SharedImage& labels);

/// t = max(s, minVesselDiameter / minPixelResolution), s the largest spacing over x, y, z (over x, y for a
/// 2-D image). A ratio that is not a positive finite number (minPixelResolution < 1, a negative or NaN
/// diameter) leaves t = s.
double computeTargetSpacing(const ImageDescriptor& input, double minVesselDiameter, int minPixelResolution);

/// The grid around the voxel box [boundsMin, boundsMax] (inclusive voxel indices of the input) at
/// isotropic spacing t. Its centre is the box centre rounded to whole voxels, mapped to world by the
/// input's pixel-to-world transform; its axes are the input's. Along each axis n = ceil(extent in voxels x
/// input spacing / t) (extent = max - min + 1; a relative 1e-9 is forgiven before rounding up), and the
/// dimension is n + 2 p + 4, plus 1 when n is even, p = closeHolesSize or 0. A 2-D input keeps dimension
/// 1 and spacing 1 along z. The descriptor has pixel type uint8 and one channel. Empty when the box is
/// empty (a max below its min), t is not positive and finite, p is negative, or the grid would exceed
/// 2^31 voxels.
std::optional<ImageDescriptorWorld> computeTargetGrid(const ImageDescriptorWorld& input,
                                                      const Eigen::Vector3i& boundsMin,
                                                      const Eigen::Vector3i& boundsMax, double targetSpacing,
                                                      std::optional<int> closeHolesSize);

/// The foreground of a single-channel `labels` image (non-zero voxels of an unsigned 8-bit image, values
/// above 0.5 otherwise) as a 0/1 uint8 mask of modality Label, resampled onto computeTargetGrid() around
/// the merged bounds of all labels (ImageOps::computeBounds) with linear interpolation of the mask,
/// thresholded at 0.5 (ImageResamplingAlgorithm). Null, with the reason logged, for a multi-channel
/// image, an image without foreground or a failed resampling. O(input voxels + output voxels).
std::unique_ptr<SharedImageSet> resampleLabelMap(const SharedImage& labels, const Options& options = {});

} // namespace CenterlineResampling
} // namespace Tarnwick
