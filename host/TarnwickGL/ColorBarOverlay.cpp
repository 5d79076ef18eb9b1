#include <TarnwickGL/ColorBarOverlay.h>

#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/TextRenderer.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlView.h>

#include <fmt/format.h>

#include <algorithm>

namespace Tarnwick {

namespace {

constexpr int margin = 12;
constexpr int labelReserve = 72; // room beside the bar for the labels of a right-hand bar
constexpr int gap = 4;           // between bar, ticks and text
constexpr int maxLength = 400;

GL::Vertex vertex(float x, float y, const Eigen::Vector4f& c) {
    return {{x, y, 0}, {c[0], c[1], c[2], c[3]}};
}

} // namespace

ColorBarOverlay::ColorBarOverlay(const ColorLegend& legend) {
    setLegend(legend);
}
ColorBarOverlay::~ColorBarOverlay() = default;

void ColorBarOverlay::setLegend(const ColorLegend& legend) {
    m_legend = legend;
    m_colormap.setPreset(legend.preset, 256);
}

std::array<std::string, 4> ColorBarOverlay::labels(double min, double max) {
    const double step = (max - min) / 3.0;
    return {fmt::format("{:.3g}", min), fmt::format("{:.3g}", min + step), fmt::format("{:.3g}", min + 2.0 * step),
            fmt::format("{:.3g}", max)};
}

Eigen::Vector4i ColorBarOverlay::barRect(int viewWidth, int viewHeight) const {
    const int labelHeight = int(textHeight * 1.4f);
    if (m_placement == Bottom) {
        const int length = std::max(std::min(int(0.6 * viewWidth), maxLength), 1);
        return {(viewWidth - length) / 2, viewHeight - margin - labelHeight - gap - barThickness, length, barThickness};
    }
    const int length = std::max(std::min(int(0.6 * viewHeight), maxLength), 1);
    return {viewWidth - margin - labelReserve - gap - barThickness, (viewHeight - length) / 2, barThickness, length};
}

void ColorBarOverlay::draw(const GlView& view) {
    const Eigen::Vector4i rect = barRect(view.width(), view.height());
    const float x0 = float(rect[0]), y0 = float(rect[1]), x1 = x0 + rect[2], y1 = y0 + rect[3];
    const bool horizontal = m_placement == Bottom;
    // Pixel position of t in [0, 1] along the bar: left to right, or bottom to top.
    auto along = [&](float t) { return horizontal ? x0 + t * (x1 - x0) : y1 - t * (y1 - y0); };

    // Vertex at `s` along the bar and `across` (a pixel coordinate) across it.
    auto at = [&](float s, float across, const Eigen::Vector4f& c) {
        return horizontal ? vertex(s, across, c) : vertex(across, s, c);
    };
    const float low = horizontal ? y0 : x0, high = horizontal ? y1 : x1;

    std::vector<GL::Vertex> bar;
    const auto& table = m_colormap.table();
    const int n = int(table.size());
    for (int i = 0; i + 1 < n; ++i) {
        const float a = along(float(i) / (n - 1)), b = along(float(i + 1) / (n - 1));
        const GL::Vertex quad[4] = {at(a, low, table[i]), at(b, low, table[i + 1]), at(b, high, table[i + 1]),
                                    at(a, high, table[i])};
        for (int index : {0, 1, 2, 0, 2, 3})
            bar.push_back(quad[index]);
    }
    // Frame just outside the bar, and a tick at each label.
    std::vector<GL::Vertex> lines;
    const float frame[4][2] = {
        {x0 - 0.5f, y0 - 0.5f}, {x1 + 0.5f, y0 - 0.5f}, {x1 + 0.5f, y1 + 0.5f}, {x0 - 0.5f, y1 + 0.5f}};
    for (int i = 0; i < 4; ++i) {
        lines.push_back(vertex(frame[i][0], frame[i][1], m_textColor));
        lines.push_back(vertex(frame[(i + 1) % 4][0], frame[(i + 1) % 4][1], m_textColor));
    }
    for (int k = 0; k < 4; ++k) {
        lines.push_back(at(along(k / 3.0f), high + 0.5f, m_textColor));
        lines.push_back(at(along(k / 3.0f), high + 0.5f + gap, m_textColor));
    }

    if (!m_bar) {
        m_bar = std::make_unique<GL::VertexBuffer>();
        m_frame = std::make_unique<GL::VertexBuffer>();
    }
    m_bar->setVertices(bar);
    m_frame->setVertices(lines);
    {
        GL::StateGuard guard;
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        GL::FixedFunctionPipeline& pipeline = view.pipeline();
        pipeline.enablePixelSpace(view);
        pipeline.draw(*m_bar, GL_TRIANGLES);
        pipeline.setLineWidth(1.0f);
        pipeline.draw(*m_frame, GL_LINES);
        pipeline.disable();
    }

    GL::TextRenderer& text = view.textRenderer();
    const auto values = labels(m_legend.min, m_legend.max);
    for (int k = 0; k < 4; ++k) {
        const Eigen::Vector2i size = text.textSize(values[k], textHeight);
        const float p = along(k / 3.0f);
        const Eigen::Vector2d corner =
            horizontal
                ? Eigen::Vector2d(std::clamp(p - 0.5f * size.x(), 0.0f, float(std::max(view.width() - size.x(), 0))),
                                  high + 2 * gap)
                : Eigen::Vector2d(high + 2 * gap, p - 0.5 * size.y());
        text.drawTextPixel(view, values[k], corner, m_textColor, textHeight);
    }
    if (!m_legend.title.empty()) {
        const Eigen::Vector2i size = text.textSize(m_legend.title, textHeight);
        const double x = horizontal ? 0.5 * (x0 + x1 - size.x()) : view.width() - margin - size.x();
        text.drawTextPixel(view, m_legend.title, {std::max(x, 0.0), y0 - gap - size.y()}, m_textColor, textHeight);
    }
}

} // namespace Tarnwick
