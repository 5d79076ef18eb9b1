#pragma once

#include <TarnwickGL/GL/Texture.h>
#include <TarnwickLib/Data/Colormap.h>

#include <Eigen/Core>

#include <memory>
#include <vector>

namespace Tarnwick {

/// A colour-map preset as a lookup table and, for shaders, a 1-D RGBA8 texture of the same entries
/// (made on first use with the current context; sample it at (t * (n - 1) + 0.5) / n to hit entry
/// centres).
class GlColormap {
public:
    using Preset = Colormap::Preset;

    /// The table of `preset` with `entries` entries (see Colormap::table; an unknown preset or a
    /// size outside [1, Colormap::maxEntries] falls back to 256 grayscale entries).
    explicit GlColormap(Preset preset = Colormap::Grayscale, int entries = 256);
    ~GlColormap();

    Preset preset() const { return m_preset; }
    int entries() const { return int(m_table.size()); }
    void setPreset(Preset preset, int entries = 256);
    const std::vector<Eigen::Vector4f>& table() const { return m_table; }
    /// The entry nearest to t * (entries - 1), t clamped to [0, 1] (NaN counts as 0).
    const Eigen::Vector4f& color(double t) const;

    /// The table as a 1-D texture (nearest filtering); rebuilt after setPreset. Throws
    /// std::runtime_error when the context cannot hold that many entries.
    const GL::Texture& texture();

private:
    Preset m_preset = Colormap::Grayscale;
    std::vector<Eigen::Vector4f> m_table;
    std::unique_ptr<GL::Texture> m_texture;
};

} // namespace Tarnwick
