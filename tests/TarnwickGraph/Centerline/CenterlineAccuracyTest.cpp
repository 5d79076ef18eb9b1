// Accuracy of the whole extraction on synthetic vessel trees with known centerlines and radii.
#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include "../CenterlineScore.h"
#include "VesselPhantom.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Tarnwick {
namespace {

struct Extraction {
    std::unique_ptr<Graph> graph;
    Tarnwick::Test::CenterlineScore score;
};

Test::TrueCenterlines truthOf(const VesselPhantom& phantom) {
    const VesselPhantom::Centerlines lines = phantom.truth();
    return {lines.points, lines.edges, lines.diameters};
}

Extraction extract(const VesselPhantom::Options& options, bool removeCycles = false) {
    const VesselPhantom phantom(options);
    SharedImageSet set(phantom.mask());
    CenterlineGraphExtractionAlgorithm algorithm(set);
    algorithm.removeCycles = removeCycles;
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    Extraction result;
    result.graph = algorithm.takeOutput().extractFirst<Graph>();
    if (!result.graph) {
        ADD_FAILURE() << "no graph";
        return result;
    }
    ComputeCommonGraphFeaturesAlgorithm diameters(*result.graph, &set);
    diameters.mode = ComputeCommonGraphFeaturesAlgorithm::VesselDiameter;
    diameters.compute();
    EXPECT_EQ(diameters.status(), Algorithm::Success);
    const Eigen::Vector3d spacing = phantom.descriptor().spacing;
    const double voxel = options.twoD ? spacing.head<2>().maxCoeff() : spacing.maxCoeff();
    result.score = Tarnwick::Test::scoreCenterlines(*result.graph, truthOf(phantom), voxel);
    return result;
}

VesselPhantom::Options phantom(int size, Eigen::Vector3d spacing, std::uint32_t seed) {
    VesselPhantom::Options options;
    options.size = size;
    options.spacing = spacing;
    options.seed = seed;
    options.maxRadiusVoxels = 4.5;
    return options;
}

struct Case {
    const char* name;
    VesselPhantom::Options options;
};

class CenterlineAccuracy : public testing::TestWithParam<Case> {};

TEST_P(CenterlineAccuracy, MatchesTheTrueCenterlinesJunctionsEndsAndDiameters) {
    const Extraction result = extract(GetParam().options);
    const Tarnwick::Test::CenterlineScore& score = result.score;
    SCOPED_TRACE(score.describe());
    ASSERT_GE(score.trueBranchPoints, 3);
    EXPECT_GE(score.precision, 0.97);
    EXPECT_GE(score.recall, 0.97);
    EXPECT_GE(score.branchF1, 0.95);
    // At most one spurious terminal branch per 20 true endpoints (rounded up).
    EXPECT_LE(score.spuriousTerminalBranches * 20, std::max(20, score.trueEndpoints));
    ASSERT_GE(score.medianDiameterError, 0.0);
    EXPECT_LE(score.medianDiameterError, 0.10);
    EXPECT_EQ(score.extractedCycles, score.trueCycles);
}

VesselPhantom::Options withFlags(VesselPhantom::Options options, bool oblique, bool loops, double noise, bool holes,
                                 bool twoD) {
    options.oblique = oblique;
    options.loops = loops;
    options.noise = noise;
    options.holes = holes;
    options.twoD = twoD;
    return options;
}

INSTANTIATE_TEST_SUITE_P(
    Phantoms, CenterlineAccuracy,
    testing::Values(Case{"Isotropic", phantom(80, {1, 1, 1}, 1)}, Case{"Anisotropic", phantom(72, {0.6, 0.6, 1.2}, 2)},
                    Case{"Oblique", withFlags(phantom(80, {0.5, 0.7, 0.6}, 3), true, false, 0.0, false, false)},
                    Case{"TwoD", withFlags(phantom(192, {1, 1, 1}, 4), false, false, 0.0, false, true)},
                    Case{"Loops", withFlags(phantom(88, {1, 1, 1}, 5), false, true, 0.0, false, false)},
                    Case{"NoisyWithHoles", withFlags(phantom(80, {1, 1, 1}, 6), false, false, 0.15, true, false)}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

TEST(CenterlineAccuracyCycles, TrueCyclesAreKeptUnlessRemovedWhichLeavesAForest) {
    const VesselPhantom::Options options = withFlags(phantom(88, {1, 1, 1}, 5), false, true, 0.0, false, false);
    ASSERT_GT(VesselPhantom(options).loopCount(), 0);
    const Extraction kept = extract(options);
    EXPECT_GE(kept.score.extractedCycles, VesselPhantom(options).loopCount());
    const Extraction forest = extract(options, true);
    EXPECT_TRUE(GraphUtils::isAcyclic(*forest.graph));
    EXPECT_GE(forest.score.recall, 0.9);
}

TEST(CenterlineAccuracyRotation, RotatingThePlacementBarelyChangesTheBranchPoints) {
    VesselPhantom::Options options = phantom(80, {1, 1, 1}, 7);
    const Extraction straight = extract(options);
    options.oblique = true;
    const Extraction rotated = extract(options);
    const int a = straight.score.foundBranchPoints, b = rotated.score.foundBranchPoints;
    ASSERT_GT(a, 0);
    EXPECT_LE(std::abs(a - b), std::max(1.0, 0.02 * a));
}

} // namespace
} // namespace Tarnwick
