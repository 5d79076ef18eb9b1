#pragma once

#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/Core>

#include <cstddef>

namespace Tarnwick {

/// A binary mask (unsigned 8-bit, non-zero inside) read as the union of its inside voxels' cells: a
/// point is inside when the voxel nearest to it is. A vessel voxelised by "centre within r of the axis"
/// then covers pi r^2 per unit length on average, and its surface lies half a voxel beyond the last
/// inside centre. Borrows the mask's memory.
class CellMask {
public:
    explicit CellMask(const SharedImage& mask)
        : m_values(static_cast<const unsigned char*>(mask.mem()->data())), m_dims(mask.descriptor().dimensions) {}

    /// Whether the voxel nearest to the pixel coordinate is inside (outside the image: no).
    bool inside(const Eigen::Vector3d& pixel) const {
        const Eigen::Vector3i v = (pixel.array() + 0.5).floor().cast<int>();
        if ((v.array() < 0).any() || (v.array() >= m_dims.array()).any())
            return false;
        return m_values[(static_cast<std::size_t>(v.z()) * m_dims.y() + v.y()) * m_dims.x() + v.x()] != 0;
    }

private:
    const unsigned char* m_values;
    Eigen::Vector3i m_dims;
};

} // namespace Tarnwick
