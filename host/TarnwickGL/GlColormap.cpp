#include <TarnwickGL/GlColormap.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Tarnwick {

GlColormap::GlColormap(Preset preset, int entries) {
    setPreset(preset, entries);
}
GlColormap::~GlColormap() = default;

void GlColormap::setPreset(Preset preset, int entries) {
    m_table = Colormap::table(preset, entries);
    m_preset = preset;
    if (m_table.empty()) {
        m_preset = Colormap::Grayscale;
        m_table = Colormap::table(m_preset, 256);
    }
    m_texture.reset();
}

const Eigen::Vector4f& GlColormap::color(double t) const {
    t = std::isnan(t) ? 0.0 : std::clamp(t, 0.0, 1.0);
    return m_table[std::size_t(std::lround(t * (m_table.size() - 1)))];
}

const GL::Texture& GlColormap::texture() {
    if (!m_texture) {
        std::vector<std::uint8_t> bytes;
        bytes.reserve(m_table.size() * 4);
        for (const auto& c : m_table)
            for (int k = 0; k < 4; ++k)
                bytes.push_back(std::uint8_t(std::lround(std::clamp(c[k], 0.0f, 1.0f) * 255.0f)));
        m_texture = std::make_unique<GL::Texture>(GL_TEXTURE_1D, GL::InternalFormat::RGBA8,
                                                  Eigen::Vector3i(int(m_table.size()), 1, 1));
        m_texture->upload(bytes.data());
    }
    return *m_texture;
}

} // namespace Tarnwick
