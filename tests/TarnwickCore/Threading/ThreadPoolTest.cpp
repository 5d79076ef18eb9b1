#include <TarnwickCore/Threading/ThreadPool.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <numeric>
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

TEST(ThreadPoolTest, TasksRunOnWorkerThreadsConcurrently) {
    ThreadPool pool(2);
    std::promise<void> bothStarted;
    std::atomic<int> started{0};
    auto task = [&] {
        if (++started == 2)
            bothStarted.set_value();
        // Each task waits for the other; this only finishes if two workers run at once.
        while (started.load() < 2)
            std::this_thread::yield();
        return std::this_thread::get_id();
    };
    auto first = pool.enqueue(task);
    auto second = pool.enqueue(task);
    ASSERT_EQ(bothStarted.get_future().wait_for(10s), std::future_status::ready);
    const auto a = first.get(), b = second.get();
    EXPECT_NE(a, b);
    EXPECT_NE(a, std::this_thread::get_id());
}

TEST(ThreadPoolTest, ZeroThreadsMeansHardwareConcurrency) {
    ThreadPool pool(0);
    EXPECT_EQ(pool.numThreads(), std::max(1u, std::thread::hardware_concurrency()));
}

TEST(ThreadPoolTest, ExceptionsReachTheFuture) {
    ThreadPool pool(2);
    auto failing = pool.enqueue([]() -> int { throw std::invalid_argument("bad task"); });
    auto fine = pool.enqueue([] { return std::string("ok"); });
    EXPECT_THROW(failing.get(), std::invalid_argument);
    EXPECT_EQ(fine.get(), "ok");
    EXPECT_TRUE(pool.waitUntilFinished(10000));
}

TEST(ThreadPoolTest, WaitTimesOutWhileATaskIsBlocked) {
    ThreadPool pool(1);
    std::promise<void> release;
    auto gate = release.get_future().share();
    pool.enqueue([gate] { gate.wait(); });
    pool.enqueue([] {});
    EXPECT_FALSE(pool.waitUntilFinished(20));
    release.set_value();
    EXPECT_TRUE(pool.waitUntilFinished(-1));
    EXPECT_TRUE(pool.waitUntilFinished(0)); // nothing left
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

TEST(ThreadPoolTest, DestructorRunsQueuedTasks) {
    std::atomic<int> runs{0};
    {
        ThreadPool pool(3);
        for (int i = 0; i < 1000; ++i)
            pool.enqueue([&runs] { ++runs; });
    }
    EXPECT_EQ(runs.load(), 1000);
}

TEST(ThreadPoolTest, TasksMayEnqueueMoreTasks) {
    ThreadPool pool(2);
    std::atomic<int> runs{0};
    std::vector<std::future<void>> inner(100);
    auto outer = pool.enqueue([&] {
        for (auto& future : inner)
            future = pool.enqueue([&runs] { ++runs; });
    });
    outer.get();
    EXPECT_TRUE(pool.waitUntilFinished());
    EXPECT_EQ(runs.load(), 100);
}

TEST(ThreadPoolTest, ConcurrentProducers) {
    ThreadPool pool(3);
    std::atomic<long> sum{0};
    std::vector<std::thread> producers;
    for (int p = 0; p < 4; ++p)
        producers.emplace_back([&pool, &sum] {
            for (int i = 1; i <= 1000; ++i)
                pool.enqueue([&sum, i] { sum += i; });
        });
    for (auto& producer : producers)
        producer.join();
    EXPECT_TRUE(pool.waitUntilFinished());
    EXPECT_EQ(sum.load(), 4L * 1000 * 1001 / 2);
}

} // namespace
} // namespace Tarnwick::Threading
