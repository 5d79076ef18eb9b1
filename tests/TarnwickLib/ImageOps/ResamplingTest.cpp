#include <TarnwickLib/ImageOps/Resampling.h>

#include <TarnwickLib/Image/TypedImage.h>

#include "support/LogCapture.h"
#include "support/MaskVolume.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <random>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;

// A random affine map from target to source pixels: rotation, anisotropic scale and shift.
Eigen::Matrix4d randomMap(std::mt19937& random, bool flat) {
    std::uniform_real_distribution<double> angle(-0.6, 0.6), scale(0.5, 1.6), shift(-2.0, 3.0);
    const Eigen::Matrix3d rotation =
        flat ? Eigen::AngleAxisd(angle(random), Eigen::Vector3d::UnitZ()).toRotationMatrix()
             : Eigen::Matrix3d(Eigen::AngleAxisd(angle(random), Eigen::Vector3d(1, 2, 3).normalized()) *
                               Eigen::AngleAxisd(angle(random), Eigen::Vector3d::UnitY()));
    const Eigen::Matrix3d linear =
        rotation * Eigen::Vector3d(scale(random), scale(random), flat ? 1.0 : scale(random)).asDiagonal();
    Eigen::Matrix4d map = Eigen::Matrix4d::Identity();
    map.topLeftCorner<3, 3>() = linear;
    map.block<3, 1>(0, 3) = Eigen::Vector3d(shift(random), shift(random), flat ? 0.0 : shift(random));
    return map;
}

template <typename T>
std::unique_ptr<TypedImage<T>> randomImage(const Eigen::Vector3i& dims, int channels, std::mt19937& random) {
    auto image = TypedImage<T>::zeros(dims, channels);
    std::uniform_int_distribution<int> value(-100, 100);
    for (std::size_t i = 0; i < image->descriptor().numValues(); ++i)
        image->pointer()[i] = static_cast<T>(value(random) * (std::is_floating_point_v<T> ? 0.37 : 1.0));
    return image;
}

TEST(ResamplingTest, LinearAgreesWithTheImageInterpolationEverywhere) {
    std::mt19937 random(2);
    for (int i = 0; i < 12; ++i) {
        const bool flat = i % 3 == 0;
        const int channels = 1 + i % 3;
        const auto source = randomImage<double>({7 + i % 4, 6, flat ? 1 : 5}, channels, random);
        const Eigen::Vector3i targetDims(9, 8, flat ? 1 : 7);
        const Eigen::Matrix4d map = randomMap(random, flat);
        std::vector<double> target(static_cast<std::size_t>(targetDims.prod()) * channels);
        ASSERT_TRUE(resample(source->pointer(), source->dimensions(), channels, targetDims, map,
                             {Interpolation::Linear}, target.data()));
        int inside = 0;
        for (int z = 0; z < targetDims.z(); ++z)
            for (int y = 0; y < targetDims.y(); ++y)
                for (int x = 0; x < targetDims.x(); ++x)
                    for (int c = 0; c < channels; ++c) {
                        const Eigen::Vector3d p = (map * Eigen::Vector4d(x, y, z, 1)).head<3>();
                        const double expected = source->interpolatedValue(p, c);
                        const double actual = target[((z * targetDims.y() + y) * targetDims.x() + x) * channels + c];
                        ASSERT_NEAR(actual, expected, 1e-9) << "map " << i << " voxel " << x << "," << y << "," << z;
                        inside += expected != 0.0;
                    }
        EXPECT_GT(inside, 0);
    }
}

TEST(ResamplingTest, LinearMasksAreTheRoundedInterpolation) {
    // Sparse 0/1 masks large enough that most samples take the interior path and skip empty neighbourhoods.
    std::mt19937 random(12);
    for (int i = 0; i < 4; ++i) {
        const Support::MaskVolume blobs = Support::randomBlobs({30, 26, 22}, 0.42, 2, random);
        auto source = TypedImage<unsigned char>::zeros(blobs.dims);
        std::copy(blobs.voxels.begin(), blobs.voxels.end(), source->pointer());
        const Eigen::Vector3i targetDims(28, 28, 24);
        const Eigen::Matrix4d map = randomMap(random, false);
        std::vector<unsigned char> target(static_cast<std::size_t>(targetDims.prod()));
        ASSERT_TRUE(
            resample(source->pointer(), blobs.dims, 1, targetDims, map, {Interpolation::Linear}, target.data()));
        int foreground = 0;
        for (int z = 0; z < targetDims.z(); ++z)
            for (int y = 0; y < targetDims.y(); ++y)
                for (int x = 0; x < targetDims.x(); ++x) {
                    const double value = source->interpolatedValue((map * Eigen::Vector4d(x, y, z, 1)).head<3>());
                    const unsigned char actual = target[(z * targetDims.y() + y) * targetDims.x() + x];
                    ASSERT_EQ(actual, value >= 0.5 ? 1 : 0) << "map " << i << " voxel " << x << "," << y << "," << z;
                    foreground += actual;
                }
        EXPECT_GT(foreground, 100);
    }
}

TEST(ResamplingTest, NearestTakesTheClosestVoxelWithinHalfAVoxelOfTheVolume) {
    std::mt19937 random(3);
    for (int i = 0; i < 12; ++i) {
        const bool flat = i % 4 == 0;
        const auto source = randomImage<short>({6 + 3 * i, 7 + 2 * i, flat ? 1 : 5 + i}, 2, random);
        const Eigen::Vector3i targetDims(8 + 3 * i, 9 + 2 * i, flat ? 1 : 6 + i);
        const Eigen::Matrix4d map = randomMap(random, flat);
        std::vector<short> target(static_cast<std::size_t>(targetDims.prod()) * 2, 7);
        ASSERT_TRUE(resample(source->pointer(), source->dimensions(), 2, targetDims, map, {Interpolation::Nearest},
                             target.data()));
        for (int z = 0; z < targetDims.z(); ++z)
            for (int y = 0; y < targetDims.y(); ++y)
                for (int x = 0; x < targetDims.x(); ++x) {
                    const Eigen::Vector3d p = (map * Eigen::Vector4d(x, y, z, 1)).head<3>();
                    bool inside = true;
                    Eigen::Vector3i nearest;
                    for (int a = 0; a < 3; ++a) {
                        inside &= p[a] >= -0.5 && p[a] <= source->dimensions()[a] - 0.5;
                        nearest[a] =
                            std::clamp(static_cast<int>(std::floor(p[a] + 0.5)), 0, source->dimensions()[a] - 1);
                    }
                    for (int c = 0; c < 2; ++c) {
                        const short expected = inside ? source->value(nearest.x(), nearest.y(), nearest.z(), c) : 0;
                        ASSERT_EQ(target[((z * targetDims.y() + y) * targetDims.x() + x) * 2 + c], expected);
                    }
                }
    }
}

// Two voxels along x sampled at one offset: integer results round halves away from zero, and samples
// count as inside up to half a voxel beyond the outer voxel centres.
TEST(ResamplingTest, IntegerResultsRoundHalvesAwayFromZeroAndTheBorderExtendsHalfAVoxel) {
    const auto sample = [](auto values, int channels, double offset) {
        Eigen::Matrix4d shift = Eigen::Matrix4d::Identity();
        shift(0, 3) = offset;
        decltype(values) out(static_cast<std::size_t>(channels));
        EXPECT_TRUE(resample(values.data(), {2, 1, 1}, channels, {1, 1, 1}, shift, {}, out.data()));
        return out;
    };
    EXPECT_EQ(sample(std::vector<unsigned char>{0, 255}, 1, 0.5), std::vector<unsigned char>{128}); // 127.5
    EXPECT_EQ(sample(std::vector<unsigned int>{4294967000u, 4294967295u}, 1, 0.5),
              std::vector<unsigned int>{4294967148u});
    // Two voxels of two channels: -0.5 and -128.
    EXPECT_EQ(sample(std::vector<char>{-1, -128, 0, -128}, 2, 0.5), (std::vector<char>{-1, -128}));
    for (const auto& [offset, expected] : std::vector<std::pair<double, float>>{
             {0.5, 4.0f}, {-0.5, 3.0f}, {-0.51, 0.0f}, {1.5, 5.0f}, {1.51, 0.0f}, {0.25, 3.5f}})
        EXPECT_EQ(sample(std::vector<float>{3.0f, 5.0f}, 1, offset), std::vector<float>{expected}) << offset;
}

TEST(ResamplingTest, ImagesAndInvalidInput) {
    auto source = TypedImage<float>::zeros({4, 4, 4});
    source->setValue(1, 2, 3, 8.0f);
    Eigen::Matrix4d doubleStep = Eigen::Matrix4d::Identity();
    doubleStep.topLeftCorner<3, 3>() *= 2.0;
    const auto target = resample(*source, {2, 2, 2}, {2.0, 2.0, 2.0}, doubleStep, {Interpolation::Nearest});
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(target->pixelType(), PixelType::Float);
    EXPECT_EQ(target->spacing(), Eigen::Vector3d(2, 2, 2));
    EXPECT_EQ(target->maxValue(), 0.0); // (1, 2, 3) is not on the coarse grid

    Support::LogCapture log;
    Eigen::Matrix4d broken = Eigen::Matrix4d::Identity();
    broken(1, 1) = std::numeric_limits<double>::quiet_NaN();
    std::vector<float> out(64);
    EXPECT_FALSE(resample(source->pointer(), {4, 4, 4}, 1, {4, 4, 4}, broken, {}, out.data()));
    EXPECT_TRUE(log.contains("resample: the target-to-source matrix is not finite"));
    EXPECT_FALSE(resample<float>(nullptr, {4, 4, 4}, 1, {4, 4, 4}, doubleStep, {}, out.data()));
    EXPECT_FALSE(resample(source->pointer(), {4, 4, 4}, 0, {4, 4, 4}, doubleStep, {}, out.data()));
    EXPECT_EQ(resample(*source, {100000, 100000, 100000}, {1, 1, 1}, doubleStep, {}), nullptr);
    EXPECT_EQ(resample(*source, {2, 2, 2}, {1, -1, 1}, doubleStep, {}), nullptr);
    EXPECT_EQ(log.errors().size(), 5u);
}

} // namespace
} // namespace Tarnwick::ImageOps
