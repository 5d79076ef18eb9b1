#pragma once

#include <Eigen/Core>

#include <optional>
#include <string>

namespace Tarnwick {

/// The placement of an image kept in a TIFF file's ImageDescription, which the format's own tags
/// cannot hold: the voxel spacing of all three axes and the image-to-world matrix, written exactly
/// (17 significant digits). The resolution tags hold only x and y spacing, as 32-bit fractions.
struct TiffGeometry {
    Eigen::Vector3d spacing = Eigen::Vector3d::Ones();
    Eigen::Matrix4d matrixToWorld = Eigen::Matrix4d::Identity();

    /// The description text.
    std::string text() const;

    /// The geometry in a description written by text(); nothing when the text is something else or
    /// its values are not finite, the spacing not positive or the matrix not an invertible affine map.
    /// `tagSpacing` is the x and y spacing of the resolution tags: a description that disagrees with
    /// them (beyond their precision) belongs to a file another program changed and is not used.
    static std::optional<TiffGeometry> parse(const std::string& text, const Eigen::Vector2d& tagSpacing);
};

} // namespace Tarnwick
