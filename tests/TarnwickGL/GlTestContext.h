#pragma once

#include <TarnwickGL/GL/OffscreenContext.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Tarnwick::Test {

/// Base of tests that need OpenGL: one headless context per test suite, current during each test. A test
/// is skipped, with the reason, when no OpenGL 4.3 context can be made on this machine.
class GlTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { context() = GL::OffscreenContext::create(&reason()); }
    static void TearDownTestSuite() { context().reset(); }

    void SetUp() override {
        if (!context())
            GTEST_SKIP() << reason();
        ASSERT_TRUE(context()->makeCurrent());
    }

    static std::unique_ptr<GL::OffscreenContext>& context() {
        static std::unique_ptr<GL::OffscreenContext> instance;
        return instance;
    }
    static std::string& reason() {
        static std::string text;
        return text;
    }
};

} // namespace Tarnwick::Test
