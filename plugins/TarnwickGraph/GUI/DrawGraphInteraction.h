#pragma once

#include <TarnwickGraph/GUI/SingleSelection.h>

namespace Tarnwick {

/// "Draw": a middle press on the hovered node starts drawing from it (on a graph without nodes, a
/// middle press anywhere starts drawing with no node yet). While drawing, a preview node joined to
/// the current node follows the mouse; a left or right press adds a node there (default features)
/// joined by an edge to the current node, which it then becomes; a right press also ends drawing.
/// Each added node is one undo step. Other buttons are ignored; mouse events are consumed while
/// drawing. New nodes keep the current node's depth along the view direction (a 2-D graph's nodes
/// stay in its plane), else they lie in the view's plane.
class DrawGraphInteraction : public SingleSelection {
public:
    explicit DrawGraphInteraction(DisplayWidgetMulti& display);

    std::string name() const override { return "Draw"; }
    bool sceneEvent(QEvent* event, const GlView& view) override;
    /// Also removes the preview node and ends drawing.
    void cleanVisualizations() override;

private:
    Eigen::Vector3d mousePosition(const QMouseEvent& mouse, const GlView& view) const;
    void removePreview();
    void addNodeAt(const Eigen::Vector3d& position);

    std::optional<unsigned long> m_current;
    std::optional<unsigned long> m_preview;
};

} // namespace Tarnwick
