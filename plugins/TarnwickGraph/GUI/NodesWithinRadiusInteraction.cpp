#include <TarnwickGraph/GUI/NodesWithinRadiusInteraction.h>

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/ViewPicking.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/GraphNodeIndex.h>

#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

namespace {

/// World length of one pixel step to the right at `pixel` in the view's plane.
double pixelIncrement(const GlView& view, const Eigen::Vector2d& pixel) {
    const double step =
        (ViewPicking::onViewPlane(view, pixel + Eigen::Vector2d(1.0, 0.0)) - ViewPicking::onViewPlane(view, pixel))
            .norm();
    return std::isfinite(step) && step > 0.0 ? step : 1.0;
}

} // namespace

NodesWithinRadiusInteraction::NodesWithinRadiusInteraction(DisplayWidgetMulti& display)
    : Interaction(display), m_circle(display) {}

NodesWithinRadiusInteraction::~NodesWithinRadiusInteraction() = default;

bool NodesWithinRadiusInteraction::sceneEvent(QEvent* event, const GlView& view) {
    if (event->type() == QEvent::Wheel) {
        const auto* wheel = static_cast<const QWheelEvent*>(event);
        if (wheel->modifiers() != Qt::ControlModifier)
            return false;
        const double notches = wheel->angleDelta().y() / 120.0;
        m_radius = std::clamp(m_radius + (maxRadius - minRadius) * 0.03 * notches, minRadius, maxRadius);
        return true;
    }
    const QMouseEvent* mouse = mouseEvent(event);
    if (!mouse)
        return false;
    const auto* slice = dynamic_cast<const GlSliceView*>(&view);
    if (!slice || !graph()) {
        m_circle.hide();
        if (state() == Idle)
            m_hovered.clear();
        return false;
    }
    const Eigen::Vector2d pixel = viewPixel(mouse->localPos());
    const Eigen::Matrix4d circle = GlCircle::circleMatrix(ViewPicking::onViewPlane(view, pixel), slice->normal(),
                                                          m_radius * pixelIncrement(view, pixel));
    m_circle.forEach([&](GlCircle& marker, GlView& markerView) {
        marker.setCircle(circle);
        marker.setVisible(&markerView == &view);
    });
    // While dragging, the nodes taken at the press stay the selection.
    if (state() == Idle)
        m_hovered =
            hitTestNodes(int(std::lround(mouse->localPos().x())), int(std::lround(mouse->localPos().y())), view);
    return false;
}

void NodesWithinRadiusInteraction::cleanVisualizations() {
    m_circle.hide();
    m_hovered.clear();
    setState(Idle);
}

std::vector<unsigned long> NodesWithinRadiusInteraction::hitTestNodes(int x, int y, const GlView& view) {
    const auto* slice = dynamic_cast<const GlSliceView*>(&view);
    if (!slice || !graph() || graph()->numNodes() == 0)
        return {};
    const Eigen::Vector2d pixel = viewPixel(QPointF(x, y));
    const double halfLength = view.kind() == 1 ? 0.5 * slice->slabThickness() : GraphNodeIndex::unlimited;
    return nodeIndex().within(ViewPicking::onViewPlane(view, pixel), slice->normal(),
                              m_radius * pixelIncrement(view, pixel), halfLength);
}

} // namespace Tarnwick
