#pragma once

#include <TarnwickLib/Image/TypedImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>

namespace Tarnwick::ImageOps {

/// Skeleton of a binary mask by the 3-D medial-axis thinning of Lee, Kashyap and Chu (1994).
///
/// `mask` holds dims.prod() voxels, x fastest, then y, then z; every non-zero voxel is foreground.
/// Foreground is 26-connected, background 6-connected, and everything outside the volume is background.
/// A volume with dims.z() == 1 is thinned as a 2-D image (only the four in-plane border directions).
///
/// Writes the skeleton as 0/1 voxels to `skeleton` (dims.prod() bytes; may be `mask` itself): thin curves
/// (and, where the shape demands it, surfaces) with the connected components, cavities and tunnels of the
/// mask. The result is that of the established sequential formulation: border directions in the order
/// -y, +y, +x, -x, +z, -z; per direction all deletable border voxels are collected, then re-checked one by
/// one in memory order, the re-check testing only that the neighbours stay one component. That formulation
/// erases objects at most two voxels thick in every direction (a 2x2x2 cube, a 2x2 rod, an even-width box
/// shrinks to one); such an object is thinned again on its own with the re-check also keeping new end
/// points, so no object of the mask is lost (it may shrink to a voxel or two). Other objects are exactly
/// as in the established formulation.
///
/// Cost: O(voxels) once, then per step O(current border voxels); one bit of working memory per voxel
/// plus a list of the border voxels; OpenMP for the sweeps and for the candidate search (see threadsFor()).
/// Invalid input (null buffer, a dimension < 1, too many voxels, or a shape so elongated that the padded
/// bit volume would reach 2^34 bits) logs an error and returns false.
bool thin(const std::uint8_t* mask, const Eigen::Vector3i& dims, std::uint8_t* skeleton);

/// thin() on a single-channel image; the skeleton keeps the spacing. nullptr (with a logged error) for
/// invalid input.
std::unique_ptr<TypedImage<unsigned char>> thin(const TypedImage<unsigned char>& mask);

} // namespace Tarnwick::ImageOps
