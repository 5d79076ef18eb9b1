#pragma once

#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Tarnwick::ImageOps {

enum class MorphologyOperation { Dilation, Erosion, Opening, Closing };

struct MorphologyOptions {
    MorphologyOperation operation = MorphologyOperation::Closing;
    /// Radius of the ball kernel in voxels; 0 leaves the mask unchanged (apart from becoming 0/1).
    int size = 1;
};

/// Binary morphology with a ball kernel: the voxels within Euclidean distance `size` of the centre,
/// measured in voxel units (the spacing is ignored, as for a kernel given in pixels). A volume with
/// dims.z() == 1 uses a disc in its plane.
///
/// - Dilation: a voxel becomes foreground when some foreground voxel lies within the ball around it.
/// - Erosion: a voxel stays foreground when the whole ball around it is foreground. The outside of the
///   volume counts as background, so erosion also eats into objects from the volume border.
/// - Opening is erosion then dilation, closing dilation then erosion (both with the border rule above,
///   so closing can remove foreground within `size` of the border; pad the volume to avoid that).
///
/// `mask` and `result` hold dims.prod() voxels, x fastest, non-zero meaning foreground; `result` receives
/// 0/1 and may be `mask` itself. Each elementary operation is one exact distance transform, never a
/// sweep of the kernel: for radii up to 15 a capped one in place on bytes (O(voxels * radius) vector
/// operations), beyond that a full one on a float working volume (O(voxels)). Invalid input (null buffer,
/// a dimension < 1, too many voxels, a negative size) logs an error and returns false.
bool morphology(const std::uint8_t* mask, const Eigen::Vector3i& dims, const MorphologyOptions& options,
                std::uint8_t* result);

/// morphology() of a single-channel mask image into a new image with the same descriptor; nullptr (with
/// a logged error) for invalid input.
std::unique_ptr<TypedImage<unsigned char>> morphology(const TypedImage<unsigned char>& mask,
                                                      const MorphologyOptions& options);

} // namespace Tarnwick::ImageOps
