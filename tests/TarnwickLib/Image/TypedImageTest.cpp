#include <TarnwickLib/Image/TypedImage.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

using namespace Tarnwick;

namespace {

/// A 3x2x2 float image with value 100*z + 10*y + x, so every interpolation is a hand-checkable plane.
std::unique_ptr<TypedImage<float>> rampImage() {
    auto image = TypedImage<float>::zeros({3, 2, 2});
    for (int z = 0; z < 2; ++z)
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                image->setValue(x, y, z, static_cast<float>(100 * z + 10 * y + x));
    return image;
}

template <typename T>
class TypedImageAllTypes : public ::testing::Test {};
using AllPixelTypes = ::testing::Types<char, unsigned char, short, unsigned short, int, unsigned int, float, double>;
TYPED_TEST_SUITE(TypedImageAllTypes, AllPixelTypes);

} // namespace

TYPED_TEST(TypedImageAllTypes, ZerosCloneAndMinMax) {
    using T = TypeParam;
    auto image = TypedImage<T>::zeros({4, 3, 2}, 2);
    EXPECT_EQ(image->pixelType(), pixelTypeOf<T>());
    EXPECT_EQ(image->descriptor().byteSize(), 48 * sizeof(T));
    EXPECT_EQ(image->minMax(), std::make_pair(0.0, 0.0));

    image->setValue(3, 2, 1, T(7), 1);
    image->setValue(0, 1, 0, T(3), 0);
    EXPECT_EQ(image->pointer()[image->descriptor().index(3, 2, 1) + 1], T(7));
    EXPECT_EQ(image->minMax(), std::make_pair(0.0, 7.0));

    auto copy = image->cloneTyped();
    EXPECT_NE(copy->pointer(), image->pointer());
    image->setValue(3, 2, 1, T(1), 1);
    EXPECT_EQ(copy->value(3, 2, 1, 1), T(7));
    EXPECT_EQ(copy->value(0, 1, 0), T(3));

    // The type-erased factory makes the same type.
    std::unique_ptr<MemImage> erased = MemImage::create(image->descriptor());
    EXPECT_NE(dynamic_cast<TypedImage<T>*>(erased.get()), nullptr);
}

TEST(TypedImage, MinMaxCoversChannelsNegativesAndIgnoresNaN) {
    auto image = TypedImage<float>::zeros({2, 2, 1}, 3);
    image->setValue(1, 1, 0, -4.5f, 2);
    image->setValue(0, 1, 0, std::numeric_limits<float>::quiet_NaN(), 1);
    image->setValue(1, 0, 0, 9.25f, 0);
    EXPECT_EQ(image->minMax(), std::make_pair(-4.5, 9.25));

    auto allNaN = TypedImage<double>::zeros({1, 1, 1});
    allNaN->pointer()[0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_GT(allNaN->minValue(), allNaN->maxValue());
}

TEST(TypedImage, CreationRejectsInvalidInput) {
    std::vector<short> buffer(8);
    const ImageDescriptor shorts(PixelType::Int16, {2, 2, 2});
    EXPECT_THROW(
        TypedImage<float>::create(shorts, reinterpret_cast<float*>(buffer.data()), MemImage::Ownership::Borrow),
        std::invalid_argument);
    EXPECT_THROW(TypedImage<short>::create(shorts, nullptr, MemImage::Ownership::Borrow), std::invalid_argument);
    EXPECT_THROW(TypedImage<short>::zeros({2, 0, 2}), std::invalid_argument);
    EXPECT_THROW(TypedImage<short>::zeros({2, 2, 2}, 0), std::invalid_argument);
    // A huge shape fails before anything is allocated.
    EXPECT_THROW(TypedImage<double>::zeros({1 << 30, 1 << 30, 1 << 30}), std::invalid_argument);
    ImageDescriptor badSpacing = shorts;
    badSpacing.spacing.y() = 0;
    EXPECT_THROW(MemImage::create(badSpacing), std::invalid_argument);
    auto image = TypedImage<short>::zeros({2, 2, 2});
    EXPECT_THROW(image->setSpacing({1.0, -1.0, 1.0}), std::invalid_argument);
    EXPECT_EQ(image->spacing(), Eigen::Vector3d::Ones());
}

TEST(TypedImage, TrilinearInterpolationMatchesHandComputation) {
    auto image = rampImage();
    // On voxel centres the stored value comes back.
    EXPECT_DOUBLE_EQ(image->interpolatedValue({2, 1, 1}), 112.0);
    // Linear data is reproduced exactly inside the volume.
    EXPECT_NEAR(image->interpolatedValue({0.25, 0.5, 0.75}), 75 + 5 + 0.25, 1e-12);
    EXPECT_NEAR(image->interpolatedValue({1.5, 0.1, 0.9}), 90 + 1 + 1.5, 1e-12);

    // A non-linear corner set: only one voxel is 8, the weight there is the product of fractions.
    auto spike = TypedImage<unsigned char>::zeros({2, 2, 2});
    spike->setValue(1, 1, 1, 8);
    EXPECT_NEAR(spike->interpolatedValue({0.5, 0.25, 0.75}), 8 * 0.5 * 0.25 * 0.75, 1e-12);
}

TEST(TypedImage, OutsideValuesClampWithinHalfAVoxelAndAreZeroBeyond) {
    auto image = rampImage();
    // Within half a voxel past the border the border value is used.
    EXPECT_NEAR(image->interpolatedValue({-0.5, 0.0, 0.0}), 0.0, 1e-12);
    EXPECT_NEAR(image->interpolatedValue({2.5, 1.4, 1.5}), 112.0, 1e-12);
    EXPECT_NEAR(image->interpolatedValue({-0.3, 0.5, 1.2}), 105.0, 1e-12);
    // Beyond it the result is 0, even where the border value is large.
    EXPECT_EQ(image->interpolatedValue({2.51, 1.0, 1.0}), 0.0);
    EXPECT_EQ(image->interpolatedValue({1.0, 1.0, -0.6}), 0.0);
    EXPECT_EQ(image->interpolatedValue({std::nan(""), 1.0, 1.0}), 0.0);
}
