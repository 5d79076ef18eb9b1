#include <TarnwickLib/ImageOps/Morphology.h>

#include "support/LogCapture.h"
#include "support/MaskVolume.h"

#include <gtest/gtest.h>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;
using Support::MaskVolume;

// Brute force with an explicit ball of offsets; outside the volume is background.
MaskVolume bruteBall(const MaskVolume& m, int radius, bool dilate) {
    const bool flat = m.dims.z() == 1;
    std::vector<Eigen::Vector3i> ball;
    for (int dz = flat ? 0 : -radius; dz <= (flat ? 0 : radius); ++dz)
        for (int dy = -radius; dy <= radius; ++dy)
            for (int dx = -radius; dx <= radius; ++dx)
                if (dx * dx + dy * dy + dz * dz <= radius * radius)
                    ball.emplace_back(dx, dy, dz);
    MaskVolume out(m.dims);
    for (int z = 0; z < m.dims.z(); ++z)
        for (int y = 0; y < m.dims.y(); ++y)
            for (int x = 0; x < m.dims.x(); ++x) {
                // Dilation: is any voxel of the ball foreground? Erosion: is every voxel foreground?
                bool found = false;
                for (const Eigen::Vector3i& o : ball) {
                    if ((m.at(x + o.x(), y + o.y(), z + o.z()) != 0) == dilate) {
                        found = true;
                        break;
                    }
                }
                out.set(x, y, z, dilate ? found : !found);
            }
    return out;
}

MaskVolume bruteMorphology(const MaskVolume& m, MorphologyOperation operation, int radius) {
    switch (operation) {
    case MorphologyOperation::Dilation:
        return bruteBall(m, radius, true);
    case MorphologyOperation::Erosion:
        return bruteBall(m, radius, false);
    case MorphologyOperation::Opening:
        return bruteBall(bruteBall(m, radius, false), radius, true);
    case MorphologyOperation::Closing:
        return bruteBall(bruteBall(m, radius, true), radius, false);
    }
    return {};
}

class MorphologyOperationTest : public ::testing::TestWithParam<MorphologyOperation> {};

TEST_P(MorphologyOperationTest, EqualsABruteForceBallIn2DAnd3D) {
    std::mt19937 random(static_cast<unsigned>(GetParam()) + 40);
    std::uniform_int_distribution<int> size(1, 13);
    for (int i = 0; i < 40; ++i) {
        const bool flat = i % 3 == 0;
        const Eigen::Vector3i dims(size(random), size(random), flat ? 1 : size(random));
        const MaskVolume mask = Support::randomBlobs(dims, 0.15 + 0.1 * (i % 7), i % 2, random);
        const int radius = i % 5;
        MaskVolume result(dims);
        ASSERT_TRUE(morphology(mask.voxels.data(), dims, {GetParam(), radius}, result.voxels.data()));
        ASSERT_EQ(result.voxels, bruteMorphology(mask, GetParam(), radius).voxels)
            << "volume " << i << " " << dims.transpose() << " radius " << radius;
    }
}

TEST(MorphologyTest, LargeRadiiUseTheSameBall) {
    // Radii above 15 take the float working volume; 15 is the largest byte one. Opening and closing are
    // compositions of these two and are covered at small radii.
    std::mt19937 random(80);
    for (const MorphologyOperation operation : {MorphologyOperation::Dilation, MorphologyOperation::Erosion}) {
        for (int radius : {15, 16, 17}) {
            const MaskVolume mask = Support::randomBlobs({34, 31, radius == 17 ? 1 : 22}, 0.45, 2, random);
            MaskVolume result(mask.dims);
            ASSERT_TRUE(morphology(mask.voxels.data(), mask.dims, {operation, radius}, result.voxels.data()));
            EXPECT_EQ(result.voxels, bruteMorphology(mask, operation, radius).voxels) << "radius " << radius;
        }
    }
}

TEST_P(MorphologyOperationTest, InPlaceEqualsOutOfPlace) {
    std::mt19937 random(1);
    MaskVolume mask = Support::randomBlobs({20, 18, 16}, 0.4, 1, random);
    for (auto& v : mask.voxels)
        v *= 200; // any non-zero value is foreground
    MaskVolume separate(mask.dims);
    ASSERT_TRUE(morphology(mask.voxels.data(), mask.dims, {GetParam(), 2}, separate.voxels.data()));
    ASSERT_TRUE(morphology(mask.voxels.data(), mask.dims, {GetParam(), 2}, mask.voxels.data()));
    EXPECT_EQ(mask.voxels, separate.voxels);
}

std::string operationName(const ::testing::TestParamInfo<MorphologyOperation>& info) {
    static const char* const names[] = {"Dilation", "Erosion", "Opening", "Closing"};
    return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Operations, MorphologyOperationTest,
                         ::testing::Values(MorphologyOperation::Dilation, MorphologyOperation::Erosion,
                                           MorphologyOperation::Opening, MorphologyOperation::Closing),
                         operationName);

TEST(MorphologyTest, SizeZeroOnlyBinarizesAndBadInputIsReported) {
    std::vector<std::uint8_t> mask = {0, 7, 255, 0, 1, 0, 0, 9};
    std::vector<std::uint8_t> result(8, 42);
    ASSERT_TRUE(morphology(mask.data(), {2, 2, 2}, {MorphologyOperation::Erosion, 0}, result.data()));
    EXPECT_EQ(result, (std::vector<std::uint8_t>{0, 1, 1, 0, 1, 0, 0, 1}));

    Support::LogCapture log;
    EXPECT_FALSE(morphology(mask.data(), {2, 2, 2}, {MorphologyOperation::Dilation, -1}, result.data()));
    EXPECT_TRUE(log.contains("morphology: the operation size must not be negative (got -1)"));
    EXPECT_FALSE(morphology(nullptr, {2, 2, 2}, {}, result.data()));
    EXPECT_FALSE(morphology(mask.data(), {2, 2, 0}, {}, result.data()));
    EXPECT_EQ(log.errors().size(), 3u);
    EXPECT_EQ(morphology(*TypedImage<unsigned char>::zeros({2, 2, 2}, 2), {}), nullptr);
}

TEST(MorphologyTest, TypedImageKeepsItsDescriptor) {
    auto mask = TypedImage<unsigned char>::zeros({9, 9, 9});
    mask->setSpacing({0.3, 0.3, 1.2});
    mask->setValue(4, 4, 4, 1);
    const auto dilated = morphology(*mask, {MorphologyOperation::Dilation, 1});
    ASSERT_NE(dilated, nullptr);
    EXPECT_EQ(dilated->descriptor(), mask->descriptor());
    EXPECT_EQ(dilated->value(4, 4, 5), 1); // the kernel is in voxels despite the anisotropic spacing
    EXPECT_EQ(dilated->value(4, 5, 5), 0);
}

} // namespace
} // namespace Tarnwick::ImageOps
