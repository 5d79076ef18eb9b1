#pragma once

#include <TarnwickGL/GlColormap.h>
#include <TarnwickGL/GlObject.h>

#include <Eigen/Core>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

class SharedImage;
namespace GL {
class Program;
class Texture;
class VertexBuffer;
class ProgramCache;
} // namespace GL

/// An image drawn with window/level through a colour map (grayscale by default), placed in world
/// space by the image's matrixToWorld and spacing (the object's model matrix is not used):
/// - in slice views (kinds 0 and 1), the slice of the image in the view's slice plane, resampled
///   (trilinear) wherever the plane cuts the image, oblique images included; an image with one slice
///   shows that slice in every plane position;
/// - in the volume view (kind 2), either the three planes of the image's own voxel grid through
///   focusPoint() (mode Slices, depth-tested against the scene), or a maximum-intensity projection
///   along the viewing rays (mode MIP, painted behind the objects drawn after it).
///
/// With an opacity below 1 the image is blended over what was drawn before it; in label mode voxels
/// of value 0 (below 0.5 once interpolated) are not drawn at all, so a mask over a scan shows the scan
/// around the labelled parts.
///
/// Values are the first channel. The volume is uploaded once, on the first draw (again after
/// invalidate()); 8- and 16-bit images keep their size on the GPU, other types become 32-bit floats.
/// An image the context cannot hold logs one error and is not drawn.
class GlImage : public GlObject {
public:
    enum Mode : int { Slices = 0, MIP = 1 };

    explicit GlImage(std::shared_ptr<const SharedImage> image = nullptr);
    ~GlImage() override;

    /// Shows another image: window/level reset to its value range, focus point to its centre.
    void setImage(std::shared_ptr<const SharedImage> image);
    const SharedImage* image() const { return m_image.get(); }
    /// Uploads the image again on the next draw (after its values changed).
    void invalidate();

    /// Values in [level - window/2, level + window/2] span the colour map; window must be positive
    /// (other values are ignored).
    void setWindowLevel(double window, double level);
    double window() const { return m_window; }
    double level() const { return m_level; }

    Mode mode() const { return m_mode; }
    void setMode(Mode mode) { m_mode = mode; }
    /// World point the volume view's three planes pass through.
    const Eigen::Vector3d& focusPoint() const { return m_focusPoint; }
    void setFocusPoint(const Eigen::Vector3d& world) { m_focusPoint = world; }
    GlColormap& colormap() { return m_colormap; }
    /// 1 draws the image opaque, 0 not at all; clamped to [0, 1].
    void setOpacity(double opacity);
    double opacity() const { return m_opacity; }
    /// Label mode: value 0 is fully transparent.
    void setLabelMode(bool labelMode) { m_labelMode = labelMode; }
    bool labelMode() const { return m_labelMode; }

    void draw(const GlView& view) override;
    /// World box of the voxel corners.
    Geometry::AlignedBox bounds() const override;
    std::string typeName() const override { return "GlImage"; }

private:
    using Quad = std::array<Eigen::Vector3d, 4>;
    bool prepare();
    std::vector<Quad> planes(const GlView& view) const;
    void drawPlanes(const GlView& view, const std::vector<Quad>& quads);
    void drawProjection(const GlView& view);
    /// Binds the volume and colour map and sets the uniforms both image programs share.
    void setCommonUniforms(GL::Program& program);

    std::shared_ptr<const SharedImage> m_image;
    double m_window = 1.0;
    double m_level = 0.5;
    Mode m_mode = Slices;
    double m_opacity = 1.0;
    bool m_labelMode = false;
    Eigen::Vector3d m_focusPoint = Eigen::Vector3d::Zero();
    GlColormap m_colormap;

    std::unique_ptr<GL::Texture> m_volume;
    float m_valueScale = 1.0f;
    float m_valueOffset = 0.0f;
    bool m_uploadFailed = false;
    std::unique_ptr<GL::VertexBuffer> m_vertices;
    std::unique_ptr<GL::ProgramCache> m_programs;
};

} // namespace Tarnwick
