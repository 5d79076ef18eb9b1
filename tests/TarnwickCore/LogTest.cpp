#include <TarnwickCore/Log.h>

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

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

TEST_F(LogTest, RecordsCarryLevelCategoryAndSource) {
    LogCapture capture;
    TW_LOG_CAT_WARN("Graph.Prune", "removed {} of {} nodes", 3, 10);
    Log::log(Log::Fatal, "", "plain", nullptr, 0);
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].level, Log::Warning);
    EXPECT_EQ(records[0].category, "Graph.Prune");
    EXPECT_EQ(records[0].message, "removed 3 of 10 nodes");
    EXPECT_NE(records[0].file.find("LogTest.cpp"), std::string::npos);
    EXPECT_GT(records[0].line, 0);
    EXPECT_EQ(records[1].file, "");
    EXPECT_TRUE(capture.contains("plain", Log::Fatal));
    EXPECT_FALSE(capture.contains("plain", Log::Error));
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

TEST_F(LogTest, SinksCanBeAddedAndRemoved) {
    LogCapture capture;
    auto extra = std::make_shared<Log::MemorySink>();
    Log::addSink(extra);
    TW_LOG_WARN("both");
    Log::removeSink(extra);
    TW_LOG_WARN("first only");
    EXPECT_EQ(extra->messages(), std::vector<std::string>{"both"});
    EXPECT_EQ(capture.warnings(), (std::vector<std::string>{"both", "first only"}));
    extra->clear();
    EXPECT_TRUE(extra->records().empty());
}

TEST_F(LogTest, ConsoleSinkWritesLevelCategoryAndMessage) {
    Log::ConsoleSink sink;
    ::testing::internal::CaptureStderr();
    sink.write({Log::Warning, "Graph", "careful", "", 0});
    sink.write({Log::Error, "", "broken", "", 0});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "[WARNING] Graph: careful\n[ERROR] broken\n");
}

TEST_F(LogTest, ConcurrentLoggingKeepsEveryMessage) {
    LogCapture capture;
    constexpr int threads = 4, perThread = 500;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i)
                TW_LOG_INFO("{}:{}", t, i);
        });
    for (auto& worker : workers)
        worker.join();
    EXPECT_EQ(capture.messages().size(), std::size_t(threads * perThread));
}

} // namespace
} // namespace Tarnwick
