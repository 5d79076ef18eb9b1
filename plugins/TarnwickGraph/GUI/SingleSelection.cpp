#include <TarnwickGraph/GUI/SingleSelection.h>

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/ViewPicking.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/GraphNodeIndex.h>
#include <TarnwickGraph/GUI/GraphNodeLookup.h>

#include <cmath>

namespace Tarnwick {

namespace {

/// World length of the unprojected pixel diagonal from `a` to `b`; 1 when it cannot be formed.
double pixelScale(const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
    const double scale = (b - a).norm();
    return std::isfinite(scale) && scale > 0.0 ? scale : 1.0;
}

} // namespace

SingleSelection::SingleSelection(DisplayWidgetMulti& display) : Interaction(display), m_marker(display) {}

SingleSelection::~SingleSelection() = default;

bool SingleSelection::sceneEvent(QEvent* event, const GlView& view) {
    const QMouseEvent* mouse = mouseEvent(event);
    if (!mouse)
        return false;
    if (!graph() || state() != Idle) {
        m_marker.hide();
        return false;
    }
    m_hovered = hitTestNodes(int(std::lround(mouse->localPos().x())), int(std::lround(mouse->localPos().y())), view);
    const std::optional<Graph::NodeInfo> node = m_hovered ? readNode(*graph(), *m_hovered) : std::nullopt;
    if (!node) {
        m_marker.hide();
        return false;
    }
    const Eigen::Vector3d world = toWorld(node->position);
    m_marker.forEach([&](GlPoint& point, GlView&) {
        point.setPosition(world);
        point.setDiameter(8.0f);
        point.setVisible(true);
    });
    return false;
}

void SingleSelection::cleanVisualizations() {
    m_marker.hide();
    m_hovered.reset();
    setState(Idle);
}

std::optional<unsigned long> SingleSelection::hitTestNodes(int x, int y, const GlView& view) {
    return dynamic_cast<const GlSliceView*>(&view) ? hitTestNodes2D(x, y, view) : hitTestNodes3D(x, y, view);
}

std::optional<unsigned long> SingleSelection::hitTestNodes2D(int x, int y, const GlView& view) {
    if (!graph() || graph()->numNodes() == 0)
        return std::nullopt;
    const Eigen::Vector2d pixel = viewPixel(QPointF(x, y));
    const Eigen::Vector3d point = ViewPicking::onViewPlane(view, pixel);
    const double scale = pixelScale(point, ViewPicking::onViewPlane(view, pixel + Eigen::Vector2d(1.0, 1.0)));
    const auto* slice = dynamic_cast<const GlSliceView*>(&view);
    const double halfLength = slice && view.kind() == 1 ? 0.5 * slice->slabThickness() : GraphNodeIndex::unlimited;
    return nodeIndex().nearest(point, view.viewState().zDir(), scale * m_pickRadius, halfLength);
}

std::optional<unsigned long> SingleSelection::hitTestNodes3D(int x, int y, const GlView& view) {
    if (!graph() || graph()->numNodes() == 0)
        return std::nullopt;
    const Eigen::Vector2d pixel = viewPixel(QPointF(x, y));
    const Eigen::Vector3d first = ViewPicking::unproject(view, pixel);
    const double scale = pixelScale(first, ViewPicking::unproject(view, pixel + Eigen::Vector2d(1.0, 1.0)));
    const Geometry::Line line = ViewPicking::ray(view, pixel);
    return nodeIndex().nearest(line.a(), line.b() - line.a(), scale * m_pickRadius);
}

} // namespace Tarnwick
