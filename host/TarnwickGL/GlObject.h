#pragma once

#include <TarnwickLib/Data/AlignedBox.h>

#include <Eigen/Core>

#include <string>

namespace Tarnwick {

class GlView;

/// Base of everything a GlView draws. A view holds non-owning pointers to its objects: remove an
/// object from every view before destroying it.
///
/// Each object decides in draw() whether and how it appears in a view, from the view's kind()
/// (GlView.h). The show-in-all-views flag asks objects that normally live in one kind of view to
/// appear in the others as well (a 3-D graph in flat slice views, for example); it is off by default.
class GlObject {
public:
    GlObject() = default;
    virtual ~GlObject();
    GlObject(const GlObject&) = delete;
    GlObject& operator=(const GlObject&) = delete;

    /// Draws the object into `view` with the view's context current. Called by GlView::render() only
    /// for visible objects.
    virtual void draw(const GlView& view) = 0;
    /// World-space bounds (used to frame views); empty by default.
    virtual Geometry::AlignedBox bounds() const { return {}; }
    virtual std::string typeName() const { return "GlObject"; }

    bool isVisible() const { return m_visible; }
    void setVisible(bool visible) { m_visible = visible; }
    bool showInAllViews() const { return m_showInAllViews; }
    void setShowInAllViews(bool show) { m_showInAllViews = show; }

    /// Placement of the object's coordinates in world space (identity by default).
    const Eigen::Matrix4d& modelMatrix() const { return m_modelMatrix; }
    void setModelMatrix(const Eigen::Matrix4d& matrix) { m_modelMatrix = matrix; }

private:
    bool m_visible = true;
    bool m_showInAllViews = false;
    Eigen::Matrix4d m_modelMatrix = Eigen::Matrix4d::Identity();
};

} // namespace Tarnwick
