#pragma once

#include <TarnwickGL/GlView.h>

namespace Tarnwick {

/// A slice view: an orthographic camera looking perpendicular to an axial, coronal or sagittal plane
/// through a world point (the slice position). World coordinates are LPS (x towards the patient's
/// left, y posterior, z superior); the slices are shown as radiologists read them:
/// - Axial: screen right = +x, screen down = +y (anterior up), looking along +z (from the feet).
/// - Coronal: screen right = +x, screen up = +z, looking along +y (from the front).
/// - Sagittal: screen right = +y (posterior right), screen up = +z, looking along -x.
///
/// The flat flag is the view's slice mode:
/// - isFlat() true (default, kind 1): the view shows a flat slab of the 3-D scene, slabThickness()
///   millimetres thick and centred on the slice plane; 3-D objects are clipped to it.
/// - isFlat() false (kind 0): 2-D presentation; everything is projected onto the view's plane
///   without depth clipping (2-D images and 2-D graphs live here).
/// Slice views draw without depth test: objects paint over each other in order.
class GlSliceView : public GlView {
public:
    enum Orientation : int { Axial = 0, Coronal = 1, Sagittal = 2 };

    explicit GlSliceView(Orientation orientation = Axial);

    int kind() const override { return m_flat ? 1 : 0; }
    /// Centres the box in the view and zooms so that its extent across the view fits with a margin.
    /// The slice position is left as it is.
    void fitToBounds(const Geometry::AlignedBox& box) override;

    Orientation orientation() const { return m_orientation; }
    void setOrientation(Orientation orientation);
    /// Unit world directions of screen right and up, and the viewing direction (into the screen).
    Eigen::Vector3d rightDir() const;
    Eigen::Vector3d upDir() const;
    Eigen::Vector3d normal() const;

    /// The slice plane passes through this world point (perpendicular to normal()).
    const Eigen::Vector3d& slicePosition() const { return m_slicePosition; }
    void setSlicePosition(const Eigen::Vector3d& world);

    bool isFlat() const { return m_flat; }
    void setFlat(bool flat);

    /// Thickness in millimetres of the slab shown when isFlat() (default 2; at least 1e-6).
    double slabThickness() const { return m_slabThickness; }
    void setSlabThickness(double millimetres);

    /// World point shown at the centre of the view (only its in-plane position matters).
    const Eigen::Vector3d& center() const { return m_center; }
    void setCenter(const Eigen::Vector3d& world);
    /// Millimetres per pixel (default 1; must be positive, other values are ignored).
    double pixelSize() const { return m_pixelSize; }
    void setPixelSize(double millimetres);

protected:
    GL::ViewState computeViewState() const override;

private:
    Orientation m_orientation;
    Eigen::Vector3d m_slicePosition = Eigen::Vector3d::Zero();
    Eigen::Vector3d m_center = Eigen::Vector3d::Zero();
    double m_pixelSize = 1.0;
    double m_slabThickness = 2.0;
    bool m_flat = true;
};

} // namespace Tarnwick
