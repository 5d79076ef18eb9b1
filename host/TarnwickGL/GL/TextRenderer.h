#pragma once

#include <TarnwickGL/GL/ProgramCache.h>

#include <Eigen/Core>

#include <map>
#include <memory>
#include <string>

namespace Tarnwick {
class GlView;
}

namespace Tarnwick::GL {

class GlyphAtlas;
class VertexBuffer;

/// Draws text into views with a TrueType font (DejaVu Sans from fonts-dejavu-core by default),
/// rasterised by FreeType into one glyph atlas per pixel size. Text is UTF-8; code points outside
/// ASCII and Latin-1 are drawn as '?'. Text is drawn on top of everything (no depth test), blended
/// by glyph coverage.
///
/// A missing or unreadable font logs one error (on first use) and draws nothing. Needs a current
/// context for drawing; destroy the renderer with it current.
class TextRenderer {
public:
    static const char* defaultFontPath() { return "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"; }

    explicit TextRenderer(std::string fontPath = defaultFontPath());
    ~TextRenderer();
    TextRenderer(const TextRenderer&) = delete;
    TextRenderer& operator=(const TextRenderer&) = delete;

    /// Text beside a world point: its box is vertically centred on the point's pixel and starts a
    /// quarter of the pixel height to its right. Nothing is drawn for points outside the view's
    /// depth range (for example outside a slice view's slab).
    void drawText(const GlView& view, const std::string& text, const Eigen::Vector3d& world,
                  const Eigen::Vector4f& color, float pixelHeight = 14.0f);
    /// Text whose box (see textSize) has its top-left corner at `pixel` (view pixel coordinates,
    /// origin top-left, y down).
    void drawTextPixel(const GlView& view, const std::string& text, const Eigen::Vector2d& pixel,
                       const Eigen::Vector4f& color, float pixelHeight = 14.0f);
    /// Width and height in pixels of the text's box: the pen advance and one line height, widened
    /// where glyphs reach beyond them, so that all ink lies inside. Zero without a font.
    /// pixelHeight is the font's em size, rounded and limited to [4, 128].
    Eigen::Vector2i textSize(const std::string& text, float pixelHeight = 14.0f);

    /// Whether the font could be loaded.
    bool isAvailable();

private:
    struct Font;
    GlyphAtlas* atlas(float pixelHeight);

    std::string m_fontPath;
    std::unique_ptr<Font> m_font;
    bool m_fontTried = false;
    std::map<int, std::unique_ptr<GlyphAtlas>> m_atlases;
    ProgramCache m_programs{1};
    std::unique_ptr<VertexBuffer> m_vertices;
};

} // namespace Tarnwick::GL
