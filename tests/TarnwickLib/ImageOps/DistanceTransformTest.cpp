#include <TarnwickLib/ImageOps/DistanceTransform.h>

#include "support/LogCapture.h"
#include "support/MaskVolume.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;
using Support::MaskVolume;

constexpr float kInf = std::numeric_limits<float>::infinity();

// Distance from voxel (x, y, z) to the nearest voxel of class `foreground`, by trying every voxel.
float bruteDistance(const MaskVolume& m, int x, int y, int z, bool foreground, const Eigen::Vector3d& spacing) {
    double best = kInf;
    for (int k = 0; k < m.dims.z(); ++k)
        for (int j = 0; j < m.dims.y(); ++j)
            for (int i = 0; i < m.dims.x(); ++i)
                if ((m.at(i, j, k) != 0) == foreground)
                    best = std::min(
                        best,
                        Eigen::Vector3d((i - x) * spacing.x(), (j - y) * spacing.y(), (k - z) * spacing.z()).norm());
    return static_cast<float>(best);
}

std::vector<float> bruteTransform(const MaskVolume& m, const Eigen::Vector3d& spacing,
                                  const DistanceTransformOptions& o) {
    const Eigen::Vector3d s = o.useSpacing ? spacing : Eigen::Vector3d::Ones();
    std::vector<float> result(m.voxels.size());
    for (int z = 0; z < m.dims.z(); ++z)
        for (int y = 0; y < m.dims.y(); ++y)
            for (int x = 0; x < m.dims.x(); ++x) {
                const bool fg = m.at(x, y, z) != 0;
                const float toOther = bruteDistance(m, x, y, z, !fg, s);
                const bool measured = fg == o.insideDistance;
                result[m.index(x, y, z)] = measured ? toOther : (o.signedDistance ? -toOther : 0.0f);
            }
    return result;
}

void expectNear(const std::vector<float>& actual, const std::vector<float>& expected, const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::isinf(expected[i]))
            ASSERT_EQ(actual[i], expected[i]) << what << " voxel " << i;
        else
            ASSERT_NEAR(actual[i], expected[i], 1e-4f * (1.0f + std::abs(expected[i]))) << what << " voxel " << i;
    }
}

class DistanceTransformFlagsTest : public ::testing::TestWithParam<int> {
protected:
    DistanceTransformOptions options() const {
        DistanceTransformOptions o;
        o.useSpacing = GetParam() & 1;
        o.insideDistance = GetParam() & 2;
        o.signedDistance = GetParam() & 4;
        return o;
    }
};

TEST_P(DistanceTransformFlagsTest, EqualsBruteForceOnAnisotropicVolumes) {
    std::mt19937 random(GetParam() + 100);
    std::uniform_int_distribution<int> size(1, 11);
    std::uniform_real_distribution<double> step(0.3, 2.5);
    for (int i = 0; i < 40; ++i) {
        const bool flat = i % 4 == 0;
        const Eigen::Vector3i dims(size(random), size(random), flat ? 1 : size(random));
        const MaskVolume mask = Support::randomBlobs(dims, 0.05 + 0.9 * (i % 10) / 9.0, i % 2, random);
        const Eigen::Vector3d spacing(step(random), step(random), step(random));
        std::vector<float> distances(mask.voxels.size());
        ASSERT_TRUE(distanceTransform(mask.voxels.data(), dims, spacing, options(), distances.data()));
        expectNear(distances, bruteTransform(mask, spacing, options()), "volume " + std::to_string(i));
    }
}

INSTANTIATE_TEST_SUITE_P(AllFlags, DistanceTransformFlagsTest, ::testing::Range(0, 8), [](const auto& info) {
    return std::string(info.param & 1 ? "Millimetres" : "Voxels") + (info.param & 2 ? "Inside" : "Outside") +
           (info.param & 4 ? "Signed" : "");
});

TEST(DistanceTransformTest, TypedImageUsesItsSpacing) {
    auto mask = TypedImage<unsigned char>::zeros({5, 5, 5});
    mask->setSpacing({2.0, 1.0, 3.0});
    for (int z = 0; z < 5; ++z)
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 5; ++x)
                mask->setValue(x, y, z, x > 0 ? 1 : 0);
    const auto distances = distanceTransform(*mask, {});
    ASSERT_NE(distances, nullptr);
    EXPECT_EQ(distances->spacing(), mask->spacing());
    EXPECT_FLOAT_EQ(distances->value(3, 2, 2), 6.0f);
    EXPECT_FLOAT_EQ(distances->value(0, 2, 2), 0.0f);
}

TEST(DistanceTransformTest, InvalidInputIsReported) {
    Support::LogCapture log;
    std::vector<std::uint8_t> mask(8, 1);
    std::vector<float> out(8);
    EXPECT_FALSE(distanceTransform(mask.data(), {2, 2, 2}, {1.0, 0.0, 1.0}, {}, out.data()));
    EXPECT_TRUE(log.contains("distanceTransform: invalid spacing 1x0x1 (every component must be finite and positive)"));
    DistanceTransformOptions voxels;
    voxels.useSpacing = false; // the spacing is not used, so it is not checked either
    EXPECT_TRUE(distanceTransform(mask.data(), {2, 2, 2}, {1.0, 0.0, 1.0}, voxels, out.data()));
    EXPECT_FALSE(distanceTransform(mask.data(), {2, 2, 2}, {1, 1, 1}, {}, nullptr));
    EXPECT_FALSE(distanceTransform(mask.data(), {-1, 2, 2}, {1, 1, 1}, {}, out.data()));
    // A row this long would overflow the row scans; it is refused before any voxel is read.
    EXPECT_FALSE(distanceTransform(mask.data(), {1 << 30, 1, 1}, {1, 1, 1}, {}, out.data()));
    EXPECT_TRUE(log.contains(
        "distanceTransform: dimensions 1073741824x1x1 exceed the limit of 1073741823 voxels along an axis"));
    EXPECT_EQ(log.errors().size(), 4u);
    EXPECT_EQ(distanceTransform(*TypedImage<unsigned char>::zeros({2, 2, 2}, 3), {}), nullptr);
    EXPECT_TRUE(log.contains("distanceTransform: expected a single-channel mask, got 3 channels"));
}

} // namespace
} // namespace Tarnwick::ImageOps
