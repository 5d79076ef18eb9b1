#include "../GraphInvariants.h"
#include "PolylineGraph.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickGraph/Algorithms/CombineGraphsAlgorithm.h>
#include <TarnwickLib/Data/Mesh.h>

#include <gtest/gtest.h>

#include <memory>

namespace Tarnwick {
namespace {

using Test::addPolyline;
using Test::graphIsConsistent;
using Test::LogCapture;
using Test::obliquePlacement;

std::unique_ptr<Graph> chain(std::size_t nodes, double x0, Graph::Type type = Graph::Undirected,
                             Graph::Dimension dimension = Graph::Dim3D) {
    auto graph = std::make_unique<Graph>(type, dimension);
    std::vector<Eigen::Vector3d> points;
    for (std::size_t i = 0; i < nodes; ++i)
        points.emplace_back(x0 + static_cast<double>(i), 0.0, 0.0);
    addPolyline(*graph, points);
    return graph;
}

std::vector<Eigen::Vector3d> positions(const Graph& graph) {
    std::vector<Eigen::Vector3d> result;
    graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { result.push_back(node.position); });
    return result;
}

TEST(CombineGraphsTest, NodesGetFreshIdsInInputOrder) {
    auto first = chain(3, 0);
    auto second = chain(2, 10);
    first->removeNode(1); // ids 2, 3 remain
    first->addNode(Graph::NodeInfo(Eigen::Vector3d(-1, 0, 0), {}));
    first->addEdge(4, 2, {{3.0}});
    CombineGraphsAlgorithm algorithm({first.get(), second.get()});
    EXPECT_EQ(algorithm.combined(), nullptr);
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    const Graph* combined = algorithm.combined();
    ASSERT_NE(combined, nullptr);
    EXPECT_TRUE(graphIsConsistent(*combined));
    EXPECT_EQ(combined->type(), Graph::Undirected);
    EXPECT_EQ(combined->numNodes(), 5u);
    EXPECT_EQ(combined->numEdges(), first->numEdges() + second->numEdges());
    EXPECT_EQ(positions(*combined),
              (std::vector<Eigen::Vector3d>{{1, 0, 0}, {2, 0, 0}, {-1, 0, 0}, {10, 0, 0}, {11, 0, 0}}));
    EXPECT_EQ(combined->edge(1, 3)->features, std::vector<double>{3.0});
    EXPECT_TRUE(combined->edge(4, 5).has_value());
    EXPECT_EQ(first->numNodes(), 3u) << "inputs are not changed";

    OwningDataList output = algorithm.takeOutput();
    EXPECT_EQ(output.size(), 1u);
    EXPECT_EQ(algorithm.combined(), nullptr);
}

TEST(CombineGraphsTest, PositionsAreMappedToWorldAndFeaturesKeepTheirColumns) {
    auto a = chain(2, 0);
    auto b = chain(1, 0);
    for (Graph* graph : {a.get(), b.get()}) {
        graph->getOrCreateNodeFeatureIdx("radius", 1.5);
        graph->getOrCreateEdgeFeatureIdx("length", 2.5);
    }
    const Eigen::Matrix4d placement = obliquePlacement();
    b->setMatrixToWorld(placement);
    Properties attributes;
    attributes.setParam("tag", 7);
    b->editNode(1, [&](Graph::NodeInfo& node) {
        node.position = Eigen::Vector3d(1, 2, 3);
        node.features = {4.0};
        node.attributes = attributes;
    });

    CombineGraphsAlgorithm algorithm({a.get(), b.get()});
    algorithm.compute();
    const Graph* combined = algorithm.combined();
    ASSERT_NE(combined, nullptr);
    EXPECT_EQ(combined->nodeFeatureDescriptors(), a->nodeFeatureDescriptors());
    EXPECT_EQ(combined->edgeFeatureDescriptors(), a->edgeFeatureDescriptors());
    EXPECT_EQ(combined->matrixToWorld(), Eigen::Matrix4d::Identity());
    EXPECT_EQ(combined->edge(1, 2)->features, (std::vector<double>{0.0, 2.5}));
    std::vector<Graph::NodeInfo> nodes;
    combined->forEachNode([&](unsigned long, const Graph::NodeInfo& node) { nodes.push_back(node); });
    ASSERT_EQ(nodes.size(), 3u);
    const Eigen::Vector3d expected =
        placement.topLeftCorner<3, 3>() * Eigen::Vector3d(1, 2, 3) + placement.topRightCorner<3, 1>();
    EXPECT_TRUE(nodes[2].position.isApprox(expected, 1e-12)) << nodes[2].position.transpose();
    EXPECT_EQ(nodes[2].features, std::vector<double>{4.0});
    EXPECT_EQ(nodes[2].attributes, attributes);
}

TEST(CombineGraphsTest, RejectedInputsLogTheReasonAndLeaveNoOutput) {
    auto graph3D = chain(2, 0);
    auto graph2D = chain(2, 0, Graph::Undirected, Graph::Dim2D);
    auto otherFeatures = chain(2, 0);
    otherFeatures->getOrCreateEdgeFeatureIdx("length", 0.0);
    auto renamed = chain(2, 0);
    renamed->getOrCreateNodeFeatureIdx("radius", 0.0);

    struct Case {
        std::vector<Graph*> graphs;
        int status;
        std::vector<std::string> errors;
    };
    const std::vector<Case> cases{
        {{}, Algorithm::IncompleteInput, {}},
        {{graph3D.get(), nullptr}, Algorithm::Error, {"Invalid input. Graphs must be non-empty."}},
        {{graph3D.get(), graph2D.get()}, Algorithm::InvalidInput, {"Cannot combine graphs of different dimensions"}},
        {{graph3D.get(), otherFeatures.get()},
         Algorithm::Error,
         {"Cannot combine graphs due to incompatible features"}},
        {{renamed.get(), graph3D.get()}, Algorithm::Error, {"Cannot combine graphs due to incompatible features"}},
    };
    for (const Case& c : cases) {
        LogCapture log;
        CombineGraphsAlgorithm algorithm(c.graphs);
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), c.status) << c.graphs.size();
        EXPECT_EQ(log.errors(), c.errors);
        EXPECT_TRUE(algorithm.output().empty());
        EXPECT_EQ(algorithm.combined(), nullptr);
    }
}

} // namespace
} // namespace Tarnwick
