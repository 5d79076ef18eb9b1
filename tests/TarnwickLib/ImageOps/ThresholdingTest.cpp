#include <TarnwickLib/ImageOps/Thresholding.h>

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <utility>

namespace Tarnwick::ImageOps {
namespace {

template <typename T>
class ThresholdingTypedTest : public ::testing::Test {};

using PixelTypes = ::testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, float, double>;
TYPED_TEST_SUITE(ThresholdingTypedTest, PixelTypes);

TYPED_TEST(ThresholdingTypedTest, StrictlyAboveTheLevelIsForeground) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    const std::vector<T> values = {Limits::lowest(), Limits::max(), T(0), T(1), T(2), T(100)};
    // The first value is the type's lowest: far below every level for signed types, 0 for unsigned ones.
    const std::uint8_t lowestAboveMinusOne = Limits::is_signed ? 0 : 1;
    const std::vector<std::pair<double, std::vector<std::uint8_t>>> cases = {
        {0.5, {0, 1, 0, 1, 1, 1}},
        {1.0, {0, 1, 0, 0, 1, 1}}, // equal to the level is background
        {-1.0, {lowestAboveMinusOne, 1, 1, 1, 1, 1}},
        {99.5, {0, 1, 0, 0, 0, 1}},
    };
    for (const auto& [level, expected] : cases) {
        std::vector<std::uint8_t> mask(values.size(), 7);
        ASSERT_TRUE(threshold(values.data(), values.size(), level, mask.data()));
        EXPECT_EQ(mask, expected) << "level " << level;
    }
}

TYPED_TEST(ThresholdingTypedTest, LargeBuffersMatchElementwise) {
    // Large enough for the parallel path; integers above 0.5 are exactly those >= 1.
    using T = TypeParam;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> value(0, 3);
    std::vector<T> values(300000);
    for (T& v : values)
        v = static_cast<T>(value(random));
    std::vector<std::uint8_t> mask(values.size());
    ASSERT_TRUE(threshold(values.data(), values.size(), 0.5, mask.data()));
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(mask[i], values[i] >= T(1) ? 1 : 0);
}

TEST(ThresholdingTest, FloatingPointEdgeCases) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const std::vector<float> values = {nan, inf, -inf, 0.5f, std::nextafter(0.5f, 1.0f)};
    std::vector<std::uint8_t> mask(values.size());
    ASSERT_TRUE(threshold(values.data(), values.size(), 0.5, mask.data()));
    EXPECT_EQ(mask, (std::vector<std::uint8_t>{0, 1, 0, 0, 1}));
}

TEST(ThresholdingTest, InPlaceOnBytesAndBadBuffers) {
    std::vector<std::uint8_t> bytes = {0, 1, 2, 200};
    ASSERT_TRUE(threshold(bytes.data(), bytes.size(), 1.0, bytes.data()));
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 0, 1, 1}));

    ::Tarnwick::Test::LogCapture log;
    EXPECT_TRUE(threshold<float>(nullptr, 0, 0.5, nullptr)); // nothing to do
    EXPECT_FALSE(threshold<float>(nullptr, 4, 0.5, bytes.data()));
    EXPECT_TRUE(log.contains("threshold: no value buffer given"));
    EXPECT_FALSE(
        threshold<float>(reinterpret_cast<const float*>(bytes.data()), std::size_t(1) << 40, 0.5, bytes.data()));
    EXPECT_EQ(log.errors().size(), 2u);
}

} // namespace
} // namespace Tarnwick::ImageOps
