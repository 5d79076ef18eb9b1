#pragma once

#include <TarnwickGL/GL/Framebuffer.h>
#include <TarnwickGL/GlView.h>

#include <Eigen/Core>

#include <cstdint>
#include <functional>
#include <vector>

namespace Tarnwick::Test {

/// A picture read back from a view: RGBA bytes, rows top-down.
struct ViewPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;

    Eigen::Vector4i at(int x, int y) const {
        const std::uint8_t* p = rgba.data() + (std::size_t(y) * width + x) * 4;
        return {p[0], p[1], p[2], p[3]};
    }
    bool isBlack(int x, int y) const { return at(x, y).head<3>().isZero(); }
};

/// Renders `view` into a new framebuffer of its size (then runs `after`, for overlays) and reads it back.
inline ViewPicture renderPicture(GlView& view, const std::function<void()>& after = {}) {
    GL::Framebuffer target(view.width(), view.height());
    target.bind();
    view.render();
    if (after)
        after();
    return {view.width(), view.height(), target.readPixels()};
}

} // namespace Tarnwick::Test
