#include <TarnwickGL/GlVolumeView.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

namespace {
constexpr double degree = 3.14159265358979323846 / 180.0;
}

GlVolumeView::GlVolumeView() {
    updateViewState();
}

void GlVolumeView::fitToBounds(const Geometry::AlignedBox& box) {
    if (box.isEmpty())
        return;
    const double radius = std::max(0.5 * box.extent().norm(), 1e-3);
    const double halfFovY = 0.5 * fieldOfView * degree;
    const double halfFovX = std::atan(std::tan(halfFovY) * width() / height());
    m_target = box.center();
    m_sceneRadius = radius;
    m_distance = 1.05 * radius / std::sin(std::min(halfFovX, halfFovY));
    updateViewState();
}

void GlVolumeView::setCamera(double azimuthDegrees, double elevationDegrees) {
    m_azimuth = azimuthDegrees;
    m_elevation = std::clamp(elevationDegrees, -90.0, 90.0);
    updateViewState();
}

void GlVolumeView::setTarget(const Eigen::Vector3d& world) {
    m_target = world;
    updateViewState();
}

void GlVolumeView::setDistance(double millimetres) {
    if (!(millimetres > 0.0) || !std::isfinite(millimetres))
        return;
    m_distance = millimetres;
    updateViewState();
}

void GlVolumeView::setSceneRadius(double millimetres) {
    if (!(millimetres > 0.0) || !std::isfinite(millimetres))
        return;
    m_sceneRadius = millimetres;
    updateViewState();
}

Eigen::Vector3d GlVolumeView::eye() const {
    const double az = m_azimuth * degree, el = m_elevation * degree;
    return m_target +
           m_distance * Eigen::Vector3d(std::sin(az) * std::cos(el), -std::cos(az) * std::cos(el), std::sin(el));
}

GL::ViewState GlVolumeView::computeViewState() const {
    const double az = m_azimuth * degree;
    const Eigen::Vector3d back = (eye() - m_target).normalized();
    const Eigen::Vector3d right(std::cos(az), std::sin(az), 0.0);
    const Eigen::Vector3d up = back.cross(right);

    GL::ViewState state;
    state.view.setIdentity();
    state.view.block<1, 3>(0, 0) = right.transpose();
    state.view.block<1, 3>(1, 0) = up.transpose();
    state.view.block<1, 3>(2, 0) = back.transpose();
    state.view.block<3, 1>(0, 3) = -(state.view.block<3, 3>(0, 0) * eye());

    const double nearPlane = std::max(m_distance - 2.0 * m_sceneRadius, 1e-3 * m_distance);
    const double farPlane = m_distance + 2.0 * m_sceneRadius;
    const double f = 1.0 / std::tan(0.5 * fieldOfView * degree);
    state.projection.setZero();
    state.projection(0, 0) = f * height() / width();
    state.projection(1, 1) = f;
    state.projection(2, 2) = (farPlane + nearPlane) / (nearPlane - farPlane);
    state.projection(2, 3) = 2.0 * farPlane * nearPlane / (nearPlane - farPlane);
    state.projection(3, 2) = -1.0;
    state.viewport = Eigen::Vector4i(0, 0, width(), height());
    return state;
}

} // namespace Tarnwick
