#include <TarnwickGL/GL/GlyphAtlas.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cstring>

namespace Tarnwick::GL {

namespace {
bool inAtlas(char32_t c) {
    return (c >= 32 && c <= 126) || (c >= 160 && c <= 255);
}
} // namespace

GlyphAtlas::GlyphAtlas(FT_Face face, int pixelSize) : m_pixelSize(pixelSize) {
    FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixelSize));
    m_ascender = int(face->size->metrics.ascender >> 6);
    m_lineHeight = m_ascender - int(face->size->metrics.descender >> 6);

    // Shelf packing: glyphs left to right in rows as tall as the line, one texel apart.
    struct Bitmap {
        std::vector<std::uint8_t> pixels;
    };
    std::array<Bitmap, 256> bitmaps;
    int penX = 1, penY = 1;
    const int rowHeight = m_lineHeight + 2;
    for (char32_t c = 0; c < 256; ++c) {
        if (!inAtlas(c) || FT_Load_Char(face, c, FT_LOAD_RENDER) != 0)
            continue;
        const FT_GlyphSlot slot = face->glyph;
        Glyph& g = m_glyphs[c];
        g.present = true;
        g.width = std::min(int(slot->bitmap.width), atlasWidth - 2);
        g.height = std::min(int(slot->bitmap.rows), rowHeight - 1);
        g.left = slot->bitmap_left;
        g.top = slot->bitmap_top;
        g.advance = int(slot->advance.x >> 6);
        if (penX + g.width + 1 > atlasWidth) {
            penX = 1;
            penY += rowHeight;
        }
        g.x = penX;
        g.y = penY;
        penX += g.width + 1;
        bitmaps[c].pixels.resize(std::size_t(g.width) * g.height);
        for (int row = 0; row < g.height; ++row)
            std::memcpy(bitmaps[c].pixels.data() + std::size_t(row) * g.width,
                        slot->bitmap.buffer + std::ptrdiff_t(row) * slot->bitmap.pitch, std::size_t(g.width));
    }
    m_height = penY + rowHeight;
    m_pixels.assign(std::size_t(m_width) * m_height, 0);
    for (char32_t c = 0; c < 256; ++c) {
        const Glyph& g = m_glyphs[c];
        for (int row = 0; row < g.height; ++row)
            std::memcpy(m_pixels.data() + std::size_t(g.y + row) * m_width + g.x,
                        bitmaps[c].pixels.data() + std::size_t(row) * g.width, std::size_t(g.width));
    }
}

const GlyphAtlas::Glyph& GlyphAtlas::glyph(char32_t codePoint) const {
    return codePoint < 256 && m_glyphs[codePoint].present ? m_glyphs[codePoint] : m_glyphs['?'];
}

const Texture& GlyphAtlas::texture() {
    if (!m_texture) {
        m_texture = std::make_unique<Texture>(GL_TEXTURE_2D, InternalFormat::R8, Eigen::Vector3i(m_width, m_height, 1));
        m_texture->upload(m_pixels.data());
    }
    return *m_texture;
}

} // namespace Tarnwick::GL
