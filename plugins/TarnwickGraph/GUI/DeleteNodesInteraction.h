#pragma once

#include <TarnwickGraph/GUI/NodesWithinRadiusInteraction.h>

#include <vector>

namespace Tarnwick {

/// "Delete": the nodes in the circle at the last mouse event are pending; the Delete key removes them
/// (one undo step). The key is consumed even when nothing is pending, so it never reaches a window
/// shortcut while this interaction is active in the view with the focus.
class DeleteNodesInteraction : public NodesWithinRadiusInteraction {
public:
    explicit DeleteNodesInteraction(DisplayWidgetMulti& display);

    std::string name() const override { return "Delete"; }
    bool sceneEvent(QEvent* event, const GlView& view) override;
    void cleanVisualizations() override;

    const std::vector<unsigned long>& pendingNodes() const { return m_pending; }

private:
    std::vector<unsigned long> m_pending;
};

} // namespace Tarnwick
