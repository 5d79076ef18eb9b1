#include "../GlTestContext.h"

#include <TarnwickGL/GL/Framebuffer.h>
#include <TarnwickGL/GL/StateGuard.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace Tarnwick {
namespace {

class FramebufferTest : public Test::GlTest, public ::testing::WithParamInterface<int> {};

// The clear colour comes back in every pixel, and a scissored clear of the top rows shows up in the first
// rows of readPixels (top-down order), with and without multisampling.
TEST_P(FramebufferTest, ClearColourReadBackTopDown) {
    const int width = 7;
    const int height = 5;
    GL::Framebuffer target(width, height, GetParam());
    EXPECT_EQ(target.samples() > 0, GetParam() > 0);
    target.bind();
    glClearColor(0.2f, 0.4f, 0.6f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, height - 2, width, 2); // GL rows count from the bottom
    glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);

    const std::vector<std::uint8_t> pixels = target.readPixels();
    ASSERT_EQ(pixels.size(), static_cast<std::size_t>(width * height * 4));
    for (int y = 0; y < height; ++y) {
        const std::vector<int> expected =
            y < 2 ? std::vector<int>{255, 0, 0, 255} : std::vector<int>{51, 102, 153, 255};
        for (int x = 0; x < width; ++x) {
            const std::size_t at = static_cast<std::size_t>(y * width + x) * 4;
            ASSERT_EQ(std::vector<int>(pixels.begin() + at, pixels.begin() + at + 4), expected) << x << "," << y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, FramebufferTest, ::testing::Values(0, 4));

using FramebufferLimitsTest = Test::GlTest;

TEST_F(FramebufferLimitsTest, InvalidSizeIsRejected) {
    EXPECT_THROW(GL::Framebuffer(0, 4), std::invalid_argument);
    EXPECT_THROW(GL::Framebuffer(4, 1 << 30), std::invalid_argument);
}

// State changed inside a guard's scope is back to what it was afterwards.
TEST_F(FramebufferLimitsTest, StateGuardRestoresState) {
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
    glViewport(1, 2, 30, 40);
    glBlendFunc(GL_ONE, GL_ZERO);
    glDepthMask(GL_TRUE);
    {
        GL::StateGuard guard;
        GL::Framebuffer target(4, 4);
        target.bind();
        glEnable(GL_BLEND);
        glDisable(GL_DEPTH_TEST);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
    }
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(std::vector<GLint>(viewport, viewport + 4), (std::vector<GLint>{1, 2, 30, 40}));
    GLint source = 0;
    GLint framebuffer = -1;
    GLboolean depthMask = GL_FALSE;
    glGetIntegerv(GL_BLEND_SRC_RGB, &source);
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &framebuffer);
    glGetBooleanv(GL_DEPTH_WRITEMASK, &depthMask);
    EXPECT_EQ(source, GL_ONE);
    EXPECT_EQ(framebuffer, 0);
    EXPECT_EQ(depthMask, GL_TRUE);
}

} // namespace
} // namespace Tarnwick
