#include <TarnwickLib/ImageOps/Thinning.h>

#include "support/LogCapture.h"
#include "support/MaskTopology.h"
#include "support/ReferenceThinning.h"

#include "VesselMaskGenerator.h"

#include <gtest/gtest.h>

#include <random>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;

using Support::MaskVolume;

MaskVolume thinned(const MaskVolume& mask) {
    MaskVolume skeleton(mask.dims);
    EXPECT_TRUE(thin(mask.voxels.data(), mask.dims, skeleton.voxels.data()));
    return skeleton;
}

// Random volumes of varied size, density and smoothness; `flat` gives 2-D images.
std::vector<MaskVolume> randomVolumes(int count, bool flat, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> size(3, flat ? 24 : 10);
    std::vector<MaskVolume> volumes;
    for (int i = 0; i < count; ++i) {
        const Eigen::Vector3i dims(size(random), size(random), flat ? 1 : size(random));
        volumes.push_back(Support::randomBlobs(dims, 0.35 + 0.05 * (i % 8), i % 3, random));
    }
    return volumes;
}

void expectSameTopology(const MaskVolume& mask, const MaskVolume& skeleton) {
    EXPECT_TRUE(Support::isSubset(skeleton, mask));
    const Support::MaskTopology before = Support::topologyOf(mask), after = Support::topologyOf(skeleton);
    EXPECT_EQ(after.foregroundComponents, before.foregroundComponents);
    EXPECT_EQ(after.cavities, before.cavities);
}

class ThinningRandomTest : public ::testing::TestWithParam<bool> {};

TEST_P(ThinningRandomTest, EqualsTheStraightforwardMethod) {
    const bool flat = GetParam();
    int nonTrivial = 0;
    for (const MaskVolume& mask : randomVolumes(120, flat, flat ? 11 : 12)) {
        const MaskVolume skeleton = thinned(mask);
        ASSERT_EQ(skeleton.voxels, Support::referenceThinning(mask).voxels)
            << "volume " << mask.dims.transpose() << " with " << mask.count() << " voxels";
        ASSERT_TRUE(Support::isSubset(skeleton, mask));
        nonTrivial += skeleton.count() > 0 && skeleton.count() < mask.count();
    }
    EXPECT_GT(nonTrivial, 60);
}

INSTANTIATE_TEST_SUITE_P(Dimensions, ThinningRandomTest, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "TwoD" : "ThreeD"; });

TEST(ThinningTest, ThickShapesKeepComponentsAndCavities) {
    // Vessel trees (one of these seeds encloses a cavity between branches).
    for (unsigned seed = 1; seed <= 4; ++seed) {
        Bench::VesselMaskOptions options;
        options.dims = {48, 40, 44};
        options.seed = seed;
        options.maxRadius = 5.0;
        MaskVolume vessels(options.dims);
        vessels.voxels = Bench::generateVesselMask(options);
        expectSameTopology(vessels, thinned(vessels));
    }
    // Three separate tubes.
    MaskVolume tubes({30, 30, 30});
    for (int k = 0; k < 3; ++k) {
        const MaskVolume tube = Support::capsule(tubes.dims, {4, 5.0 + 9 * k, 8}, {25, 5.0 + 9 * k, 20}, 2.5);
        for (std::size_t i = 0; i < tube.voxels.size(); ++i)
            tubes.voxels[i] |= tube.voxels[i];
    }
    expectSameTopology(tubes, thinned(tubes));
    // A hollow ball: the skeleton keeps a closed surface around the cavity.
    MaskVolume shell = Support::capsule({21, 21, 21}, {10, 10, 10}, {10, 10, 10}, 9.0);
    const MaskVolume hole = Support::capsule(shell.dims, {10, 10, 10}, {10, 10, 10}, 5.0);
    for (std::size_t i = 0; i < shell.voxels.size(); ++i)
        shell.voxels[i] &= !hole.voxels[i];
    ASSERT_EQ(Support::topologyOf(shell).cavities, 1);
    expectSameTopology(shell, thinned(shell));
}

TEST(ThinningTest, ObjectsTheSequentialMethodErasesAreKept) {
    // The published re-check only tests connectivity and erases a 2x2x2 cube, a 2x2 rod and a box of
    // even width completely. They are thinned again on their own and are never lost.
    for (const Eigen::Vector3i& size :
         {Eigen::Vector3i(2, 2, 2), Eigen::Vector3i(2, 2, 5), Eigen::Vector3i(4, 4, 30)}) {
        MaskVolume box(size + Eigen::Vector3i::Constant(2));
        for (int z = 1; z <= size.z(); ++z)
            for (int y = 1; y <= size.y(); ++y)
                for (int x = 1; x <= size.x(); ++x)
                    box.set(x, y, z);
        const MaskVolume skeleton = thinned(box);
        EXPECT_GE(skeleton.count(), 1u) << size.transpose();
        EXPECT_EQ(skeleton.voxels, Support::referenceThinning(box).voxels) << size.transpose();
        expectSameTopology(box, skeleton);
    }
}

TEST(ThinningTest, EmptyFullAndDegenerateVolumes) {
    EXPECT_EQ(thinned(MaskVolume({9, 8, 7})).count(), 0u);

    // A volume that is foreground everywhere: the outside is background, so it thins like a box.
    MaskVolume full({9, 8, 7});
    std::fill(full.voxels.begin(), full.voxels.end(), 1);
    const MaskVolume boxSkeleton = thinned(full);
    EXPECT_GT(boxSkeleton.count(), 0u);
    EXPECT_EQ(Support::topologyOf(boxSkeleton).foregroundComponents, 1);
    EXPECT_EQ(boxSkeleton.voxels, Support::referenceThinning(full).voxels);

    MaskVolume single({1, 1, 1});
    single.set(0, 0, 0);
    EXPECT_EQ(thinned(single).count(), 1u);

    // A volume one voxel thick in x is still three-dimensional.
    MaskVolume slab({1, 9, 9});
    std::fill(slab.voxels.begin(), slab.voxels.end(), 1);
    EXPECT_EQ(thinned(slab).voxels, Support::referenceThinning(slab).voxels);
}

TEST(ThinningTest, AnyNonZeroValueIsForegroundAndInPlaceWorks) {
    std::mt19937 random(5);
    const MaskVolume mask = Support::randomBlobs({12, 11, 10}, 0.6, 1, random);
    std::vector<std::uint8_t> values = mask.voxels;
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = values[i] ? static_cast<std::uint8_t>(1 + i % 255) : 0;
    ASSERT_TRUE(thin(values.data(), mask.dims, values.data()));
    EXPECT_EQ(values, thinned(mask).voxels);
}

TEST(ThinningTest, TypedImageKeepsSpacing) {
    auto mask = TypedImage<unsigned char>::zeros({8, 8, 8});
    mask->setSpacing({0.5, 0.5, 2.0});
    for (int x = 1; x < 7; ++x)
        mask->setValue(x, 4, 4, 1);
    const auto skeleton = thin(*mask);
    ASSERT_NE(skeleton, nullptr);
    EXPECT_EQ(skeleton->spacing(), mask->spacing());
    EXPECT_EQ(skeleton->value(3, 4, 4), 1); // a line is its own skeleton
}

TEST(ThinningTest, InvalidInputIsReported) {
    Support::LogCapture log;
    std::vector<std::uint8_t> buffer(8, 1);
    EXPECT_FALSE(thin(nullptr, {2, 2, 2}, buffer.data()));
    EXPECT_TRUE(log.contains("thin: no voxel buffer given"));
    EXPECT_FALSE(thin(buffer.data(), {2, 0, 2}, buffer.data()));
    EXPECT_TRUE(log.contains("thin: invalid dimensions 2x0x2 (every dimension must be at least 1)"));
    EXPECT_FALSE(thin(buffer.data(), {100000, 100000, 100000}, buffer.data()));
    // Within the voxel limit, but each voxel would take a padded row of 64 bits: refused before any
    // buffer is read or allocated.
    EXPECT_FALSE(thin(buffer.data(), {1, 3, 1 << 28}, buffer.data()));
    EXPECT_TRUE(log.contains("thin: a 1x3x268435456 volume is too elongated to thin"));
    EXPECT_EQ(log.errors().size(), 4u);

    auto twoChannels = TypedImage<unsigned char>::zeros({4, 4, 4}, 2);
    EXPECT_EQ(thin(*twoChannels), nullptr);
    EXPECT_TRUE(log.contains("thin: expected a single-channel mask, got 2 channels"));
}

} // namespace
} // namespace Tarnwick::ImageOps
