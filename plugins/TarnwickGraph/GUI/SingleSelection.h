#pragma once

#include <TarnwickGL/GlPoint.h>
#include <TarnwickGraph/GUI/GraphManipulator.h>
#include <TarnwickGraph/GUI/ViewMarkers.h>

#include <optional>

namespace Tarnwick {

/// Picks the one node under the cursor: on every mouse event (while idle) it hit-tests at the cursor
/// and marks the hovered node with a point. Never consumes an event; the interactions that act on
/// one node derive from it.
///
/// Hit tests accept the node nearest to the cursor within the pick radius of 8 pixels, pixels measured at
/// the cursor as the distance between the unprojections of (x, y) and (x + 1, y + 1); ties go to the
/// smallest id. Slice views compare distances across the view (kind 1 only inside the shown slab);
/// the volume view compares distances to the line of sight.
class SingleSelection : public GraphManipulator::Interaction {
public:
    explicit SingleSelection(DisplayWidgetMulti& display);
    ~SingleSelection() override;

    bool sceneEvent(QEvent* event, const GlView& view) override;
    void cleanVisualizations() override;

    /// The node under the widget pixel (x, y), by the view's kind.
    std::optional<unsigned long> hitTestNodes(int x, int y, const GlView& view);
    std::optional<unsigned long> hitTestNodes2D(int x, int y, const GlView& view);
    std::optional<unsigned long> hitTestNodes3D(int x, int y, const GlView& view);

protected:
    std::optional<unsigned long> m_hovered;

private:
    double m_pickRadius = 8.0;
    ViewMarkers<GlPoint> m_marker;
};

} // namespace Tarnwick
