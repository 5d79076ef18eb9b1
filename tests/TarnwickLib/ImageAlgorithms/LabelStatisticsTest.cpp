#include "support/LogCapture.h"

#include <TarnwickLib/ImageAlgorithms/LabelStatistics.h>

#include <gtest/gtest.h>

#include <random>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

// A label image of type T with a few labels (negative ones for signed types) scattered at random.
template <typename T>
std::unique_ptr<TypedImage<T>> scatteredLabels(const Eigen::Vector3i& dimensions, std::uint32_t seed) {
    auto image = TypedImage<T>::zeros(dimensions);
    const T labels[] = {T(1), T(7), static_cast<T>(std::is_signed_v<T> ? -3 : 200)};
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> pick(0, 9);
    for (std::size_t i = 0; i < image->descriptor().numValues(); ++i) {
        const int choice = pick(random);
        image->pointer()[i] = choice < 3 ? labels[choice] : T(0);
    }
    return image;
}

// The boxes by definition: every voxel of a label widens that label's box.
template <typename T>
std::map<std::int64_t, Geometry::AlignedBox> boundsByDefinition(const TypedImage<T>& image) {
    std::map<std::int64_t, Geometry::AlignedBox> boxes;
    const Eigen::Vector3i n = image.dimensions();
    for (int z = 0; z < n.z(); ++z)
        for (int y = 0; y < n.y(); ++y)
            for (int x = 0; x < n.x(); ++x)
                if (const T label = image.value(x, y, z))
                    boxes[label].addPoint(Eigen::Vector3d(x, y, z));
    return boxes;
}

template <typename T>
void expectBoundsByDefinition(const Eigen::Vector3i& dimensions, std::uint32_t seed) {
    SCOPED_TRACE(::testing::Message() << pixelTypeName(pixelTypeOf<T>()) << " " << dimensions.transpose());
    auto image = scatteredLabels<T>(dimensions, seed);
    const auto expected = boundsByDefinition(*image);
    const auto bounds = LabelStatistics::computeBounds(SharedImage(std::move(image)));
    ASSERT_TRUE(bounds);
    EXPECT_EQ(*bounds, expected);
}

} // namespace

TEST(LabelStatistics, BoundsOfEveryLabelMatchTheDefinition) {
    for (const Eigen::Vector3i& dimensions : {Eigen::Vector3i(13, 9, 7), Eigen::Vector3i(17, 11, 1)}) {
        expectBoundsByDefinition<unsigned char>(dimensions, 1);
        expectBoundsByDefinition<char>(dimensions, 2);
        expectBoundsByDefinition<short>(dimensions, 3);
        expectBoundsByDefinition<unsigned short>(dimensions, 4);
        expectBoundsByDefinition<int>(dimensions, 5);
        expectBoundsByDefinition<unsigned int>(dimensions, 6);
    }
}

TEST(LabelStatistics, MergedBoxesSpanAllLabelledVoxels) {
    auto image = TypedImage<unsigned short>::zeros({20, 16, 12});
    image->setValue(3, 4, 5, 2);
    image->setValue(10, 15, 2, 9);
    image->setValue(17, 8, 11, 2);
    const auto bounds = LabelStatistics::computeBounds(SharedImage(std::move(image)));
    ASSERT_TRUE(bounds);
    ASSERT_EQ(bounds->size(), 2u);
    Geometry::AlignedBox merged;
    for (const auto& [label, box] : *bounds)
        merged.addBox(box);
    EXPECT_EQ(merged, Geometry::AlignedBox({3, 4, 2}, {17, 15, 11}));
    EXPECT_EQ(bounds->at(9), Geometry::AlignedBox({10, 15, 2}, {10, 15, 2}));
}

TEST(LabelStatistics, EmptyAndUnsupportedImages) {
    const auto none = LabelStatistics::computeBounds(SharedImage(TypedImage<int>::zeros({4, 4, 4})));
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());

    LogCapture log;
    EXPECT_FALSE(LabelStatistics::computeBounds(SharedImage(TypedImage<float>::zeros({4, 4, 4}))));
    EXPECT_FALSE(LabelStatistics::computeBounds(SharedImage(TypedImage<unsigned char>::zeros({4, 4, 4}, 2))));
    EXPECT_EQ(log.errors().size(), 2u);
}
