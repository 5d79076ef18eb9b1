#include "support/LogCapture.h"

#include <TarnwickLib/ImageAlgorithms/LabelStatistics.h>

#include <gtest/gtest.h>

#include <map>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

// Label 7 at two voxels and a second label (negative where the type allows) at one: the boxes are
// the voxel index bounds of each label.
template <typename T>
void expectBoxesOfTwoLabels() {
    SCOPED_TRACE(pixelTypeName(pixelTypeOf<T>()));
    auto image = TypedImage<T>::zeros({6, 5, 4});
    const auto other = static_cast<T>(std::is_signed_v<T> ? -3 : 200);
    image->setValue(1, 2, 3, T(7));
    image->setValue(4, 0, 1, T(7));
    image->setValue(5, 4, 0, other);
    const auto bounds = LabelStatistics::computeBounds(SharedImage(std::move(image)));
    ASSERT_TRUE(bounds);
    EXPECT_EQ(*bounds, (std::map<std::int64_t, Geometry::AlignedBox>{
                           {7, Geometry::AlignedBox({1, 0, 1}, {4, 2, 3})},
                           {static_cast<std::int64_t>(other), Geometry::AlignedBox({5, 4, 0}, {5, 4, 0})}}));
}

} // namespace

TEST(LabelStatistics, BoundsOfEveryLabelForEveryIntegerType) {
    expectBoxesOfTwoLabels<unsigned char>();
    expectBoxesOfTwoLabels<char>();
    expectBoxesOfTwoLabels<short>();
    expectBoxesOfTwoLabels<unsigned short>();
    expectBoxesOfTwoLabels<int>();
    expectBoxesOfTwoLabels<unsigned int>();
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
