// Accuracy of the main job (extraction, pruning, smoothing, measuring with the extract command's
// defaults) on synthetic vessel trees with known centerlines and radii.
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Plugin/PluginBase.h>

#include "../CenterlineScore.h"
#include "ExtractionPipeline.h"
#include "VesselPhantom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>

extern "C" Tarnwick::PluginBase* tarnwickCreatePlugin();

namespace Tarnwick {
namespace {

/// Registers the graph plug-in's algorithms in the catalogue for the whole test program.
class GraphPluginEnvironment : public testing::Environment {
public:
    void SetUp() override {
        m_plugin.reset(tarnwickCreatePlugin());
        ASSERT_EQ(m_plugin->init(), 0);
    }
    void TearDown() override { m_plugin.reset(); }

private:
    std::unique_ptr<PluginBase> m_plugin;
};
const testing::Environment* const environment = testing::AddGlobalTestEnvironment(new GraphPluginEnvironment);

struct Extraction {
    std::unique_ptr<Graph> graph;
    Test::CenterlineScore score;
};

Extraction extract(const VesselPhantom::Options& options, bool removeCycles = false) {
    const VesselPhantom phantom(options);
    SharedImageSet set(phantom.mask());
    Cli::ExtractionSettings settings;
    settings.removeCycles = removeCycles;
    Progress progress;
    Extraction result;
    result.graph.reset(dynamic_cast<Graph*>(Cli::extractCenterlines(set, settings, progress).release()));
    if (!result.graph) {
        ADD_FAILURE() << "no graph";
        return result;
    }
    const VesselPhantom::Centerlines truth = phantom.truth();
    const Eigen::Vector3d spacing = phantom.descriptor().spacing;
    const double voxel = options.twoD ? spacing.head<2>().maxCoeff() : spacing.maxCoeff();
    result.score = Test::scoreCenterlines(*result.graph, {truth.points, truth.edges, truth.diameters}, voxel);
    return result;
}

VesselPhantom::Options phantom(int size, Eigen::Vector3d spacing, std::uint32_t seed) {
    VesselPhantom::Options options;
    options.size = size;
    options.spacing = spacing;
    options.seed = seed;
    options.maxRadiusVoxels = 5;
    return options;
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

struct Case {
    const char* name;
    VesselPhantom::Options options;
};

class CenterlineAccuracy : public testing::TestWithParam<Case> {};

TEST_P(CenterlineAccuracy, MatchesTheTrueCenterlinesJunctionsEndsAndCycles) {
    const Extraction result = extract(GetParam().options);
    const Tarnwick::Test::CenterlineScore& score = result.score;
    std::cout << GetParam().name << ": " << score.describe() << "\n";
    SCOPED_TRACE(score.describe());
    ASSERT_GE(score.trueBranchPoints, 4);
    EXPECT_GE(score.precision, 0.97);
    EXPECT_GE(score.recall, 0.97);
    EXPECT_GE(score.branchF1, 0.95);
    // At most one spurious terminal branch per 20 true endpoints (rounded up).
    EXPECT_LE(score.spuriousTerminalBranches * 20, std::max(20, score.trueEndpoints));
    EXPECT_EQ(score.extractedCycles, score.trueCycles);
    ASSERT_GE(score.medianDiameterError, 0.0);
    EXPECT_LE(score.medianDiameterError, 0.10);
}

const auto caseName = [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); };

#ifdef CENTERLINE_LARGE_PHANTOMS
VesselPhantom::Options large(VesselPhantom::Options options) {
    options.maxRadiusVoxels = 9;
    return options;
}

// Trees with 18 to 37 branch points in 256^3 volumes, about a second each in a release build.
INSTANTIATE_TEST_SUITE_P(
    Large, CenterlineAccuracy,
    testing::Values(Case{"Noisy", withFlags(large(phantom(256, {1, 1, 1}, 11)), false, false, 0.2, true, false)},
                    Case{"Oblique", withFlags(large(phantom(256, {1, 1, 1}, 12)), true, false, 0.0, false, false)},
                    Case{"Anisotropic", large(phantom(256, {0.8, 0.8, 1.2}, 13))}),
    caseName);

TEST(CenterlineAccuracyRotation, RotatingTheAffineOfALargeTreeKeepsItsBranchPointsWithinTwoPercent) {
    VesselPhantom::Options options = large(phantom(256, {1, 1, 1}, 12));
    const int a = extract(options).score.foundBranchPoints;
    options.oblique = true;
    const int b = extract(options).score.foundBranchPoints;
    ASSERT_GE(a, 30);
    EXPECT_LE(std::abs(a - b), 0.02 * a);
}
#else
INSTANTIATE_TEST_SUITE_P(
    Phantoms, CenterlineAccuracy,
    testing::Values(Case{"Isotropic", phantom(96, {1, 1, 1}, 1)}, Case{"Anisotropic", phantom(160, {0.6, 0.6, 1.2}, 2)},
                    Case{"Oblique", withFlags(phantom(112, {0.5, 0.7, 0.6}, 3), true, false, 0.0, false, false)},
                    Case{"TwoD", withFlags(phantom(192, {1, 1, 1}, 4), false, false, 0.0, false, true)},
                    Case{"Loops", withFlags(phantom(96, {1, 1, 1}, 5), false, true, 0.0, false, false)},
                    Case{"NoisyWithHoles", withFlags(phantom(96, {1, 1, 1}, 6), false, false, 0.15, true, false)}),
    caseName);

TEST(CenterlineAccuracyCycles, TrueCyclesAreKeptUnlessRemovedWhichLeavesAForest) {
    const VesselPhantom::Options options = withFlags(phantom(96, {1, 1, 1}, 5), false, true, 0.0, false, false);
    ASSERT_GT(VesselPhantom(options).loopCount(), 0);
    const Extraction kept = extract(options);
    EXPECT_EQ(kept.score.extractedCycles, VesselPhantom(options).loopCount());
    const Extraction forest = extract(options, true);
    ASSERT_TRUE(forest.graph);
    EXPECT_TRUE(GraphUtils::isAcyclic(*forest.graph));
    EXPECT_EQ(forest.score.extractedCycles, 0);
    // Each cycle loses the chain that closed it; nothing else moves.
    EXPECT_GE(forest.score.precision, 0.97);
}

TEST(CenterlineAccuracyRotation, RotatingTheAffineKeepsTheBranchPoints) {
    VesselPhantom::Options options = phantom(96, {1, 1, 1}, 7);
    const int a = extract(options).score.foundBranchPoints;
    options.oblique = true;
    const int b = extract(options).score.foundBranchPoints;
    ASSERT_GE(a, 4);
    EXPECT_LE(std::abs(a - b), 0.02 * a);
}
#endif

} // namespace
} // namespace Tarnwick
