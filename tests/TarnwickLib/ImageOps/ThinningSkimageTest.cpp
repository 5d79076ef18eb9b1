#include <TarnwickLib/ImageOps/Thinning.h>

#include "support/SkimageReference.h"

#include "VesselMaskGenerator.h"

#include <gtest/gtest.h>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;

TEST(ThinningSkimageTest, EqualsTheEstablishedImplementationVoxelForVoxel) {
    if (!Support::skimageAvailable())
        GTEST_SKIP() << "/usr/bin/python3 cannot import scikit-image";
    std::vector<Support::MaskVolume> masks;
    for (unsigned seed : {3u, 8u}) {
        Bench::VesselMaskOptions options;
        options.dims = {56, 48, 40};
        options.seed = seed;
        options.maxRadius = 6.0;
        Support::MaskVolume vessels(options.dims);
        vessels.voxels = Bench::generateVesselMask(options);
        masks.push_back(vessels);
    }
    std::mt19937 random(4);
    masks.push_back(Support::randomBlobs({24, 20, 16}, 0.55, 1, random));
    masks.push_back(Support::randomBlobs({70, 50, 1}, 0.5, 1, random));

    const auto expected = Support::skimageSkeletons(masks);
    ASSERT_TRUE(expected.has_value()) << "running skeletonize_reference.py failed";
    for (std::size_t i = 0; i < masks.size(); ++i) {
        Support::MaskVolume skeleton(masks[i].dims);
        ASSERT_TRUE(thin(masks[i].voxels.data(), masks[i].dims, skeleton.voxels.data()));
        EXPECT_GT(skeleton.count(), 0u);
        EXPECT_EQ(skeleton.voxels, (*expected)[i].voxels) << "mask " << i;
    }
}

} // namespace
} // namespace Tarnwick::ImageOps
