#include <TarnwickGL/GlSliceView.h>

#include <Eigen/Geometry>

#include <cmath>

namespace Tarnwick {

namespace {
// Depth range of the flat presentation, in millimetres either side of the plane: far beyond any scene.
constexpr double flatHalfDepth = 1e6;
} // namespace

GlSliceView::GlSliceView(Orientation orientation) : m_orientation(orientation) {
    updateViewState();
}

Eigen::Vector3d GlSliceView::rightDir() const {
    return m_orientation == Sagittal ? Eigen::Vector3d::UnitY() : Eigen::Vector3d::UnitX();
}

Eigen::Vector3d GlSliceView::upDir() const {
    return m_orientation == Axial ? Eigen::Vector3d(-Eigen::Vector3d::UnitY()) : Eigen::Vector3d::UnitZ();
}

Eigen::Vector3d GlSliceView::normal() const {
    return upDir().cross(rightDir());
}

void GlSliceView::fitToBounds(const Geometry::AlignedBox& box) {
    if (box.isEmpty())
        return;
    const Eigen::Vector3d extent = box.extent();
    const double across = rightDir().cwiseAbs().dot(extent);
    const double along = upDir().cwiseAbs().dot(extent);
    const double size = std::max(across / width(), along / height()) * 1.1;
    m_center = box.center();
    m_pixelSize = size > 0.0 ? size : 1.0;
    updateViewState();
}

void GlSliceView::setOrientation(Orientation orientation) {
    m_orientation = orientation;
    updateViewState();
}

void GlSliceView::setSlicePosition(const Eigen::Vector3d& world) {
    m_slicePosition = world;
    updateViewState();
}

void GlSliceView::setFlat(bool flat) {
    m_flat = flat;
    updateViewState();
}

void GlSliceView::setSlabThickness(double millimetres) {
    m_slabThickness = std::max(millimetres, 1e-6);
    updateViewState();
}

void GlSliceView::setCenter(const Eigen::Vector3d& world) {
    m_center = world;
    updateViewState();
}

void GlSliceView::setPixelSize(double millimetres) {
    if (!(millimetres > 0.0) || !std::isfinite(millimetres))
        return;
    m_pixelSize = millimetres;
    updateViewState();
}

GL::ViewState GlSliceView::computeViewState() const {
    const Eigen::Vector3d right = rightDir(), up = upDir(), back = -normal();
    // The eye sits on the slice plane, at the in-plane position of the centre.
    const Eigen::Vector3d offset = m_center - m_slicePosition;
    const Eigen::Vector3d eye = m_slicePosition + right * right.dot(offset) + up * up.dot(offset);

    GL::ViewState state;
    state.view.setIdentity();
    state.view.block<1, 3>(0, 0) = right.transpose();
    state.view.block<1, 3>(1, 0) = up.transpose();
    state.view.block<1, 3>(2, 0) = back.transpose();
    state.view.block<3, 1>(0, 3) = -(state.view.block<3, 3>(0, 0) * eye);

    // Orthographic: the eye-space box [-w/2, w/2] x [-h/2, h/2] x [-d, d] maps to clip space.
    const double halfWidth = 0.5 * width() * m_pixelSize, halfHeight = 0.5 * height() * m_pixelSize;
    const double halfDepth = m_flat ? 0.5 * m_slabThickness : flatHalfDepth;
    state.projection.setIdentity();
    state.projection(0, 0) = 1.0 / halfWidth;
    state.projection(1, 1) = 1.0 / halfHeight;
    state.projection(2, 2) = -1.0 / halfDepth;
    state.viewport = Eigen::Vector4i(0, 0, width(), height());
    return state;
}

} // namespace Tarnwick
