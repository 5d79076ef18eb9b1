#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphFeatureCircles.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace Tarnwick {
namespace {

using Options = GraphDisplayOptions::FeatureCircleOptions;

struct Edge {
    unsigned long from, to;
    double value;
};

/// Nodes 1..n at the given positions, edges with their first feature ("diameter") set.
std::unique_ptr<Graph> graphOf(const std::vector<Eigen::Vector3d>& positions, const std::vector<Edge>& edges) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    for (const auto& p : positions)
        graph->addNode(Graph::NodeInfo(p, {}));
    for (const Edge& e : edges)
        graph->addEdge(e.from, e.to, Graph::EdgeInfo({e.value}));
    return graph;
}

Options circleOptions(const char* feature, Options::ScalingMode mode, bool chains = false) {
    Options options;
    options.featureName = std::string(feature);
    options.scalingMode = mode;
    options.simplifyLinearChains = chains;
    return options;
}

TEST(GraphFeatureCircles, OneCirclePerEdgeAroundItsMidpoint) {
    const auto graph = graphOf({{0, 0, 0}, {2, 0, 0}, {2, 0, 4}}, {{1, 2, 0.5}, {2, 3, 1.5}});
    const auto circles = GraphFeatureCircles::compute(*graph, circleOptions("diameter", Options::Raw));
    ASSERT_EQ(circles.size(), 2u);
    EXPECT_FALSE(circles.isInconsistent());
    EXPECT_EQ(circles.centers[1], Eigen::Vector3d(2, 0, 2));
    EXPECT_EQ(circles.normals[1], Eigen::Vector3d(0, 0, 1));
    EXPECT_EQ(circles.values, (std::vector<double>{0.5, 1.5}));
    EXPECT_EQ(circles.radii, (std::vector<float>{0.5f, 1.5f}));

    EXPECT_EQ(GraphFeatureCircles::compute(*graph, circleOptions("missing", Options::Raw)).size(), 0u);
    EXPECT_EQ(GraphFeatureCircles::compute(*graph, Options()).size(), 0u);
}

TEST(GraphFeatureCircles, ScalingModesAgainstTheReferenceRadius) {
    // With "diameter" the reference is half its largest value (2); without, the cube root of box volume
    // per edge (box 2 x 4 x 8 = 64 over one edge: 4).
    const auto withDiameter = graphOf({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{1, 2, 2.0}, {2, 3, 4.0}});
    auto withoutDiameter = graphOf({{0, 0, 0}, {2, 4, 8}}, {{1, 2, 0.0}});
    withoutDiameter->getOrCreateEdgeFeatureIdx("width", 5.0);
    withoutDiameter->removeEdgeFeatures(std::vector<std::string>{"diameter"});
    const auto nonPositive = graphOf({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, {{1, 2, 0.0}, {2, 3, -1.0}});

    struct Case {
        const Graph* graph;
        const char* feature;
        Options::ScalingMode mode;
        std::vector<double> radii;
    };
    const Case cases[] = {
        {withDiameter.get(), "diameter", Options::Raw, {2.0, 4.0}},
        {withDiameter.get(), "diameter", Options::RescaledMax, {1.0, 2.0}},
        {withDiameter.get(), "diameter", Options::Logarithmic, {2 * std::log1p(2.0) / std::log1p(4.0), 2.0}},
        {withoutDiameter.get(), "width", Options::RescaledMax, {4.0}},
        {withoutDiameter.get(), "width", Options::Logarithmic, {4.0}},
        {nonPositive.get(), "diameter", Options::RescaledMax, {0.0, -1.0}}, // max 0 keeps the values
        {nonPositive.get(), "diameter", Options::Logarithmic, {0.0, -1.0}},
    };
    for (const Case& c : cases) {
        const auto circles = GraphFeatureCircles::compute(*c.graph, circleOptions(c.feature, c.mode));
        ASSERT_EQ(circles.radii.size(), c.radii.size()) << c.feature << " mode " << c.mode;
        for (std::size_t i = 0; i < c.radii.size(); ++i)
            EXPECT_FLOAT_EQ(circles.radii[i], static_cast<float>(c.radii[i])) << c.feature << " mode " << c.mode;
    }
}

TEST(GraphFeatureCircles, ChainsGetOneCircleHalfwayAlongWithTheirMeanValue) {
    // A branch at node 3 (chains 1-2-3, 3-4, 3-5), a lone edge 9-10 and a closed triangle 6-7-8.
    const auto graph = graphOf(
        {{0, 0, 0},
         {1, 0, 0},
         {2, 0, 0},
         {4, 0, 0},
         {2, 3, 0},
         {0, 0, 10},
         {3, 0, 10},
         {0, 4, 10},
         {5, 5, 5},
         {5, 5, 7}},
        {{1, 2, 1.0}, {2, 3, 2.0}, {3, 4, 6.0}, {3, 5, 7.0}, {6, 7, 3.0}, {7, 8, 6.0}, {8, 6, 9.0}, {9, 10, 4.0}});
    const auto circles = GraphFeatureCircles::compute(*graph, circleOptions("diameter", Options::Raw, true));
    const std::vector<Eigen::Vector3d> centers = {{1, 0, 0}, {3, 0, 0}, {2, 1.5, 0}, {5, 5, 6}, {1.2, 2.4, 10}};
    const std::vector<Eigen::Vector3d> normals = {{1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-0.6, 0.8, 0}};
    const std::vector<double> values = {1.5, 6.0, 7.0, 4.0, 6.0};
    ASSERT_EQ(circles.size(), centers.size());
    EXPECT_FALSE(circles.isInconsistent());
    EXPECT_EQ(circles.values, values);
    for (std::size_t i = 0; i < centers.size(); ++i) {
        EXPECT_TRUE(circles.centers[i].isApprox(centers[i], 1e-12)) << i << ": " << circles.centers[i].transpose();
        EXPECT_TRUE(circles.normals[i].isApprox(normals[i], 1e-12)) << i << ": " << circles.normals[i].transpose();
    }
}

} // namespace
} // namespace Tarnwick
