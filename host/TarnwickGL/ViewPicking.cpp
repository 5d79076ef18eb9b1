#include <TarnwickGL/ViewPicking.h>

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <cmath>

namespace Tarnwick::ViewPicking {

Eigen::Vector3d unproject(const GlView& view, const Eigen::Vector2d& pixel, double windowDepth) {
    return view.viewState().unproject(pixel, 2.0 * windowDepth - 1.0);
}

Eigen::Vector3d cameraPosition(const GL::ViewState& state) {
    return (state.view.inverse() * Eigen::Vector4d(0, 0, 0, 1)).head<3>();
}

Geometry::Line ray(const GlView& view, const Eigen::Vector2d& pixel) {
    const GL::ViewState& state = view.viewState();
    const Eigen::Vector3d point = unproject(view, pixel);
    if (state.isPerspective())
        return {cameraPosition(state), point};
    return {point - state.zDir(), point};
}

std::optional<Eigen::Vector3d> onPlane(const GlView& view, const Eigen::Vector2d& pixel, const Eigen::Vector3d& point,
                                       const Eigen::Vector3d& normal) {
    const Geometry::Line line = ray(view, pixel);
    const Eigen::Vector3d direction = line.b() - line.a();
    const double across = normal.dot(direction);
    if (std::abs(across) <= 1e-12 * direction.norm() * normal.norm())
        return std::nullopt;
    return line.a() + direction * (normal.dot(point - line.a()) / across);
}

Eigen::Vector3d onViewPlane(const GlView& view, const Eigen::Vector2d& pixel) {
    std::optional<Eigen::Vector3d> point;
    if (const auto* slice = dynamic_cast<const GlSliceView*>(&view))
        point = onPlane(view, pixel, slice->slicePosition(), slice->normal());
    else if (const auto* volume = dynamic_cast<const GlVolumeView*>(&view))
        point = onPlane(view, pixel, volume->target(), view.viewState().zDir());
    return point ? *point : unproject(view, pixel);
}

} // namespace Tarnwick::ViewPicking
