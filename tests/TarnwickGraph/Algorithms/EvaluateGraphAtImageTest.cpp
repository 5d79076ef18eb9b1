#include <TarnwickGraph/Algorithms/EvaluateGraphAtImageAlgorithm.h>

#include "../GraphInvariants.h"
#include "../SyntheticGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickLib/Image/SharedImageSet.h>

#include <gtest/gtest.h>

#include <memory>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;

namespace {

/// A 10 x 4 x 4 float image, spacing (2, 1, 1), placed with a translation of (5, 0, 0); the value of
/// each voxel is its x index, or `constant` when given.
std::unique_ptr<SharedImageSet> rampImage(std::optional<float> constant = std::nullopt) {
    auto values = TypedImage<float>::create(ImageDescriptor(PixelType::Float, {10, 4, 4}, 1, {2.0, 1.0, 1.0}));
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 10; ++x)
                values->setValue(x, y, z, constant.value_or(static_cast<float>(x)));
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement(0, 3) = 5.0;
    return std::make_unique<SharedImageSet>(
        std::make_shared<SharedImage>(std::shared_ptr<MemImage>(std::move(values)), placement));
}

} // namespace

TEST(EvaluateGraphAtImage, StoresTwiceTheValueAtEachEdgeMidpoint) {
    auto graph = Tarnwick::Test::makeRandomGraph(20, 40, 5); // positions in [0, 10)^3
    graph->addNodeFeatureDescriptors({{"n", 7.0}});
    Eigen::Matrix4d placement = Eigen::Matrix4d::Identity();
    placement(0, 3) = 1.0;
    graph->setMatrixToWorld(placement);
    const auto nodesBefore = Tarnwick::Test::positions(*graph);
    auto image = rampImage();

    EvaluateGraphAtImageAlgorithm algorithm(*graph, *image);
    algorithm.edgeFeatureName = std::string("radiusTimesTwo");
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    const auto column = graph->getEdgeFeatureIdx("radiusTimesTwo");
    ASSERT_TRUE(column);
    EXPECT_EQ(graph->edgeFeatureDescriptors().size(), 2u);
    graph->forEachEdge([&](const Graph::EdgeInfo& edge, const Graph::NodeInfo& a, const Graph::NodeInfo& b) {
        const Eigen::Vector3d midpoint = (a.position + b.position) / 2.0;
        // graph -> world: +1 in x; world -> image: -5 in x; image -> pixel: / 2 + 4.5. The ramp's value
        // is the pixel x, clamped to the border voxel up to half a voxel outside (x in [-0.5, 9.5]).
        const double pixelX = (midpoint.x() + 1.0 - 5.0) / 2.0 + 4.5;
        const double pixelY = midpoint.y() + 1.5, pixelZ = midpoint.z() + 1.5;
        const bool inside =
            pixelX >= -0.5 && pixelX <= 9.5 && pixelY >= -0.5 && pixelY <= 3.5 && pixelZ >= -0.5 && pixelZ <= 3.5;
        const double expected = inside ? 2.0 * std::clamp(pixelX, 0.0, 9.0) : 0.0;
        EXPECT_NEAR(edge.features[static_cast<std::size_t>(*column)], expected, 1e-4);
    });
    EXPECT_EQ(Tarnwick::Test::positions(*graph), nodesBefore);
    EXPECT_TRUE(Tarnwick::Test::graphIsConsistent(*graph));
}

TEST(EvaluateGraphAtImage, MissingNameOrImageIsReported) {
    LogCapture log;
    auto graph = Tarnwick::Test::makeChain({{0, 0, 0}, {1, 0, 0}});
    auto image = rampImage();
    for (std::optional<std::string> name : {std::optional<std::string>{}, std::optional<std::string>{""}}) {
        log.clear();
        EvaluateGraphAtImageAlgorithm algorithm(*graph, *image);
        algorithm.edgeFeatureName = name;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::InvalidInput);
        EXPECT_EQ(log.errors(), std::vector<std::string>{"No edge feature name specified"});
    }
    SharedImageSet empty;
    EvaluateGraphAtImageAlgorithm noImage(*graph, empty);
    noImage.edgeFeatureName = std::string("value");
    noImage.compute();
    EXPECT_EQ(noImage.status(), Algorithm::InvalidInput);
    EXPECT_EQ(graph->edgeFeatureDescriptors().size(), 1u);
}
