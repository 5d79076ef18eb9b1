#pragma once

#include <TarnwickGL/GlCircle.h>
#include <TarnwickGraph/GUI/GraphManipulator.h>
#include <TarnwickGraph/GUI/ViewMarkers.h>

#include <vector>

namespace Tarnwick {

/// Selects every node within a radius of the cursor in slice views, shown by a circle around the
/// cursor; the interactions that act on several nodes derive from it.
///
/// The radius is in view pixels (default 50, within [1, 100]); Ctrl+wheel changes it by 3 % of that
/// range per notch (the event is consumed). Distances are measured across the view, in millimetres
/// the radius times the view's pixel increment (kind-1 slice views: only nodes inside the shown
/// slab). In the volume view the circle is hidden and nothing is selected.
class NodesWithinRadiusInteraction : public GraphManipulator::Interaction {
public:
    static constexpr double minRadius = 1.0;
    static constexpr double maxRadius = 100.0;

    explicit NodesWithinRadiusInteraction(DisplayWidgetMulti& display);
    ~NodesWithinRadiusInteraction() override;

    bool sceneEvent(QEvent* event, const GlView& view) override;
    void cleanVisualizations() override;

    /// The nodes within the radius of the widget pixel (x, y), ascending id; empty outside slice views.
    std::vector<unsigned long> hitTestNodes(int x, int y, const GlView& view);

    double radius() const { return m_radius; }
    /// Whether the circle shows in any view.
    bool isMarkerVisible() { return m_circle.isVisible(); }

protected:
    std::vector<unsigned long> m_hovered;

private:
    double m_radius = 50.0;
    ViewMarkers<GlCircle> m_circle;
};

} // namespace Tarnwick
