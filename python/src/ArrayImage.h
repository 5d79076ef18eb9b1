#pragma once

#include <TarnwickLib/Image/SharedImageSet.h>

#include <pybind11/numpy.h>

#include <Eigen/Core>

#include <memory>

namespace Tarnwick::Python {

/// NumPy arrays as host images and back, without copying the values.
///
/// Arrays are indexed like NIfTI volumes: element [i, j, k] is the voxel at index (i, j, k), and a 4 x 4
/// index-to-world matrix (world in the host's LPS frame) places it. The host stores x fastest, which is
/// NumPy's Fortran order for such arrays. (A C-ordered array could be viewed as the image of the reversed
/// shape, but thinning is not invariant under axis order, so the graph would differ from the one of the
/// same mask in the host's order; the Python layer copies such arrays instead.)
namespace ArrayImage {

/// An image set over the memory of `array` (2-D or 3-D, Fortran-contiguous, of bool or a host pixel type:
/// int8/16/32, uint8/16/32, float32/64), which it keeps alive. Spacing is the length of each
/// column of `indexToWorld`. Throws std::invalid_argument for any other array or a singular matrix.
std::shared_ptr<SharedImageSet> fromArray(const pybind11::array& array, const Eigen::Matrix4d& indexToWorld);

/// The current image of `set` as a Fortran-ordered array of shape (nx, ny, nz), plus a last axis for
/// channels when there are several, viewing the image's memory (`owner` keeps it alive), and its
/// index-to-world matrix (LPS). Throws std::invalid_argument when the set holds no image.
std::pair<pybind11::array, Eigen::Matrix4d> toArray(const SharedImageSet& set, const pybind11::object& owner);

} // namespace ArrayImage
} // namespace Tarnwick::Python
