#include "../GlTestContext.h"

#include <TarnwickGL/GL/VersionInfo.h>

namespace Tarnwick {
namespace {

using ContextTest = Test::GlTest;

// The offscreen context is a core context of at least 4.3 while current, and nothing is reported once it
// is released.
TEST_F(ContextTest, VersionOfCurrentContext) {
    const GL::VersionInfo version = GL::versionInfo();
    EXPECT_TRUE(version.atLeast(4, 3)) << version.text();
    EXPECT_FALSE(version.atLeast(version.major, version.minor + 1));
    EXPECT_FALSE(version.renderer.empty());
    RecordProperty("gl", version.text());

    context()->doneCurrent();
    EXPECT_FALSE(GL::hasCurrentContext());
    const GL::VersionInfo none = GL::versionInfo();
    EXPECT_EQ(none.major, 0);
    EXPECT_FALSE(none.atLeast(1, 0));
    EXPECT_EQ(none.text(), "no OpenGL context");
}

} // namespace
} // namespace Tarnwick
