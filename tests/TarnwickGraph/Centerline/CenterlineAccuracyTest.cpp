// Accuracy of the main job (VesselGraphExtractionAlgorithm with its defaults: extraction, pruning,
// smoothing, junction clean-up, measuring) on synthetic vessel trees with known centerlines and radii.
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickGraph/Pipelines/VesselGraphExtractionAlgorithm.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/Image/TypedImage.h>

#include "../CenterlineScore.h"
#include "VesselPhantom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <vector>

namespace Tarnwick {
namespace {

struct Extraction {
    std::unique_ptr<Graph> graph;
    Test::CenterlineScore score;
};

Extraction extract(const VesselPhantom::Options& options, bool removeCycles = false) {
    const VesselPhantom phantom(options);
    SharedImageSet set(phantom.mask());
    VesselGraphExtractionAlgorithm job(set);
    job.removeCycles = removeCycles;
    job.compute();
    Extraction result;
    result.graph = job.takeOutput().extractFirst<Graph>();
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

VesselPhantom::Options thinTree(int size, double maxRadius, double minRadius, std::uint32_t seed, int bumps = 0) {
    VesselPhantom::Options options;
    options.size = size;
    options.maxRadiusVoxels = maxRadius;
    options.minRadiusVoxels = minRadius;
    options.seed = seed;
    options.bumps = bumps;
    return options;
}

/// Diameters and recall per band of true radius, from one voxel up: median bias within 5 %, median
/// |error| within 10 %, and (bands below 2 voxels) at least 97 % of the thin vessels found.
void expectRadiusBandGoals(const std::vector<Test::CenterlineScore::RadiusBand>& bands) {
    std::cout << Test::describeBands(bands);
    int checked = 0;
    for (const Test::CenterlineScore::RadiusBand& band : bands) {
        if (band.lowVoxels < 1.0 || band.edges < 20)
            continue;
        SCOPED_TRACE(testing::Message() << "radius band from " << band.lowVoxels << " voxels");
        ++checked;
        EXPECT_LE(std::abs(band.medianBias), 0.05);
        EXPECT_LE(band.medianAbsError, 0.10);
        if (band.highVoxels <= 2.0) {
            EXPECT_GE(band.recall, 0.97);
        }
    }
    EXPECT_GE(checked, 3);
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

// A 384^3 tree with 187 bifurcations and radii from 1 to 14 voxels.
TEST(CenterlineAccuracyLargeTree, FindsTheBranchPointsAndEndsAndMeasuresEveryRadiusBand) {
    const Extraction result = extract(thinTree(384, 14, 1.0, 2));
    std::cout << result.score.describe() << "\n";
    EXPECT_GE(result.score.trueBranchPoints, 180);
    EXPECT_GE(result.score.branchF1, 0.97);
    EXPECT_LE(result.score.spuriousTerminalBranches * 20, result.score.trueEndpoints);
    expectRadiusBandGoals(result.score.bands);
}

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

// Thin trees (radii 1 to 3 voxels, their bands pooled) and a tree with ball-shaped bumps on its surfaces.
TEST(CenterlineAccuracyThinAndBumpy, MeasuresAndFindsThinVesselsAndIgnoresSurfaceBumps) {
    std::vector<Tarnwick::Test::CenterlineScore> thin;
    for (const std::uint32_t seed : {4u, 5u, 6u}) {
        thin.push_back(extract(thinTree(128, 3, 1.0, seed)).score);
        std::cout << "thin " << seed << ": " << thin.back().describe() << "\n";
        EXPECT_LE(thin.back().spuriousTerminalBranches * 20, std::max(20, thin.back().trueEndpoints));
    }
    expectRadiusBandGoals(Tarnwick::Test::poolBands(thin));
    const Extraction bumpy = extract(thinTree(128, 6, 1.5, 3, 25));
    std::cout << "bumps: " << bumpy.score.describe() << "\n";
    ASSERT_GE(bumpy.score.trueEndpoints, 10);
    EXPECT_LE(bumpy.score.spuriousTerminalBranches * 20, std::max(20, bumpy.score.trueEndpoints));
    EXPECT_GE(bumpy.score.branchF1, 0.97);
}

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

/// Every `step`-th slice of a mask, as a scan with slices `step` times thicker sees it (each voxel takes the
/// value at its centre), placed in the same world.
std::shared_ptr<SharedImage> thickSlices(const SharedImage& mask, int step) {
    const ImageDescriptor& fine = mask.descriptor();
    ImageDescriptor thick = fine;
    thick.dimensions.z() = fine.dimensions.z() / step;
    thick.spacing.z() *= step;
    const int offset = (fine.dimensions.z() - step * thick.dimensions.z() + step - 1) / 2;
    std::shared_ptr<TypedImage<unsigned char>> image(TypedImage<unsigned char>::create(thick));
    const auto* values = static_cast<const unsigned char*>(mask.mem()->data());
    const std::size_t slice = std::size_t(fine.dimensions.x()) * fine.dimensions.y();
    for (int z = 0; z < thick.dimensions.z(); ++z)
        std::copy_n(values + (std::size_t(step) * z + offset) * slice, slice, image->pointer() + z * slice);
    // Image coordinates have their origin at the volume centre: move the thick grid's centre onto the slices taken.
    Eigen::Matrix4d shift = Eigen::Matrix4d::Identity();
    shift(2, 3) =
        (offset + 0.5 * (step * (thick.dimensions.z() - 1)) - 0.5 * (fine.dimensions.z() - 1)) * fine.spacing.z();
    return std::make_shared<SharedImage>(image, mask.matrixToWorld() * shift);
}

// Thick slices (0.6 x 0.6 x 2.4 mm from a 0.6 mm tree): the working grid is upsampled to the in-plane spacing,
// where the extraction alone would work on 2.4 mm voxels and fragment and lose the thin vessels.
TEST(CenterlineAccuracyThickSlices, UpsampledWorkingGridKeepsThinVesselsConnected) {
    VesselPhantom::Options options = phantom(128, {0.6, 0.6, 0.6}, 8);
    const VesselPhantom tree(options);
    const VesselPhantom::Centerlines truth = tree.truth();
    SharedImageSet set(thickSlices(*tree.mask(), 4));
    Tarnwick::Test::CenterlineScore scores[2];
    std::size_t components[2];
    for (const bool upsample : {true, false}) {
        VesselGraphExtractionAlgorithm job(set);
        if (!upsample)
            job.workingSpacing = std::optional<double>(2.4);
        job.compute();
        ASSERT_EQ(job.status(), Algorithm::Success);
        scores[upsample] =
            Tarnwick::Test::scoreCenterlines(*job.result(), {truth.points, truth.edges, truth.diameters}, 0.6);
        components[upsample] = job.summary().components;
        std::cout << (upsample ? "upsampled: " : "2.4 mm grid: ") << scores[upsample].describe() << ", "
                  << components[upsample] << " components\n";
    }
    // Scored at the in-plane voxel (0.6 mm): the slices only sample the truth every 2.4 mm along z.
    EXPECT_EQ(components[true], 1u);
    EXPECT_GE(scores[true].recall, 0.9);
    EXPECT_GE(scores[true].precision, 0.9);
    EXPECT_LE(scores[true].meanDistance, 0.4);
    EXPECT_EQ(scores[true].foundBranchPoints, scores[true].trueBranchPoints);
    EXPECT_GT(scores[true].recall, scores[false].recall);
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
