#include "../GlTestContext.h"
#include "ViewPicture.h"

#include <TarnwickGL/ColorBarOverlay.h>
#include <TarnwickGL/GlSliceView.h>

namespace Tarnwick {
namespace {

using ColorBarOverlayTest = Test::GlTest;
using Test::renderPicture;
using Test::ViewPicture;

TEST(ColorBarOverlayLabelsTest, FourLabelsWithThreeSignificantDigits) {
    using Labels = std::array<std::string, 4>;
    EXPECT_EQ(ColorBarOverlay::labels(0, 3), (Labels{"0", "1", "2", "3"}));
    EXPECT_EQ(ColorBarOverlay::labels(-1, 10000), (Labels{"-1", "3.33e+03", "6.67e+03", "1e+04"}));
    EXPECT_EQ(ColorBarOverlay::labels(0.25, 0.25), (Labels{"0.25", "0.25", "0.25", "0.25"}));
}

// The bar runs through the colour map from min (left, or bottom) to max, with labels beside it.
TEST_F(ColorBarOverlayTest, BarShowsTheMapFromMinToMax) {
    for (auto placement : {ColorBarOverlay::Bottom, ColorBarOverlay::Right}) {
        SCOPED_TRACE(placement);
        GlSliceView view;
        view.resize(320, 240);
        ColorBarOverlay bar({"diameter", Colormap::Jet, 0.5, 4.0});
        bar.setPlacement(placement);
        view.addObject(&bar);
        const ViewPicture picture = renderPicture(view);

        const Eigen::Vector4i r = bar.barRect(320, 240);
        const Eigen::Vector2i first = placement == ColorBarOverlay::Bottom
                                          ? Eigen::Vector2i(r[0] + 1, r[1] + r[3] / 2)
                                          : Eigen::Vector2i(r[0] + r[2] / 2, r[1] + r[3] - 2);
        const Eigen::Vector2i last = placement == ColorBarOverlay::Bottom
                                         ? Eigen::Vector2i(r[0] + r[2] - 2, r[1] + r[3] / 2)
                                         : Eigen::Vector2i(r[0] + r[2] / 2, r[1] + 1);
        EXPECT_LE((picture.at(first.x(), first.y()) - Eigen::Vector4i(0, 0, 128, 255)).cwiseAbs().maxCoeff(), 12);
        EXPECT_LE((picture.at(last.x(), last.y()) - Eigen::Vector4i(128, 0, 0, 255)).cwiseAbs().maxCoeff(), 12);

        // Label ink beside the bar (below it, or to its right), nothing in the view's far corner.
        int ink = 0;
        for (int y = 0; y < 240; ++y)
            for (int x = 0; x < 320; ++x) {
                const bool beside = placement == ColorBarOverlay::Bottom ? y > r[1] + r[3] + 5 : x > r[0] + r[2] + 5;
                ink += beside && !picture.isBlack(x, y);
            }
        EXPECT_GT(ink, 40);
        EXPECT_TRUE(picture.isBlack(2, 2));
    }
}

} // namespace
} // namespace Tarnwick
