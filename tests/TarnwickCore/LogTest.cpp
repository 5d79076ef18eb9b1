#include <TarnwickCore/Log.h>

#include "support/LogCapture.h"

#include <gtest/gtest.h>


namespace Tarnwick {
namespace {

// Formatting this type counts how often a message was actually built.
struct CountingArgument {
    int* formatted;
};

} // namespace
} // namespace Tarnwick

template <>
struct fmt::formatter<Tarnwick::CountingArgument> : fmt::formatter<int> {
    template <typename Context>
    auto format(const Tarnwick::CountingArgument& argument, Context& context) const {
        ++*argument.formatted;
        return fmt::formatter<int>::format(*argument.formatted, context);
    }
};

namespace Tarnwick {
namespace {

using Test::LogCapture;

class LogTest : public ::testing::Test {
protected:
    void TearDown() override { Log::clearCategoryLevels(); }
};

TEST_F(LogTest, MessagesAreBuiltOnlyWhenAdmitted) {
    LogCapture capture(Log::Info);
    int formatted = 0;
    TW_LOG_DEBUG("debug {}", CountingArgument{&formatted});
    TW_LOG(Log::Trace, "Graph", "trace {}", CountingArgument{&formatted});
    EXPECT_EQ(formatted, 0);
    EXPECT_TRUE(capture.messages().empty());

    TW_LOG_INFO("info {}", CountingArgument{&formatted});
    TW_LOG_ERROR("error {}", CountingArgument{&formatted});
    EXPECT_EQ(formatted, 2);
    EXPECT_EQ(capture.messages(), (std::vector<std::string>{"info 1", "error 2"}));
    EXPECT_EQ(capture.errors(), std::vector<std::string>{"error 2"});
}

TEST_F(LogTest, CategoryLevelOverridesGlobalLevel) {
    LogCapture capture(Log::Warning);
    Log::setCategoryLevel("Chatty", Log::Trace);
    Log::setCategoryLevel("Quiet", Log::Fatal);
    EXPECT_TRUE(Log::isAccepted(Log::Debug, "Chatty"));
    EXPECT_FALSE(Log::isAccepted(Log::Debug, "Other"));
    EXPECT_FALSE(Log::isAccepted(Log::Error, "Quiet"));
    EXPECT_TRUE(Log::isAccepted(Log::Error, ""));

    TW_LOG(Log::Debug, "Chatty", "shown");
    TW_LOG(Log::Error, "Quiet", "hidden");
    Log::log(Log::Error, "Quiet", "hidden too"); // log() applies the rule itself
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"shown"});

    Log::clearCategoryLevels();
    EXPECT_FALSE(Log::isAccepted(Log::Debug, "Chatty"));
    EXPECT_TRUE(Log::isAccepted(Log::Error, "Quiet"));
}

TEST_F(LogTest, ConsoleSinkWritesLevelCategoryAndMessage) {
    Log::ConsoleSink sink;
    ::testing::internal::CaptureStderr();
    sink.write({Log::Warning, "Graph", "careful", "", 0});
    sink.write({Log::Error, "", "broken", "", 0});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "[WARNING] Graph: careful\n[ERROR] broken\n");
}

} // namespace
} // namespace Tarnwick
