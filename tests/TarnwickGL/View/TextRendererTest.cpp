#include "../GlTestContext.h"
#include "ViewPicture.h"

#include <support/LogCapture.h>
#include <TarnwickGL/GL/TextRenderer.h>
#include <TarnwickGL/GlSliceView.h>

namespace Tarnwick {
namespace {

using TextRendererTest = Test::GlTest;
using Test::renderPicture;
using Test::ViewPicture;

/// Counts non-black pixels inside and outside the box [x0, x0 + w) x [y0, y0 + h).
std::pair<int, int> inkInsideOutside(const ViewPicture& picture, int x0, int y0, int w, int h) {
    int inside = 0, outside = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            if (!picture.isBlack(x, y))
                ++(x >= x0 && x < x0 + w && y >= y0 && y < y0 + h ? inside : outside);
    return {inside, outside};
}

TEST_F(TextRendererTest, TextInksOnlyItsBox) {
    GlSliceView view;
    view.resize(200, 60);
    GL::TextRenderer& text = view.textRenderer();
    ASSERT_TRUE(text.isAvailable());
    const std::string label = "Tarnwick 4.5 µm_gy";
    const Eigen::Vector2i size = text.textSize(label, 16.0f);
    EXPECT_GT(size.x(), 100);
    EXPECT_GT(size.y(), 16);
    const ViewPicture picture = renderPicture(view, [&] {
        text.drawTextPixel(view, label, {12, 20}, {1, 1, 1, 1}, 16.0f);
    });
    const auto [inside, outside] = inkInsideOutside(picture, 12, 20, size.x(), size.y());
    EXPECT_GT(inside, size.x() * size.y() / 10);
    EXPECT_EQ(outside, 0);
}

TEST_F(TextRendererTest, WorldTextSitsBesideItsPointAndOnlyInsideTheSlab) {
    GlSliceView view;
    view.resize(120, 60);
    view.setPixelSize(1.0);
    GL::TextRenderer& text = view.textRenderer();
    const Eigen::Vector2i size = text.textSize("42", 14.0f);
    // World (-20, 0, 0) is pixel (40, 30): the box starts 14/4 pixels to its right, centred vertically.
    const ViewPicture picture = renderPicture(view, [&] {
        text.drawText(view, "42", {-20, 0, 0}, {0, 1, 0, 1}, 14.0f);
        text.drawText(view, "42", {20, 0, 5}, {0, 1, 0, 1}, 14.0f); // 5 mm off a 2 mm slab
    });
    const auto [inside, outside] = inkInsideOutside(picture, 40 + 3, 30 - size.y() / 2 - 1, size.x() + 2, size.y() + 2);
    EXPECT_GT(inside, 20);
    EXPECT_EQ(outside, 0);
}

TEST_F(TextRendererTest, MissingFontLogsOnceAndDrawsNothing) {
    GlSliceView view;
    view.resize(40, 20);
    GL::TextRenderer text("/nonexistent/font.ttf");
    Tarnwick::Test::LogCapture log;
    const ViewPicture picture = renderPicture(view, [&] {
        text.drawTextPixel(view, "abc", {0, 0}, {1, 1, 1, 1});
        text.drawTextPixel(view, "def", {0, 0}, {1, 1, 1, 1});
    });
    EXPECT_EQ(text.textSize("abc"), Eigen::Vector2i::Zero());
    EXPECT_EQ(inkInsideOutside(picture, 0, 0, 0, 0).second, 0);
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{"Cannot load the font '/nonexistent/font.ttf': text is not drawn"});
}

} // namespace
} // namespace Tarnwick
