#include <TarnwickLib/ImageOps/LabelStatistics.h>

#include <TarnwickLib/Image/TypedImage.h>

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <random>

namespace Tarnwick::ImageOps {
namespace {

template <typename T>
class LabelStatisticsTypedTest : public ::testing::Test {};

using IntegerTypes = ::testing::Types<char, unsigned char, short, unsigned short, int, unsigned int>;
TYPED_TEST_SUITE(LabelStatisticsTypedTest, IntegerTypes);

TYPED_TEST(LabelStatisticsTypedTest, BoxesOfScatteredLabelsMatchAVoxelByVoxelSearch) {
    using T = TypeParam;
    // Labels at the extremes of the type as well as small ones; big enough for the parallel path.
    const std::vector<T> labelValues = {T(1), T(7), std::numeric_limits<T>::max(), std::numeric_limits<T>::lowest()};
    const Eigen::Vector3i dims(70, 50, 40);
    std::vector<T> labels(static_cast<std::size_t>(dims.prod()), T(0));
    std::mt19937 random(6);
    std::map<std::int64_t, LabelBounds> expected;
    for (const T label : labelValues) {
        if (label == T(0))
            continue; // the lowest unsigned value is 0, the background
        std::uniform_int_distribution<int> x(0, 69), y(0, 49), z(0, 39);
        for (int k = 0; k < 25; ++k) {
            const Eigen::Vector3i v(x(random), y(random), z(random));
            // A short run along x, as in real masks.
            for (int dx = 0; dx < 3 && v.x() + dx < dims.x(); ++dx) {
                const Eigen::Vector3i p = v + Eigen::Vector3i(dx, 0, 0);
                labels[(static_cast<std::size_t>(p.z()) * dims.y() + p.y()) * dims.x() + p.x()] = label;
            }
        }
    }
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 0; x < dims.x(); ++x) {
                const T label = labels[(static_cast<std::size_t>(z) * dims.y() + y) * dims.x() + x];
                if (label == T(0))
                    continue;
                const Eigen::Vector3i p(x, y, z);
                auto [it, inserted] = expected.try_emplace(static_cast<std::int64_t>(label), LabelBounds{p, p});
                it->second.min = it->second.min.cwiseMin(p);
                it->second.max = it->second.max.cwiseMax(p);
            }

    const auto bounds = computeBounds(labels.data(), dims);
    ASSERT_TRUE(bounds.has_value());
    ASSERT_EQ(bounds->size(), expected.size());
    for (const auto& [label, box] : expected) {
        ASSERT_EQ(bounds->count(label), 1u) << "label " << label;
        EXPECT_EQ(bounds->at(label).min, box.min) << "label " << label;
        EXPECT_EQ(bounds->at(label).max, box.max) << "label " << label;
    }
}

TEST(LabelStatisticsTest, ImagesOfIntegerTypesOnly) {
    auto labels = TypedImage<unsigned short>::zeros({5, 5, 1});
    labels->setValue(4, 3, 0, 300);
    const auto bounds = computeBounds(*labels);
    ASSERT_TRUE(bounds.has_value());
    EXPECT_EQ(bounds->at(300).max, Eigen::Vector3i(4, 3, 0));

    ::Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(computeBounds(*TypedImage<float>::zeros({2, 2, 2})).has_value());
    EXPECT_TRUE(log.contains("computeBounds: expected an integer label image, got float"));
    EXPECT_FALSE(computeBounds(*TypedImage<int>::zeros({2, 2, 2}, 2)).has_value());
    EXPECT_TRUE(log.contains("computeBounds: expected a single-channel label image, got 2 channels"));
    EXPECT_FALSE(computeBounds<int>(nullptr, {2, 2, 2}).has_value());
    EXPECT_FALSE(computeBounds(labels->pointer(), {5, 5, 0}).has_value());
    EXPECT_EQ(log.errors().size(), 4u);
}

} // namespace
} // namespace Tarnwick::ImageOps
