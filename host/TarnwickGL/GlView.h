#pragma once

#include <TarnwickGL/GL/ViewState.h>
#include <TarnwickLib/Data/AlignedBox.h>

#include <Eigen/Core>

#include <memory>
#include <vector>

namespace Tarnwick {

class GlObject;
namespace GL {
class FixedFunctionPipeline;
class TextRenderer;
} // namespace GL

/// A view: a camera over an ordered list of GlObjects, rendered into whatever framebuffer is bound
/// (a window's, or a GL::Framebuffer offscreen).
///
/// View kinds, as kind() reports them to drawing code:
/// - 0: a slice view in flat 2-D presentation (GlSliceView with isFlat() false). 2-D data lives
///   here: 2-D images and 2-D graphs are drawn in the view's plane, nothing is clipped in depth.
/// - 1: a slice view of the 3-D scene (GlSliceView with isFlat() true, the default): a thin flat
///   slab of world space around the slice position; 3-D objects are clipped to the slab.
/// - 2: a volume view (GlVolumeView): the 3-D scene seen by an orbiting perspective camera.
///
/// The view does not own its objects. GL resources (the pipeline, the text renderer) are made on
/// first use with the current context; destroy the view with that context current.
class GlView {
public:
    GlView();
    virtual ~GlView();
    GlView(const GlView&) = delete;
    GlView& operator=(const GlView&) = delete;

    /// 0, 1 or 2 (see above).
    virtual int kind() const = 0;
    /// Frames a world box: the whole box becomes visible and centred. Empty boxes are ignored.
    virtual void fitToBounds(const Geometry::AlignedBox& box) = 0;

    /// Size of the picture in pixels (at least 1 x 1; default 512 x 512).
    void resize(int width, int height);
    int width() const { return m_width; }
    int height() const { return m_height; }

    /// The camera, derived from the view's own camera settings and its size.
    const GL::ViewState& viewState() const { return m_viewState; }
    /// Replaces the camera until the view's own camera settings or its size change next.
    void setViewState(const GL::ViewState& state) { m_viewState = state; }

    /// Appends an object (ignored when null or already there); objects are drawn in this order.
    void addObject(GlObject* object);
    void removeObject(GlObject* object);
    const std::vector<GlObject*>& objects() const { return m_objects; }
    /// Union of the bounds of the visible objects.
    Geometry::AlignedBox objectBounds() const;

    const Eigen::Vector4f& backgroundColor() const { return m_background; }
    void setBackgroundColor(const Eigen::Vector4f& color) { m_background = color; }

    /// Draws the view into the bound framebuffer: viewport (0, 0, width, height), clear to the
    /// background colour and depth 1, then every visible object in order. Needs a current context.
    void render();

    /// Whether the view composes transparent objects order-independently; never in this host.
    bool orderIndependentTransparency() const { return false; }

    /// Drawing helpers for objects, made on first use with the current context.
    GL::FixedFunctionPipeline& pipeline() const;
    GL::TextRenderer& textRenderer() const;

protected:
    /// The camera for the current settings and size; called whenever either changes.
    virtual GL::ViewState computeViewState() const = 0;
    /// Recomputes viewState() from computeViewState(); subclasses call it after changing settings.
    void updateViewState() { m_viewState = computeViewState(); }

private:
    int m_width = 512;
    int m_height = 512;
    GL::ViewState m_viewState;
    std::vector<GlObject*> m_objects;
    Eigen::Vector4f m_background = Eigen::Vector4f(0, 0, 0, 1);
    mutable std::unique_ptr<GL::FixedFunctionPipeline> m_pipeline;
    mutable std::unique_ptr<GL::TextRenderer> m_textRenderer;
};

} // namespace Tarnwick
