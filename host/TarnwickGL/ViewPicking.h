#pragma once

#include <TarnwickLib/Data/Line.h>

#include <Eigen/Core>

#include <optional>

namespace Tarnwick {

class GlView;
namespace GL {
struct ViewState;
}

/// From view pixels back to world space, for picking and for placing things under the mouse. Pixels
/// are those of GL::ViewState: origin at the top-left corner, y down, pixel (i, j) centred at
/// (i + 0.5, j + 0.5).
namespace ViewPicking {

/// The world point at a pixel and a window depth in [0, 1]; 0.5 is normalised depth 0, which in a
/// slice view is the slice plane.
Eigen::Vector3d unproject(const GlView& view, const Eigen::Vector2d& pixel, double windowDepth = 0.5);

/// World position of the camera, from the inverse of the view matrix.
Eigen::Vector3d cameraPosition(const GL::ViewState& state);

/// The line of sight through a pixel: from the camera through the pixel's point at depth 0.5 in a
/// perspective view; through that point along the viewing direction in an orthographic one.
Geometry::Line ray(const GlView& view, const Eigen::Vector2d& pixel);

/// Where the pixel's line of sight meets the plane through `point` with normal `normal`; nothing when
/// the line runs parallel to the plane.
std::optional<Eigen::Vector3d> onPlane(const GlView& view, const Eigen::Vector2d& pixel, const Eigen::Vector3d& point,
                                       const Eigen::Vector3d& normal);

/// The world point under a pixel in the view's own plane: the slice plane of a slice view; in a volume
/// view the plane through the camera's target, facing the camera.
Eigen::Vector3d onViewPlane(const GlView& view, const Eigen::Vector2d& pixel);

} // namespace ViewPicking
} // namespace Tarnwick
