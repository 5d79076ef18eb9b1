#include <TarnwickGL/GL/ViewState.h>

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <cmath>
#include <limits>

namespace Tarnwick::GL {

Eigen::Vector3d ViewState::zDir() const {
    return -view.block<1, 3>(2, 0).transpose().normalized();
}
Eigen::Vector3d ViewState::xDir() const {
    return view.block<1, 3>(0, 0).transpose().normalized();
}
Eigen::Vector3d ViewState::yDir() const {
    return view.block<1, 3>(1, 0).transpose().normalized();
}

Eigen::Vector3d ViewState::toNdc(const Eigen::Vector3d& world) const {
    const Eigen::Vector4d clip = viewProjection() * world.homogeneous();
    if (!(clip.w() > 0.0))
        return Eigen::Vector3d::Constant(std::numeric_limits<double>::quiet_NaN());
    return clip.head<3>() / clip.w();
}

bool ViewState::isInDepthRange(const Eigen::Vector3d& world) const {
    const double z = toNdc(world).z();
    return z >= -1.0 && z <= 1.0;
}

Eigen::Vector2d ViewState::project(const Eigen::Vector3d& world) const {
    const Eigen::Vector3d ndc = toNdc(world);
    return {(ndc.x() + 1.0) * 0.5 * viewport[2], (1.0 - ndc.y()) * 0.5 * viewport[3]};
}

Eigen::Vector3d ViewState::unproject(const Eigen::Vector2d& pixel, double ndcDepth) const {
    const Eigen::Vector4d ndc(2.0 * pixel.x() / viewport[2] - 1.0, 1.0 - 2.0 * pixel.y() / viewport[3], ndcDepth, 1.0);
    const Eigen::Vector4d world = viewProjection().inverse() * ndc;
    return world.head<3>() / world.w();
}

double ViewState::pixelSizeAt(const Eigen::Vector3d& world) const {
    const double w = (viewProjection() * world.homogeneous()).w();
    return 2.0 * std::abs(w) / (std::abs(projection(0, 0)) * viewport[2]);
}

} // namespace Tarnwick::GL
