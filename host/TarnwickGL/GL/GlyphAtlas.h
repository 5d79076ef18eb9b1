#pragma once

#include <TarnwickGL/GL/Texture.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

struct FT_FaceRec_;

namespace Tarnwick::GL {

/// The glyphs of one font at one pixel size, rasterised by FreeType into a single-channel coverage
/// image: code points 32..126 and 160..255 (ASCII and Latin-1). The texture is made on first use
/// with the current context.
class GlyphAtlas {
public:
    struct Glyph {
        bool present = false;
        int x = 0, y = 0;          ///< top-left texel in the atlas
        int width = 0, height = 0; ///< bitmap size in pixels
        int left = 0, top = 0;     ///< bitmap offset from the pen position (top: up from the baseline)
        int advance = 0;           ///< pen advance in pixels
    };

    /// Rasterises the glyphs of `face` at `pixelSize` (em size in pixels).
    GlyphAtlas(FT_FaceRec_* face, int pixelSize);

    int pixelSize() const { return m_pixelSize; }
    /// Distance from the top of a line to the baseline, and the height of a line, in pixels.
    int ascender() const { return m_ascender; }
    int lineHeight() const { return m_lineHeight; }
    int width() const { return m_width; }
    int height() const { return m_height; }

    /// The glyph of a code point; '?' for code points the atlas lacks.
    const Glyph& glyph(char32_t codePoint) const;
    /// The atlas as an R8 texture.
    const Texture& texture();

private:
    static constexpr int atlasWidth = 512;

    int m_pixelSize;
    int m_ascender = 0;
    int m_lineHeight = 0;
    int m_width = atlasWidth;
    int m_height = 0;
    std::array<Glyph, 256> m_glyphs{};
    std::vector<std::uint8_t> m_pixels;
    std::unique_ptr<Texture> m_texture;
};

} // namespace Tarnwick::GL
