#include <TarnwickGL/GL/TextRenderer.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/GL/GlyphAtlas.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlView.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <exception>
#include <vector>

namespace Tarnwick::GL {

namespace {

/// Atlases kept per renderer; beyond this the smallest size is dropped.
constexpr std::size_t maxAtlases = 8;

/// Code points of UTF-8 text; malformed bytes become U+FFFD.
std::u32string decodeUtf8(const std::string& text) {
    std::u32string result;
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const int length = byte < 0x80           ? 1
                           : (byte >> 5) == 0x6  ? 2
                           : (byte >> 4) == 0xE  ? 3
                           : (byte >> 3) == 0x1E ? 4
                                                 : 0;
        char32_t c = length == 1 ? byte : length == 2 ? byte & 0x1F : length == 3 ? byte & 0x0F : byte & 0x07;
        bool valid = length > 0 && i + length <= text.size();
        for (int k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            valid = (next & 0xC0) == 0x80;
            c = (c << 6) | (next & 0x3F);
        }
        result.push_back(valid ? c : U'\uFFFD');
        i += valid ? length : 1;
    }
    return result;
}

/// A glyph's bitmap placed in the text's box (top-left corner, pixels from the box's top-left).
struct PlacedGlyph {
    const GlyphAtlas::Glyph* glyph;
    int x, y;
};

/// Glyphs of one line of text and the box that holds the pen advance, one line height and all ink.
struct TextLayout {
    std::vector<PlacedGlyph> glyphs;
    Eigen::Vector2i size = Eigen::Vector2i::Zero();
};

TextLayout layOut(const GlyphAtlas& atlas, const std::string& text) {
    TextLayout layout;
    int pen = 0, minX = 0, maxX = 0, minY = 0, maxY = atlas.lineHeight();
    for (char32_t c : decodeUtf8(text)) {
        const GlyphAtlas::Glyph& g = atlas.glyph(c);
        const int x = pen + g.left, y = atlas.ascender() - g.top;
        pen += g.advance;
        if (g.width == 0 || g.height == 0)
            continue;
        layout.glyphs.push_back({&g, x, y});
        minX = std::min(minX, x);
        maxX = std::max(maxX, x + g.width);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y + g.height);
    }
    maxX = std::max(maxX, pen);
    for (PlacedGlyph& placed : layout.glyphs) {
        placed.x -= minX;
        placed.y -= minY;
    }
    layout.size = {maxX - minX, maxY - minY};
    return layout;
}

} // namespace

struct TextRenderer::Font {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    ~Font() {
        if (face)
            FT_Done_Face(face);
        if (library)
            FT_Done_FreeType(library);
    }
};

TextRenderer::TextRenderer(std::string fontPath) : m_fontPath(std::move(fontPath)) {}
TextRenderer::~TextRenderer() = default;

bool TextRenderer::isAvailable() {
    if (!m_fontTried) {
        m_fontTried = true;
        auto font = std::make_unique<Font>();
        if (FT_Init_FreeType(&font->library) == 0 &&
            FT_New_Face(font->library, m_fontPath.c_str(), 0, &font->face) == 0) {
            m_font = std::move(font);
        } else {
            TW_LOG_ERROR("Cannot load the font '{}': text is not drawn", m_fontPath);
        }
    }
    return m_font != nullptr;
}

GlyphAtlas* TextRenderer::atlas(float pixelHeight) {
    if (!isAvailable() || !std::isfinite(pixelHeight))
        return nullptr;
    const int size = std::clamp(int(std::lround(pixelHeight)), 4, 128);
    auto it = m_atlases.find(size);
    if (it == m_atlases.end()) {
        if (m_atlases.size() >= maxAtlases)
            m_atlases.erase(m_atlases.begin());
        it = m_atlases.emplace(size, std::make_unique<GlyphAtlas>(m_font->face, size)).first;
    }
    return it->second.get();
}

Eigen::Vector2i TextRenderer::textSize(const std::string& text, float pixelHeight) {
    GlyphAtlas* glyphs = atlas(pixelHeight);
    if (!glyphs)
        return Eigen::Vector2i::Zero();
    return layOut(*glyphs, text).size;
}

void TextRenderer::drawText(const GlView& view, const std::string& text, const Eigen::Vector3d& world,
                            const Eigen::Vector4f& color, float pixelHeight) {
    const GL::ViewState& state = view.viewState();
    if (!state.isInDepthRange(world))
        return;
    const Eigen::Vector2d anchor = state.project(world);
    const Eigen::Vector2i size = textSize(text, pixelHeight);
    drawTextPixel(view, text, anchor + Eigen::Vector2d(0.25 * pixelHeight, -0.5 * size.y()), color, pixelHeight);
}

void TextRenderer::drawTextPixel(const GlView& view, const std::string& text, const Eigen::Vector2d& pixel,
                                 const Eigen::Vector4f& color, float pixelHeight) {
    GlyphAtlas* glyphs = atlas(pixelHeight);
    if (!glyphs || text.empty() || !pixel.allFinite())
        return;

    // Two triangles per glyph; positions on whole pixels so that atlas texels map one to one.
    const float invW = 1.0f / glyphs->width(), invH = 1.0f / glyphs->height();
    const float left = float(std::lround(pixel.x())), top = float(std::lround(pixel.y()));
    std::vector<Vertex> vertices;
    for (const PlacedGlyph& placed : layOut(*glyphs, text).glyphs) {
        const GlyphAtlas::Glyph& g = *placed.glyph;
        const float x0 = left + placed.x, y0 = top + placed.y, x1 = x0 + g.width, y1 = y0 + g.height;
        const float u0 = g.x * invW, v0 = g.y * invH, u1 = (g.x + g.width) * invW, v1 = (g.y + g.height) * invH;
        const Vertex corners[4] = {{{x0, y0, 0}, {u0, v0, 0, 0}},
                                   {{x1, y0, 0}, {u1, v0, 0, 0}},
                                   {{x1, y1, 0}, {u1, v1, 0, 0}},
                                   {{x0, y1, 0}, {u0, v1, 0, 0}}};
        for (int index : {0, 1, 2, 0, 2, 3})
            vertices.push_back(corners[index]);
    }
    if (vertices.empty())
        return;

    std::string error;
    Program* program = m_programs.get("TarnwickGL/Text.vert", "TarnwickGL/Text.frag", "", {}, &error);
    if (!program) {
        TW_LOG_ERROR("Text shaders unavailable: {}", error);
        return;
    }
    if (!m_vertices)
        m_vertices = std::make_unique<VertexBuffer>();
    m_vertices->setVertices(vertices);

    StateGuard guard;
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    try {
        glyphs->texture().bind(0);
    } catch (const std::exception& e) {
        TW_LOG_ERROR("Cannot make the glyph texture: {}", e.what());
        return;
    }
    program->setUniform("uAtlas", 0);
    program->setUniform("uColor", color);
    program->setUniform("uViewportSize", Eigen::Vector2f(float(view.width()), float(view.height())));
    program->use();
    m_vertices->draw(GL_TRIANGLES);
}

} // namespace Tarnwick::GL
