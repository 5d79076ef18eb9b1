#include <TarnwickCore/Threading/ThreadPool.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>

namespace Tarnwick::Threading {
namespace {

using namespace std::chrono_literals;

TEST(ThreadPoolTest, ManyTasksAllRunOnceWithTheirResults) {
    ThreadPool pool(4);
    EXPECT_EQ(pool.numThreads(), 4u);
    constexpr int count = 20000;
    std::atomic<int> runs{0};
    std::vector<std::future<long>> results;
    results.reserve(count);
    for (int i = 0; i < count; ++i)
        results.push_back(pool.enqueue(
            [&runs](int a, long b) {
                ++runs;
                return a * b;
            },
            i, 3L));
    EXPECT_TRUE(pool.waitUntilFinished());
    EXPECT_EQ(runs.load(), count);
    long sum = 0;
    for (auto& result : results)
        sum += result.get();
    EXPECT_EQ(sum, 3L * count * (count - 1) / 2);
}

TEST(ThreadPoolTest, ExceptionsReachTheFuture) {
    ThreadPool pool(2);
    auto failing = pool.enqueue([]() -> int { throw std::invalid_argument("bad task"); });
    auto fine = pool.enqueue([] { return std::string("ok"); });
    EXPECT_THROW(failing.get(), std::invalid_argument);
    EXPECT_EQ(fine.get(), "ok");
    EXPECT_TRUE(pool.waitUntilFinished(10000));
}

TEST(ThreadPoolTest, StopFinishesQueuedTasksThenRefusesNewOnes) {
    ThreadPool pool(2);
    std::atomic<int> runs{0};
    for (int i = 0; i < 200; ++i)
        pool.enqueue([&runs] {
            std::this_thread::sleep_for(10us);
            ++runs;
        });
    pool.stop();
    EXPECT_EQ(runs.load(), 200);
    pool.stop(); // idempotent
    EXPECT_TRUE(pool.waitUntilFinished(0));
    try {
        pool.enqueue([] {});
        FAIL() << "enqueue after stop must throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Called enqueue() on stopped ThreadPool");
    }
}

} // namespace
} // namespace Tarnwick::Threading
