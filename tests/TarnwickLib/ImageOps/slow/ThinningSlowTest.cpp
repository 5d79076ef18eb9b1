#include <TarnwickLib/ImageOps/Thinning.h>

#include "support/ReferenceThinning.h"
#include "support/SkimageReference.h"

#include "VesselMaskGenerator.h"

#include <gtest/gtest.h>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;

Support::MaskVolume thinned(const Support::MaskVolume& mask) {
    Support::MaskVolume skeleton(mask.dims);
    EXPECT_TRUE(thin(mask.voxels.data(), mask.dims, skeleton.voxels.data()));
    return skeleton;
}

TEST(ThinningSlowTest, EqualsTheStraightforwardMethodOnManyVolumes) {
    std::mt19937 random(2024);
    for (int i = 0; i < 1500; ++i) {
        const bool flat = i % 3 == 0;
        std::uniform_int_distribution<int> size(2, flat ? 48 : 16);
        const Eigen::Vector3i dims(size(random), size(random), flat ? 1 : size(random));
        const Support::MaskVolume mask = Support::randomBlobs(dims, 0.3 + 0.05 * (i % 9), i % 4, random);
        ASSERT_EQ(thinned(mask).voxels, Support::referenceThinning(mask).voxels)
            << "volume " << i << " of size " << dims.transpose();
    }
}

TEST(ThinningSlowTest, EqualsTheEstablishedImplementationOnLargeMasks) {
    if (!Support::skimageAvailable())
        GTEST_SKIP() << "/usr/bin/python3 cannot import scikit-image";
    std::vector<Support::MaskVolume> masks;
    for (unsigned seed : {1u, 2u, 3u}) {
        Bench::VesselMaskOptions options;
        options.dims = Eigen::Vector3i(128, 120 + 4 * seed, 112);
        options.seed = seed;
        Support::MaskVolume vessels(options.dims);
        vessels.voxels = Bench::generateVesselMask(options);
        masks.push_back(vessels);
    }
    std::mt19937 random(9);
    masks.push_back(Support::randomBlobs({64, 64, 64}, 0.5, 2, random));
    masks.push_back(Support::randomBlobs({300, 260, 1}, 0.5, 2, random));
    const auto expected = Support::skimageSkeletons(masks);
    ASSERT_TRUE(expected.has_value()) << "running skeletonize_reference.py failed";
    for (std::size_t i = 0; i < masks.size(); ++i)
        EXPECT_EQ(thinned(masks[i]).voxels, (*expected)[i].voxels) << "mask " << i;
}

} // namespace
} // namespace Tarnwick::ImageOps
