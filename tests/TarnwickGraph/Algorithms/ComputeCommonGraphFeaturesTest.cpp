#include "../GraphInvariants.h"
#include "PolylineGraph.h"
#include "support/LogCapture.h"
#include "support/TubeImages.h"

#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickLib/Data/Mesh.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace Tarnwick {
namespace {

using Algo = ComputeCommonGraphFeaturesAlgorithm;
using Test::addPolyline;
using Test::graphIsConsistent;
using Test::LogCapture;

/// A label image (uint8 unless told) of a tube of radius 4 along z through the centre of a 32^3 volume,
/// placed so that world coordinates equal pixel coordinates.
std::unique_ptr<SharedImageSet> tubeLabels(PixelType type = PixelType::UInt8) {
    const ImageDescriptor descriptor(type, {32, 32, 32});
    const ImageDescriptorWorld frame(descriptor, descriptor.imageToPixelMatrix());
    return std::make_unique<SharedImageSet>(Test::tubeLabelImage({{{16, 16, 1}, {16, 16, 30}, 4.0}}, frame));
}

/// Nodes along the tube's axis, with a final edge ending outside the tube (measured as 0).
std::unique_ptr<Graph> axisGraph() {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    addPolyline(*graph, {{16, 16, 8}, {16, 16, 9}, {16, 16, 10}, {16, 16, 11}, {60, 16, 11}, {61, 16, 11}});
    return graph;
}

std::vector<double> edgeValues(const Graph& graph, const std::string& feature) {
    const std::optional<int> idx = graph.getEdgeFeatureIdx(feature);
    std::vector<double> values;
    if (!idx)
        return values;
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        values.push_back(edge.features[static_cast<std::size_t>(*idx)]);
    });
    return values;
}

TEST(ComputeCommonGraphFeaturesTest, EdgeLengthsAndDegreesAreWrittenInPlace) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    addPolyline(graph, {{0, 0, 0}, {3, 4, 0}, {3, 4, 12}});
    graph.addEdge(1, 3, {});
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d(9, 9, 9), {}));
    Algo algorithm(graph, nullptr);
    algorithm.compute();
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    EXPECT_EQ(edgeValues(graph, "length"), (std::vector<double>{5, 13, 12}));
    EXPECT_EQ(graph.edgeFeatureDescriptors().size(), 2u) << "a second run overwrites \"length\"";

    algorithm.mode = Algo::Degree;
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    const int degree = *graph.getNodeFeatureIdx("degree");
    std::vector<double> degrees;
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { degrees.push_back(node.features[degree]); });
    EXPECT_EQ(degrees, (std::vector<double>{2, 2, 2, 0}));
    EXPECT_TRUE(graphIsConsistent(graph));

    Graph empty(Graph::Undirected, Graph::Dim3D);
    Algo onEmpty(empty, nullptr);
    for (Algo::Mode mode : {Algo::EdgeLength, Algo::CrossSection}) {
        onEmpty.mode = mode;
        onEmpty.compute();
        EXPECT_EQ(onEmpty.status(), Algorithm::Success);
    }
    EXPECT_TRUE(empty.getEdgeFeatureIdx("length").has_value());
    EXPECT_TRUE(empty.getEdgeFeatureIdx("crossSection").has_value());
}

TEST(ComputeCommonGraphFeaturesTest, CrossSectionsUseExistingDiametersOrMeasureThem) {
    constexpr double pi = 3.141592653589793;
    Graph graph(Graph::Undirected, Graph::Dim3D);
    addPolyline(graph, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
    graph.editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.features[0] = 2.0; });
    graph.editEdge(2, 3, [](Graph::EdgeInfo& edge) { edge.features[0] = 3.0; });
    Algo algorithm(graph, nullptr);
    algorithm.mode = Algo::CrossSection;
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    EXPECT_EQ(edgeValues(graph, "diameter"), (std::vector<double>{2, 3})) << "not measured again";
    EXPECT_EQ(edgeValues(graph, "crossSection"), (std::vector<double>{pi * 2 * 2 * 0.25, pi * 3 * 3 * 0.25}));

    // Without "diameter" the label image is needed, and the diameters are measured first.
    auto measured = axisGraph();
    measured->clearFeatureDescriptors();
    auto labels = tubeLabels();
    Algo withLabels(*measured, labels.get());
    withLabels.mode = Algo::CrossSection;
    withLabels.compute();
    EXPECT_EQ(withLabels.status(), Algorithm::Success);
    const std::vector<double> diameters = edgeValues(*measured, "diameter");
    const std::vector<double> sections = edgeValues(*measured, "crossSection");
    ASSERT_EQ(sections.size(), diameters.size());
    EXPECT_GT(diameters.front(), 6.0);
    for (std::size_t i = 0; i < sections.size(); ++i)
        EXPECT_DOUBLE_EQ(sections[i], pi * diameters[i] * diameters[i] * 0.25);
}

TEST(ComputeCommonGraphFeaturesTest, ModesNeedingLabelsFailWithoutThem) {
    for (Algo::Mode mode : {Algo::Diameter, Algo::VesselDiameter, Algo::CrossSection}) {
        auto graph = axisGraph();
        graph->clearFeatureDescriptors();
        auto emptySet = std::make_unique<SharedImageSet>();
        for (SharedImageSet* labels : {static_cast<SharedImageSet*>(nullptr), emptySet.get()}) {
            LogCapture log;
            Algo algorithm(*graph, labels);
            algorithm.mode = mode;
            algorithm.compute();
            EXPECT_EQ(algorithm.status(), Algorithm::InvalidInput) << mode;
            EXPECT_EQ(log.errors(), std::vector<std::string>{"Label not set."}) << mode;
            EXPECT_TRUE(graph->edgeFeatureDescriptors().empty()) << "graph unchanged";
        }
    }
}

TEST(ComputeCommonGraphFeaturesTest, UnsupportedLabelTypesWriteNothing) {
    auto labels = tubeLabels(PixelType::Int16);
    for (Algo::Mode mode : {Algo::Diameter, Algo::VesselDiameter}) {
        LogCapture log;
        auto graph = axisGraph();
        Algo algorithm(*graph, labels.get());
        algorithm.mode = mode;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::Success) << mode;
        EXPECT_EQ(edgeValues(*graph, "diameter"), std::vector<double>(5, 0.0));
        EXPECT_EQ(log.warnings().size(), 1u);
    }
    // Cross-sections cannot be computed without diameters.
    LogCapture log;
    auto graph = axisGraph();
    graph->clearFeatureDescriptors();
    Algo algorithm(*graph, labels.get());
    algorithm.mode = Algo::CrossSection;
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Error);
    EXPECT_EQ(log.errors().size(), 1u);
    EXPECT_TRUE(graph->edgeFeatureDescriptors().empty());
}

TEST(ComputeCommonGraphFeaturesTest, VesselModeThresholdOnlySwitchesZeroFilling) {
    // A float label of 0.75 inside: the plain method at threshold 0.8 sees only background, the vessel
    // mode always measures at 0.5.
    auto labels = tubeLabels(PixelType::Float);
    float* values = labels->img<float>()->pointer();
    for (std::size_t i = 0; i < labels->mem()->descriptor().numValues(); ++i)
        values[i] *= 0.75f;

    auto run = [&](double threshold) {
        auto graph = axisGraph();
        Algo algorithm(*graph, labels.get());
        algorithm.mode = Algo::VesselDiameter;
        algorithm.clampEdges = false;
        algorithm.slidingAverage = std::nullopt;
        algorithm.averageZeroEdges = false;
        algorithm.threshold = threshold;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::Success);
        return edgeValues(*graph, "diameter");
    };
    const std::vector<double> unfilled = run(0.0);
    ASSERT_EQ(unfilled.size(), 5u);
    EXPECT_GT(unfilled[0], 6.0);
    EXPECT_EQ(unfilled[3], 0.0) << "the edge outside the tube stays 0 with threshold 0";
    EXPECT_EQ(unfilled[4], 0.0);

    const std::vector<double> filled = run(0.8);
    EXPECT_EQ(std::vector<double>(filled.begin(), filled.begin() + 3),
              std::vector<double>(unfilled.begin(), unfilled.begin() + 3))
        << "the measurement does not depend on the threshold";
    EXPECT_GT(filled[3], 6.0);
    EXPECT_EQ(filled[4], filled[3]);
    EXPECT_EQ(run(std::numeric_limits<double>::quiet_NaN()), filled) << "NaN counts as non-zero";

    // The plain method does use the threshold.
    auto graph = axisGraph();
    Algo plain(*graph, labels.get());
    plain.threshold = 0.8;
    plain.compute();
    EXPECT_EQ(edgeValues(*graph, "diameter"), std::vector<double>(5, 0.0));
}

} // namespace
} // namespace Tarnwick
