#pragma once

#include <Eigen/Core>

namespace Tarnwick::GL {

/// The camera of a view: world-to-eye and eye-to-clip matrices (OpenGL conventions: the eye looks
/// along its -z axis, clip space is [-1, 1]^3) and the viewport it draws into.
///
/// Pixel coordinates used here have their origin at the top-left corner of the viewport, x to the
/// right, y down, in pixels: pixel (i, j) of a picture read back top-down covers [i, i+1) x [j, j+1),
/// so its centre is (i + 0.5, j + 0.5).
struct ViewState {
    Eigen::Matrix4d view = Eigen::Matrix4d::Identity();
    Eigen::Matrix4d projection = Eigen::Matrix4d::Identity();
    /// x, y (bottom-left corner, as glViewport takes it), width, height in pixels.
    Eigen::Vector4i viewport = Eigen::Vector4i(0, 0, 1, 1);

    Eigen::Matrix4d viewProjection() const { return projection * view; }
    bool isPerspective() const { return projection(3, 3) == 0.0; }

    /// Unit direction in world coordinates along which the camera looks (into the screen).
    Eigen::Vector3d zDir() const;
    /// Unit world directions of the screen's x axis (right) and y axis (up).
    Eigen::Vector3d xDir() const;
    Eigen::Vector3d yDir() const;

    /// Normalised device coordinates of a world point; NaN components when the point lies on or
    /// behind the eye plane of a perspective camera.
    Eigen::Vector3d toNdc(const Eigen::Vector3d& world) const;
    /// Whether the point lies between the near and far planes (ndc z in [-1, 1]).
    bool isInDepthRange(const Eigen::Vector3d& world) const;
    /// Pixel position of a world point (see above); NaN when toNdc is.
    Eigen::Vector2d project(const Eigen::Vector3d& world) const;
    /// World point at a pixel position and normalised depth ndcDepth in [-1, 1] (-1: near plane).
    Eigen::Vector3d unproject(const Eigen::Vector2d& pixel, double ndcDepth) const;
    /// World length of one pixel at a world point (along the screen's x axis).
    double pixelSizeAt(const Eigen::Vector3d& world) const;
};

} // namespace Tarnwick::GL
