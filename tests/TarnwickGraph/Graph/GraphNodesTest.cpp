#include "../GraphInvariants.h"
#include "GraphTestGraphs.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Tarnwick {
namespace {

using Tarnwick::Test::graphIsConsistent;
using Tarnwick::Test::makeGraph;
using Tarnwick::Test::nodeAt;

TEST(GraphConstructionTest, NewGraphIsEmptyWithDiameterAndDisplayOptions) {
    Graph graph(Graph::Directed, Graph::Dim2D);
    EXPECT_EQ(graph.type(), Graph::Directed);
    EXPECT_EQ(graph.dimension(), Graph::Dim2D);
    EXPECT_EQ(graph.name(), "Graph");
    EXPECT_EQ(graph.numNodes(), 0u);
    EXPECT_EQ(graph.numEdges(), 0u);
    EXPECT_EQ(graph.maxNodeId(), 0u);
    EXPECT_TRUE(graph.nodeFeatureDescriptors().empty());
    ASSERT_EQ(graph.edgeFeatureDescriptors().size(), 1u);
    EXPECT_EQ(graph.edgeFeatureDescriptors()[0], (Graph::FeatureDescriptor{"diameter", 0.0}));
    EXPECT_EQ(graph.kind(), 0);
    EXPECT_EQ(graph.modality(), 0);
    EXPECT_EQ(graph.matrixConvention(), 1);
    EXPECT_TRUE(graph.bounds().isEmpty());
    ASSERT_EQ(graph.components().size(), 1u);
    EXPECT_EQ(*graph.components().get<GraphDisplayOptions>(), GraphDisplayOptions());
}

TEST(GraphConstructionTest, DisplayOptionsDefaultsAndCopies) {
    GraphDisplayOptions options;
    EXPECT_TRUE(options.generalOptions.drawPoints);
    EXPECT_EQ(options.generalOptions.pointSize, 8.0);
    EXPECT_EQ(options.generalOptions.pointColor, Eigen::Vector4d(1, 0, 0, 1));
    EXPECT_TRUE(options.generalOptions.onlyDrawNontrivialNodes);
    EXPECT_EQ(options.generalOptions.lineWidth, 3.0);
    EXPECT_EQ(options.generalOptions.lineColor, Eigen::Vector4d(0, 0, 1, 1));
    EXPECT_FALSE(options.featureCircleOptions.featureName.has_value());
    EXPECT_EQ(options.featureCircleOptions.circleColor, Eigen::Vector4d(0, 1, 0, 1));
    EXPECT_EQ(options.featureCircleOptions.scalingMode, GraphDisplayOptions::FeatureCircleOptions::Raw);
    EXPECT_FALSE(options.featureColorMapOptions.edgeFeatureName.has_value());
    EXPECT_EQ(options.featureColorMapOptions.colormap, 9);

    // Each group takes part in the comparison, and the component interface copies every value.
    GraphDisplayOptions changed;
    changed.featureCircleOptions.unitSuffix = "mm";
    EXPECT_NE(changed, options);
    changed.featureCircleOptions.unitSuffix.clear();
    changed.featureColorMapOptions.nodeFeatureName = "degree";
    EXPECT_NE(changed, options);
    changed.generalOptions.showNodeIndices = true;
    auto copy = changed.clone();
    EXPECT_TRUE(copy->equals(changed));
    EXPECT_FALSE(copy->equals(options));
    options.assign(changed);
    EXPECT_EQ(options, changed);
}

TEST(GraphIdAllocationTest, IdsStartAtOneAndAreNeverReused) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 1u);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 2u);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 3u);
    graph.removeNode(3);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 4u);
    graph.addOrReplaceNode(100, nodeAt(0));
    EXPECT_EQ(graph.addNode(nodeAt(0)), 101u);
    graph.addOrReplaceNode(0, nodeAt(0)); // any id is accepted, the maximum does not drop
    EXPECT_EQ(graph.maxNodeId(), 101u);
    EXPECT_EQ(Tarnwick::Test::nodeOrder(graph), (std::vector<unsigned long>{0, 1, 2, 4, 100, 101}));
    EXPECT_TRUE(graphIsConsistent(graph));
}

TEST(GraphIdAllocationTest, MaxNodeIdOnlyGrowsAndOverflowIsAnError) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.addOrReplaceNode(50, nodeAt(0));
    graph.setMaxNodeId(20);
    EXPECT_EQ(graph.maxNodeId(), 50u);
    graph.setMaxNodeId(70);
    EXPECT_EQ(graph.addNode(nodeAt(0)), 71u);

    graph.addOrReplaceNode(std::numeric_limits<unsigned long>::max(), nodeAt(0));
    EXPECT_THROW(graph.addNode(nodeAt(0)), std::overflow_error);
    EXPECT_EQ(graph.numNodes(), 3u);
}

TEST(GraphIdAllocationTest, ReplacingANodeKeepsItsEdgesAndConformsFeatures) {
    auto graph = makeGraph(Graph::Undirected, 2, {{1, 2}}, 5.0);
    graph->getOrCreateNodeFeatureIdx("radius", 0.5);
    graph->addOrReplaceNode(2, Graph::NodeInfo(Eigen::Vector3d(7, 8, 9), {1.0, 2.0, 3.0}));
    EXPECT_EQ(graph->numNodes(), 2u);
    EXPECT_EQ(graph->numEdges(), 1u);
    EXPECT_EQ(graph->edge(2, 1)->features, std::vector<double>{5.0});
    graph->forEachNode([](unsigned long id, const Graph::NodeInfo& info) {
        if (id == 2) {
            EXPECT_EQ(info.position, Eigen::Vector3d(7, 8, 9));
            EXPECT_EQ(info.features, std::vector<double>{1.0});
        }
    });
    graph->editNode(1, [](Graph::NodeInfo& info) { info.features.clear(); });
    graph->editNode(99, [](Graph::NodeInfo&) { FAIL() << "unknown node edited"; });
    graph->forEachNode([](unsigned long id, const Graph::NodeInfo& info) {
        if (id == 1) {
            EXPECT_EQ(info.features, std::vector<double>{0.5});
        }
    });
    EXPECT_TRUE(graphIsConsistent(*graph));
}

TEST(GraphGeometryTest, BoundsAreInWorldCoordinates) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.addNode(nodeAt(1, 2, 3));
    graph.addNode(nodeAt(-1, 5, 0));
    EXPECT_EQ(graph.bounds().min(), Eigen::Vector3d(-1, 2, 0));
    EXPECT_EQ(graph.bounds().max(), Eigen::Vector3d(1, 5, 3));

    Eigen::Affine3d toWorld = Eigen::Translation3d(10, 0, 0) * Eigen::Scaling(2.0);
    graph.setMatrixToWorld(toWorld.matrix());
    EXPECT_EQ(graph.bounds().min(), Eigen::Vector3d(8, 4, 0));
    EXPECT_EQ(graph.bounds().max(), Eigen::Vector3d(12, 10, 6));
}

TEST(GraphCloneTest, CloneIsDeepAndIndependent) {
    auto graph = makeGraph(Graph::Directed, 4, {{1, 2}, {2, 1}, {3, 4}}, 2.0);
    graph->getOrCreateNodeFeatureIdx("radius", 1.5);
    graph->removeNode(4);
    graph->setName("vessels");
    graph->components().get<GraphDisplayOptions>()->generalOptions.lineWidth = 7.0;
    graph->editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.attributes.setParam("label", std::string("a")); });

    std::unique_ptr<Graph> copy = graph->clone();
    EXPECT_EQ(copy->name(), "vessels");
    EXPECT_EQ(copy->type(), Graph::Directed);
    EXPECT_EQ(copy->maxNodeId(), 4u);
    EXPECT_EQ(copy->numEdges(), 2u);
    EXPECT_EQ(copy->nodeFeatureDescriptors(), graph->nodeFeatureDescriptors());
    EXPECT_EQ(copy->edgeFeatureDescriptors(), graph->edgeFeatureDescriptors());
    EXPECT_EQ(*copy->edge(1, 2), *graph->edge(1, 2));
    EXPECT_EQ(copy->components().get<GraphDisplayOptions>()->generalOptions.lineWidth, 7.0);
    EXPECT_TRUE(graphIsConsistent(*copy));

    graph->editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.features[0] = 9.0; });
    graph->removeNode(3);
    EXPECT_EQ(copy->edge(1, 2)->features[0], 2.0);
    EXPECT_EQ(copy->numNodes(), 3u);
    EXPECT_EQ(copy->addNode(nodeAt(0)), 5u);
}

TEST(GraphTypeTest, TypeChangesOnlyWithoutEdges) {
    auto graph = makeGraph(Graph::Undirected, 2, {});
    EXPECT_TRUE(graph->setType(Graph::Directed));
    EXPECT_EQ(graph->type(), Graph::Directed);
    graph->addEdge(1, 2, {});
    Tarnwick::Test::LogCapture log;
    EXPECT_FALSE(graph->setType(Graph::Undirected));
    EXPECT_EQ(graph->type(), Graph::Directed);
    EXPECT_EQ(log.errors().size(), 1u);
}

} // namespace
} // namespace Tarnwick
