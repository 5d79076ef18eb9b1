#include <TarnwickCore/Timer.h>

#include <gtest/gtest.h>

#include <thread>

namespace Tarnwick {
namespace {

TEST(TimerTest, StoppedTimerKeepsItsTime) {
    Timer unstarted(false);
    EXPECT_FALSE(unstarted.isRunning());
    EXPECT_EQ(unstarted.elapsedSeconds(), 0.0);

    Timer timer;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    timer.stop();
    const double frozen = timer.elapsedMs();
    EXPECT_GE(frozen, 5.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(timer.elapsedMs(), frozen);
    EXPECT_DOUBLE_EQ(timer.elapsedSeconds() * 1000.0, frozen);
    timer.start();
    EXPECT_LT(timer.elapsedMs(), frozen);
}

TEST(TimerTest, Formatting) {
    EXPECT_EQ(Timer::format(0.25), "0.250 s");
    EXPECT_EQ(Timer::format(59.9994), "59.999 s");
    EXPECT_EQ(Timer::format(125.7), "2:05");
    EXPECT_EQ(Timer::format(3725), "1:02:05");
    EXPECT_EQ(Timer::format(-1), "0.000 s");
    EXPECT_EQ(Timer(false).formatted(), "0.000 s");
}

} // namespace
} // namespace Tarnwick
