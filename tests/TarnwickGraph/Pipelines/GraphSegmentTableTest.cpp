// computeGraphSegments on hand-made graphs with known segment measures, generations and Strahler orders,
// and the CSV it writes.
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Pipelines/GraphSegmentTable.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <tuple>
#include <vector>

namespace Tarnwick {
namespace {

constexpr double pi = 3.14159265358979323846;

struct Edge {
    unsigned long a, b;
    double diameter;
};

/// Nodes by id with positions (mm); edges with "length" = distance of their ends and "diameter".
std::unique_ptr<Graph> makeGraph(const std::map<unsigned long, Eigen::Vector3d>& nodes,
                                 const std::vector<Edge>& edges) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    graph->addEdgeFeatureDescriptors({{"length", 0.0}, {"diameter", 0.0}});
    for (const auto& [id, position] : nodes)
        graph->addOrReplaceNode(id, Graph::NodeInfo(position, {}));
    const auto lengthIdx = static_cast<std::size_t>(*graph->getEdgeFeatureIdx("length"));
    const auto diameterIdx = static_cast<std::size_t>(*graph->getEdgeFeatureIdx("diameter"));
    for (const Edge& edge : edges) {
        std::vector<double> features(2);
        features[lengthIdx] = (nodes.at(edge.a) - nodes.at(edge.b)).norm();
        features[diameterIdx] = edge.diameter;
        graph->addEdge(edge.a, edge.b, Graph::EdgeInfo(features));
    }
    return graph;
}

/// Root 1 -> junction 3 -> junction 5 -> leaves 6, 7; junction 3 -> leaf 8.
std::unique_ptr<Graph> tree() {
    return makeGraph({{1, {0, 0, 0}},
                      {2, {3, 0, 0}},
                      {3, {6, 0, 0}},
                      {4, {6, 3, 0}},
                      {5, {10, 6, 0}},
                      {6, {10, 7, 0}},
                      {7, {11, 6, 0}},
                      {8, {6, -2, 0}}},
                     {{1, 2, 4.0}, {2, 3, 2.0}, {3, 4, 2.0}, {4, 5, 2.0}, {5, 6, 1.0}, {5, 7, 1.0}, {3, 8, 1.0}});
}

struct Expected {
    unsigned long start, end;
    std::size_t edges;
    double length, chord, meanDiameter, medianDiameter, minDiameter, maxDiameter, volume;
    int generation;
    std::optional<int> strahler;
};

void expectSegments(const std::vector<GraphSegment>& segments, const std::vector<Expected>& expected) {
    ASSERT_EQ(segments.size(), expected.size());
    for (const Expected& e : expected) {
        SCOPED_TRACE(::testing::Message() << "segment " << e.start << "-" << e.end);
        const auto found = std::find_if(segments.begin(), segments.end(), [&](const GraphSegment& s) {
            return s.startNode == e.start && s.endNode == e.end;
        });
        ASSERT_NE(found, segments.end());
        EXPECT_EQ(found->numEdges, e.edges);
        EXPECT_NEAR(found->lengthMm, e.length, 1e-12);
        EXPECT_NEAR(found->chordMm, e.chord, 1e-12);
        if (e.chord > 0.0)
            EXPECT_NEAR(found->tortuosity.value_or(-1.0), e.length / e.chord, 1e-12);
        else
            EXPECT_FALSE(found->tortuosity.has_value());
        EXPECT_NEAR(found->meanDiameterMm, e.meanDiameter, 1e-12);
        EXPECT_NEAR(found->medianDiameterMm, e.medianDiameter, 1e-12);
        EXPECT_EQ(found->minDiameterMm, e.minDiameter);
        EXPECT_EQ(found->maxDiameterMm, e.maxDiameter);
        EXPECT_NEAR(found->volumeMm3, e.volume, 1e-9);
        EXPECT_EQ(found->generation, e.generation);
        EXPECT_EQ(found->strahler, e.strahler);
    }
}

TEST(GraphSegmentTableTest, TreeMeasuresGenerationsAndStrahlerOrdersFromEitherRoot) {
    const double chordB = std::sqrt(52.0);
    struct Case {
        std::optional<unsigned long> root;
        std::vector<Expected> segments;
    };
    const std::vector<Case> cases{
        // Automatic root: the free end of the thickest end segment (1-3, mean diameter 3).
        {std::nullopt,
         {{1, 3, 2, 6, 6, 3, 3, 2, 4, pi * (4 * 3 + 1 * 3), 0, 2},
          {3, 5, 2, 8, chordB, 2, 2, 2, 2, pi * 8, 1, 2},
          {3, 8, 1, 2, 2, 1, 1, 1, 1, pi * 0.25 * 2, 1, 1},
          {5, 6, 1, 1, 1, 1, 1, 1, 1, pi * 0.25, 2, 1},
          {5, 7, 1, 1, 1, 1, 1, 1, 1, pi * 0.25, 2, 1}}},
        // From leaf 8 the old root segment is a leaf of order 1 and the junction 3 joins orders 1 and 2.
        {8ul,
         {{3, 1, 2, 6, 6, 3, 3, 2, 4, pi * (4 * 3 + 1 * 3), 1, 1},
          {3, 5, 2, 8, chordB, 2, 2, 2, 2, pi * 8, 1, 2},
          {8, 3, 1, 2, 2, 1, 1, 1, 1, pi * 0.25 * 2, 0, 2},
          {5, 6, 1, 1, 1, 1, 1, 1, 1, pi * 0.25, 2, 1},
          {5, 7, 1, 1, 1, 1, 1, 1, 1, pi * 0.25, 2, 1}}},
        // A junction as root: its three segments are all generation 0.
        {3ul,
         {{3, 1, 2, 6, 6, 3, 3, 2, 4, pi * (4 * 3 + 1 * 3), 0, 1},
          {3, 5, 2, 8, chordB, 2, 2, 2, 2, pi * 8, 0, 2},
          {3, 8, 1, 2, 2, 1, 1, 1, 1, pi * 0.25 * 2, 0, 1},
          {5, 6, 1, 1, 1, 1, 1, 1, 1, pi * 0.25, 1, 1},
          {5, 7, 1, 1, 1, 1, 1, 1, 1, pi * 0.25, 1, 1}}},
    };
    const auto graph = tree();
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "root " << (c.root ? std::to_string(*c.root) : "auto"));
        const auto segments = computeGraphSegments(*graph, c.root);
        ASSERT_TRUE(segments.has_value());
        expectSegments(*segments, c.segments);
    }
}

TEST(GraphSegmentTableTest, ClosedLoopHasNoTortuosityAndNoStrahlerOrder) {
    // Tail 1-2 and the loop 2-3-4-2 (a triangle with sides 3, 4, 5) back to junction 2.
    const auto graph = makeGraph({{1, {-1, 0, 0}}, {2, {0, 0, 0}}, {3, {3, 0, 0}}, {4, {3, 4, 0}}},
                                 {{1, 2, 2.0}, {2, 3, 1.0}, {3, 4, 1.0}, {4, 2, 1.0}});
    const auto segments = computeGraphSegments(*graph);
    ASSERT_TRUE(segments.has_value());
    expectSegments(*segments, {{1, 2, 1, 1, 1, 2, 2, 2, 2, pi, 0, 1},
                               {2, 2, 3, 12, 0, 1, 1, 1, 1, pi * 0.25 * 12, 1, std::nullopt}});
}

TEST(GraphSegmentTableTest, RefusesUnknownAndInnerRoots) {
    const auto graph = tree();
    EXPECT_FALSE(computeGraphSegments(*graph, 99ul).has_value());
    EXPECT_FALSE(computeGraphSegments(*graph, 2ul).has_value());
}

TEST(GraphSegmentTableTest, CsvHasOneRowPerSegmentWithEmptyMissingValues) {
    const auto graph = makeGraph({{1, {-1, 0, 0}}, {2, {0, 0, 0}}, {3, {3, 0, 0}}, {4, {3, 4, 0}}},
                                 {{1, 2, 2.0}, {2, 3, 1.0}, {3, 4, 1.0}, {4, 2, 1.0}});
    const auto segments = computeGraphSegments(*graph);
    ASSERT_TRUE(segments.has_value());
    const std::filesystem::path path = std::filesystem::path(::testing::TempDir()) / "segments.csv";
    std::string error;
    ASSERT_TRUE(writeGraphSegmentsCsv(*segments, path.string(), error)) << error;
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "segment_id,start_node,end_node,num_edges,length_mm,chord_mm,tortuosity,mean_diameter_mm,"
                          "median_diameter_mm,min_diameter_mm,max_diameter_mm,volume_mm3,generation,strahler\n"
                          "0,1,2,1,1,1,1,2,2,2,2,3.141592654,0,1\n"
                          "1,2,2,3,12,0,,1,1,1,1,9.424777961,1,\n");
    EXPECT_FALSE(writeGraphSegmentsCsv(*segments, (path.parent_path() / "missing" / "s.csv").string(), error));
    std::filesystem::remove(path);
}

} // namespace
} // namespace Tarnwick
