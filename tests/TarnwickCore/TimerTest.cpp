#include <TarnwickCore/Timer.h>

#include <gtest/gtest.h>

#include <thread>

namespace Tarnwick {
namespace {

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
