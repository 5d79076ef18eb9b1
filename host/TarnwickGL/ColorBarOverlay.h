#pragma once

#include <TarnwickGL/ColorLegend.h>
#include <TarnwickGL/GlColormap.h>
#include <TarnwickGL/GlObject.h>

#include <array>
#include <memory>
#include <string>

namespace Tarnwick {

namespace GL {
class VertexBuffer;
}

/// A colour bar drawn over a view in pixel space: the legend's colour map from min to max, a frame,
/// four value labels at min, min + (max - min)/3, min + 2(max - min)/3 and max, and the title. At the
/// bottom edge (centred, min on the left) or the right edge (min at the bottom). Add it to a view
/// after the scene's objects, or call draw() after GlView::render(). It has no world bounds.
class ColorBarOverlay : public GlObject {
public:
    enum Placement : int { Bottom = 0, Right = 1 };

    explicit ColorBarOverlay(const ColorLegend& legend = {});
    ~ColorBarOverlay() override;

    const ColorLegend& legend() const { return m_legend; }
    void setLegend(const ColorLegend& legend);
    Placement placement() const { return m_placement; }
    void setPlacement(Placement placement) { m_placement = placement; }
    /// Colour of labels, title and frame (white by default).
    void setTextColor(const Eigen::Vector4f& color) { m_textColor = color; }

    /// The four labels for a range, each formatted with "{:.3g}".
    static std::array<std::string, 4> labels(double min, double max);
    /// The bar's rectangle in a view of that size: x, y (top-left corner, y down), width, height.
    Eigen::Vector4i barRect(int viewWidth, int viewHeight) const;

    void draw(const GlView& view) override;
    std::string typeName() const override { return "ColorBarOverlay"; }

    static constexpr int barThickness = 16;
    static constexpr float textHeight = 13.0f;

private:
    ColorLegend m_legend;
    Placement m_placement = Bottom;
    Eigen::Vector4f m_textColor = Eigen::Vector4f::Ones();
    GlColormap m_colormap;
    std::unique_ptr<GL::VertexBuffer> m_bar;
    std::unique_ptr<GL::VertexBuffer> m_frame;
};

} // namespace Tarnwick
