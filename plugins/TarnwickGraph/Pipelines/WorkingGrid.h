#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <memory>
#include <string>

namespace Tarnwick {

class ImageDescriptor;
class SharedImage;

/// The grid the main job extracts centerlines on. The extraction coarsens its input to the input's
/// coarsest spacing, so thick slices (2.5 to 5 mm against 0.5 mm in-plane) would fragment thin vessels and
/// lose them; the main job therefore upsamples every axis thicker than the working spacing first.
struct WorkingGrid {
    Eigen::Vector3i dimensions = Eigen::Vector3i::Ones();
    Eigen::Vector3d spacing = Eigen::Vector3d::Ones();
    /// Whether any axis was refined (false: the input grid is used as it is).
    bool upsampled = false;
    /// Why no grid could be chosen (empty when one was).
    std::string error;
};

/// Largest number of voxels of a working grid: the extraction keeps several byte images of it.
constexpr std::uint64_t kMaxWorkingVoxels = std::uint64_t(1) << 30;

/// The working grid of an input grid for a working spacing in millimetres: every used axis (x and y of a
/// single-slice image, else all three) with a spacing above workingSpacingMm is divided into
/// ceil(extent / workingSpacingMm) voxels of equal size over the same extent; the other axes stay. A grid
/// above kMaxWorkingVoxels gives an error naming the spacing that would fit.
WorkingGrid chooseWorkingGrid(const ImageDescriptor& input, double workingSpacingMm);

/// Shape-based upsampling of a binary mask (unsigned 8-bit, non-zero inside) onto `grid`, which covers the
/// same extent with the same matrixToWorld: the signed Euclidean distance of the mask (distance to the
/// nearest background voxel centre inside, minus the distance to the nearest vessel voxel centre outside,
/// in millimetres) is interpolated trilinearly and thresholded at 0, so a vessel crossing thick slices at
/// an angle stays connected instead of stepping from slice to slice (Raya and Udupa, "Shape-based
/// interpolation of multidimensional objects", 1990, here with 3-D distances). Cost: two exact distance
/// transforms of the input (8 bytes per input voxel) and one pass over the working grid; OpenMP over
/// slices.
std::unique_ptr<SharedImage> upsampleMask(const SharedImage& mask, const WorkingGrid& grid);

} // namespace Tarnwick
