#include "IOTestGraphs.h"

#include "../GraphComparison.h"
#include "../GraphInvariants.h"
#include "support/LogCapture.h"

#include <TarnwickCore/PropertiesIO.h>
#include <TarnwickGraph/IO/GraphRecord.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace Tarnwick {
namespace {

using Test::ByteBuilder;
using Test::graphIsConsistent;
using Test::graphsEqual;
using Test::LogCapture;
using Test::makeRichGraph;

std::string recordOf(const Graph& graph) {
    std::ostringstream out;
    EXPECT_TRUE(GraphRecord::write(graph, out));
    return out.str();
}

/// Reads `bytes` into a fresh graph as the host would create it; null when reading fails.
std::unique_ptr<Graph> graphFrom(const std::string& bytes) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    std::istringstream in(bytes);
    return GraphRecord::read(*graph, in) ? std::move(graph) : nullptr;
}

std::string fixture(const std::string& name) {
    std::ifstream in(std::string(TARNWICK_SOURCE_DIR) + "/tests/data/graph-record/" + name, std::ios::binary);
    EXPECT_TRUE(in.good()) << name;
    return std::string(std::istreambuf_iterator<char>(in), {});
}

/// The metadata of a graph with the identity matrix, up to the node descriptor count.
ByteBuilder metadataPrefix(std::uint8_t type = 0, std::uint8_t dimension = 0, std::uint64_t maxNodeId = 0) {
    ByteBuilder b;
    b.text("GRAPH:").text("METADATA:");
    for (int i = 0; i < 16; ++i)
        b.f64(i % 5 == 0 ? 1.0 : 0.0);
    b.u8(type).u8(dimension).u64(maxNodeId);
    return b;
}

/// The metadata of a new undirected 3-D graph up to (not including) the edge descriptors.
ByteBuilder emptyGraphPrefix() {
    return metadataPrefix().u32(0);
}

TEST(GraphRecordLayout, NodesEdgesAndAttributesFollowTheDescriptors) {
    Graph graph(Graph::Directed, Graph::Dim2D);
    graph.clearFeatureDescriptors();
    graph.addNodeFeatureDescriptors({{"w", 2.0}});
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d(1, 2, 0), {7.0}));
    Properties attributes;
    attributes.setParam("a", 1);
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d(3, 4, 0), {8.0}, attributes));
    graph.addEdge(2, 1, {});
    graph.addEdge(1, 2, {});

    const std::string record = recordOf(graph);
    const std::string attributeText = record.substr(record.find("{"), record.rfind("}") - record.find("{") + 1);
    ByteBuilder expected = metadataPrefix(1, 1, 2);
    expected.u32(1).u32(1).text("w").f64(2.0).u32(0);
    expected.text("NODES:").u64(2);
    expected.u64(1).f64(1).f64(2).f64(0).f64(7.0).u32(0);
    expected.u64(2).f64(3).f64(4).f64(0).f64(8.0).u32(attributeText.size()).text(attributeText);
    expected.text("EDGES:").u64(2).u64(1).u64(2).u32(0).u64(2).u64(1).u32(0);
    EXPECT_EQ(record, expected.bytes());
    EXPECT_EQ(PropertiesIO::loadFromString(attributeText).value_or(Properties()), attributes);
}

TEST(GraphRecordRoundTrip, KeepsEverythingForEachTypeAndDimension) {
    for (auto type : {Graph::Directed, Graph::Undirected}) {
        for (auto dimension : {Graph::Dim2D, Graph::Dim3D}) {
            SCOPED_TRACE(testing::Message() << "type " << type << " dimension " << dimension);
            auto original = makeRichGraph(type, dimension);
            auto loaded = graphFrom(recordOf(*original));
            ASSERT_TRUE(loaded);
            EXPECT_TRUE(graphsEqual(*original, *loaded));
            // Ids continue above the saved largest id although node 5 no longer exists.
            EXPECT_EQ(loaded->addNode({}), 6u);
        }
    }
}

TEST(GraphRecordRoundTrip, StoredFixturesStillLoad) {
    const std::string emptyBytes =
        emptyGraphPrefix().u32(1).u32(8).text("diameter").f64(0.0).text("NODES:").u64(0).text("EDGES:").u64(0).bytes();
    EXPECT_EQ(fixture("empty-graph.bin"), emptyBytes);
    EXPECT_EQ(recordOf(Graph(Graph::Undirected, Graph::Dim3D)), emptyBytes);
    auto empty = graphFrom(emptyBytes);
    ASSERT_TRUE(empty);
    EXPECT_TRUE(graphsEqual(Graph(Graph::Undirected, Graph::Dim3D), *empty));

    // small-graph.bin was written from makeRichGraph(Undirected, Dim3D).
    const std::string small = fixture("small-graph.bin");
    auto loaded = graphFrom(small);
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(graphsEqual(*makeRichGraph(Graph::Undirected, Graph::Dim3D), *loaded));
    EXPECT_EQ(recordOf(*loaded), small);
}

TEST(GraphRecordErrors, EachBrokenSectionHasItsMessage) {
    const std::string good = recordOf(*makeRichGraph(Graph::Undirected, Graph::Dim3D));
    struct Case {
        std::string from, to, message;
    };
    const Case cases[] = {
        {"GRAPH:", "GRAPH;", "Invalid header"},
        {"METADATA:", "METADATA ", "Invalid metadata header"},
        {"NODES:", "NODEZ:", "Invalid nodes header"},
        {"EDGES:", "EDGE S", "Invalid edges header"},
        {"\"bifurcation", "'bifurcation", "Failed to deserialize node attributes"},
        {"\"left\"", "\"left'", "Failed to deserialize edge attributes"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        std::string bytes = good;
        const auto at = bytes.find(c.from);
        ASSERT_NE(at, std::string::npos);
        bytes.replace(at, c.from.size(), c.to);
        LogCapture log;
        EXPECT_FALSE(graphFrom(bytes));
        EXPECT_EQ(log.errors(), std::vector<std::string>{c.message});
    }
}

TEST(GraphRecordErrors, EdgeBetweenUnknownNodesIsRejected) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.clearFeatureDescriptors();
    graph.addNode({});
    std::string bytes = recordOf(graph);
    // Replace the empty edge section by one edge 1 -> 9.
    bytes.resize(bytes.size() - 8);
    bytes += ByteBuilder().u64(1).u64(1).u64(9).u32(0).bytes();
    LogCapture log;
    EXPECT_FALSE(graphFrom(bytes));
    EXPECT_TRUE(log.contains("Edge refers to a node that is not in the record: 1 -> 9", Log::Error));
}

TEST(GraphRecordCorruption, EveryTruncationFailsWithTheMessageOfItsSection) {
    const std::string good = recordOf(*makeRichGraph(Graph::Directed, Graph::Dim3D));
    const std::size_t nodesAt = good.find("NODES:");
    const std::size_t edgesAt = good.find("EDGES:");
    for (std::size_t length = 0; length < good.size(); ++length) {
        SCOPED_TRACE(testing::Message() << "length " << length);
        LogCapture log;
        EXPECT_FALSE(graphFrom(good.substr(0, length)));
        const char* expected = length < 6         ? "Invalid header"
                               : length < nodesAt ? "Invalid metadata header"
                               : length < edgesAt ? "Invalid nodes header"
                                                  : "Invalid edges header";
        EXPECT_EQ(log.errors(), std::vector<std::string>{expected});
    }
}

TEST(GraphRecordCorruption, HugeLengthsAndCountsStopAtTheEndOfTheStream) {
    // Descriptor name length, node count and attribute length near their maxima: each read must end
    // at the end of the few bytes present instead of allocating what the field claims.
    ByteBuilder hugeName = emptyGraphPrefix();
    hugeName.u32(1).u32(0xFFFFFFFFu).text("diameter");
    ByteBuilder hugeNodeCount = emptyGraphPrefix();
    hugeNodeCount.u32(0).text("NODES:").u64(~0ull).u64(1).f64(0).f64(0).f64(0).u32(0);
    ByteBuilder hugeAttributes = emptyGraphPrefix();
    hugeAttributes.u32(0).text("NODES:").u64(1).u64(1).f64(0).f64(0).f64(0).u32(0xFFFFFFF0u).text("{}");
    ByteBuilder hugeDescriptorCount = emptyGraphPrefix();
    hugeDescriptorCount.u32(0xFFFFFFFFu).u32(1).text("a").f64(0);

    const std::pair<const ByteBuilder*, const char*> cases[] = {
        {&hugeName, "Invalid metadata header"},
        {&hugeNodeCount, "Invalid nodes header"},
        {&hugeAttributes, "Invalid nodes header"},
        {&hugeDescriptorCount, "Invalid metadata header"},
    };
    for (const auto& [bytes, message] : cases) {
        LogCapture log;
        EXPECT_FALSE(graphFrom(bytes->bytes()));
        EXPECT_EQ(log.errors(), std::vector<std::string>{message});
    }
}

} // namespace
} // namespace Tarnwick
