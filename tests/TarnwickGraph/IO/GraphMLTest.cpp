#include "IOTestGraphs.h"

#include "../GraphComparison.h"
#include "../GraphInvariants.h"
#include "ReferenceGraphMLWriter.h"
#include "support/LogCapture.h"

#include <TarnwickGraph/IO/GraphMLReader.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <tuple>

namespace Tarnwick {
namespace {

using Test::graphIsConsistent;
using Test::LogCapture;
using Test::makeRichGraph;
using Test::referenceGraphML;
using Test::sameContent;
using Test::toGraphML;

std::unique_ptr<Graph> readText(const std::string& text) {
    std::istringstream in(text);
    return GraphMLReader::read(in);
}

/// A GraphML document with the given keys and graph body.
std::string document(const std::string& keys, const std::string& graphAttributes, const std::string& body) {
    return "<?xml version=\"1.0\"?>\n<graphml xmlns=\"http://graphml.graphdrawing.org/xmlns\">\n" + keys + "<graph" +
           graphAttributes + ">\n" + body + "</graph>\n</graphml>\n";
}

const std::string positionKeys2D = "<key id=\"x\" for=\"node\" attr.name=\"x\" attr.type=\"double\"/>\n"
                                   "<key id=\"y\" for=\"node\" attr.name=\"y\" attr.type=\"double\"/>\n";

// The streaming writer must produce exactly what the straightforward property-tree writer does, and
// what it writes must read back to the same content (file ids are not kept: nodes are numbered 1..n).
TEST(GraphMLWriting, MatchesTheReferenceWriterAndReadsBack) {
    std::vector<std::unique_ptr<Graph>> graphs;
    for (auto type : {Graph::Directed, Graph::Undirected})
        for (auto dimension : {Graph::Dim2D, Graph::Dim3D})
            graphs.push_back(makeRichGraph(type, dimension));
    graphs.push_back(std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D)); // no nodes at all
    auto isolated = std::make_unique<Graph>(Graph::Directed, Graph::Dim2D);     // nodes, no edges, no features
    isolated->clearFeatureDescriptors();
    isolated->addNode(Graph::NodeInfo(Eigen::Vector3d(-0.0, 1e-300, 0), {}));
    graphs.push_back(std::move(isolated));
    // Names the writer must escape: entities, blanks only (written with "&#32;"), empty, dots, UTF-8.
    auto named = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    named->addNodeFeatureDescriptors({{"<a & 'b'>", 0}, {"  ", 0}, {"", 0}, {"with.dot", 0}, {"\xc3\xa9t\xc3\xa9", 0}});
    named->addNode(Graph::NodeInfo(Eigen::Vector3d(1, 2, 3), {1, 2, 3, 4, 5}));
    named->addNode(Graph::NodeInfo(Eigen::Vector3d(4, 5, 6), {6, 7, 8, 9, 10}));
    named->addEdge(1, 2, Graph::EdgeInfo{{0.125}, Properties()});
    graphs.push_back(std::move(named));
    // Doubles must come back exactly, the sign of zero included.
    auto exact = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    for (double v : {-0.0, 0.1 + 0.2, 1.0 / 3.0, 5e-324, std::numeric_limits<double>::max(), 123456789.123456789})
        exact->addNode(Graph::NodeInfo(Eigen::Vector3d(v, -v, v * 0.5), {}));
    graphs.push_back(std::move(exact));

    for (const auto& graph : graphs) {
        for (bool exportFeatures : {true, false}) {
            SCOPED_TRACE(testing::Message()
                         << graph->numNodes() << " nodes, type " << graph->type() << ", features " << exportFeatures);
            const std::string text = toGraphML(*graph, exportFeatures);
            EXPECT_EQ(text, referenceGraphML(*graph, exportFeatures));
            auto loaded = readText(text);
            ASSERT_TRUE(loaded);
            EXPECT_EQ(loaded->maxNodeId(), graph->numNodes());
            if (exportFeatures) {
                EXPECT_TRUE(sameContent(*graph, *loaded));
            } else {
                EXPECT_TRUE(loaded->nodeFeatureDescriptors().empty());
                EXPECT_TRUE(loaded->edgeFeatureDescriptors().empty());
                EXPECT_EQ(loaded->numEdges(), graph->numEdges());
            }
        }
    }
    auto loaded = readText(toGraphML(*graphs.back(), true));
    ASSERT_TRUE(loaded);
    std::vector<double> xs;
    loaded->forEachNode([&](unsigned long, const Graph::NodeInfo& node) { xs.push_back(node.position.x()); });
    EXPECT_TRUE(std::signbit(xs.at(0))) << "negative zero keeps its sign";
}

TEST(GraphMLReading, StringIdsDefaultsAndDirection) {
    const std::string keys = positionKeys2D + "<key id=\"w\" for=\"edge\"><default>2.5</default></key>\n"
                                              "<key id=\"r\" for=\"node\" attr.name=\"radius\"/>\n"
                                              "<key id=\"g\" for=\"graph\"/>\n";
    // The edge comes before its nodes, b has no radius, c carries data for undeclared keys.
    const std::string body = "<data key=\"g\">ignored</data>\n"
                             "<edge source=\"a\" target=\"b\"><data key=\"w\"> 7 </data></edge>\n"
                             "<node id=\"a\"><data key=\"x\">1</data><data key=\"y\">2</data>"
                             "<data key=\"r\">0.5</data></node>\n"
                             "<node id=\"b\"><data key=\"x\">3</data></node>\n"
                             "<node id=\"c\"><data key=\"z\">9</data><data key=\"label\">text</data></node>\n"
                             "<edge source=\"c\" target=\"a\"/>\n";
    for (const char* edgeDefault : {"", " edgedefault=\"undirected\"", " edgedefault=\"directed\""}) {
        SCOPED_TRACE(edgeDefault);
        auto graph = readText(document(keys, edgeDefault, body));
        ASSERT_TRUE(graph);
        EXPECT_TRUE(graphIsConsistent(*graph));
        EXPECT_EQ(graph->type(), std::string(edgeDefault).find("\"directed") != std::string::npos ? Graph::Directed
                                                                                                  : Graph::Undirected);
        EXPECT_EQ(graph->dimension(), Graph::Dim2D);
        ASSERT_EQ(graph->numNodes(), 3u);
        EXPECT_EQ(graph->neighborhood(1).begin()->first, 2u); // a = 1, b = 2, c = 3
        EXPECT_EQ(graph->nodeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"r", 0.0}}));
        EXPECT_EQ(graph->edgeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"w", 2.5}}));
        EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{7.0});
        EXPECT_EQ(graph->edge(3, 1)->features, std::vector<double>{2.5});
        std::vector<Graph::NodeInfo> nodes;
        graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) { nodes.push_back(node); });
        EXPECT_EQ(nodes[0], Graph::NodeInfo(Eigen::Vector3d(1, 2, 0), {0.5}));
        EXPECT_EQ(nodes[1], Graph::NodeInfo(Eigen::Vector3d(3, 0, 0), {0.0}));
        EXPECT_EQ(nodes[2], Graph::NodeInfo(Eigen::Vector3d(0, 0, 0), {0.0}));
    }
}

// Writers that number their key ids (d0, d1, ... or v_x) name positions and features in attr.name.
TEST(GraphMLReading, NumberedKeyIdsAreMappedByAttrName) {
    const std::string body = "<node id=\"a\"><data key=\"k0\">1</data><data key=\"k1\">2</data>"
                             "<data key=\"k2\">3</data><data key=\"k3\">0.5</data></node>\n"
                             "<node id=\"b\"/><edge source=\"a\" target=\"b\"><data key=\"k4\">7</data></edge>\n";
    for (const std::string prefix : {"d", "v_"}) {
        SCOPED_TRACE(prefix);
        std::string keys;
        for (const auto& [index, owner, name] : {std::tuple{0, "node", "x"},
                                                 {1, "node", "y"},
                                                 {2, "node", "z"},
                                                 {3, "node", "radius"},
                                                 {4, "edge", "weight"}})
            keys += "<key id=\"" + prefix + std::to_string(index) + "\" for=\"" + owner + "\" attr.name=\"" + name +
                    "\" attr.type=\"double\"/>\n";
        std::string text = document(keys, "", body);
        for (std::size_t at; (at = text.find("\"k")) != std::string::npos;)
            text.replace(at + 1, 1, prefix);
        LogCapture log;
        auto graph = readText(text);
        ASSERT_TRUE(graph);
        EXPECT_TRUE(log.contains("No GraphML key id names a node position; keys are mapped by their attr.name instead",
                                 Log::Info));
        EXPECT_EQ(graph->dimension(), Graph::Dim3D);
        Eigen::Vector3d first = Eigen::Vector3d::Zero();
        graph->forEachNode(
            [&](unsigned long id, const Graph::NodeInfo& node) { first = id == 1 ? node.position : first; });
        EXPECT_EQ(first, Eigen::Vector3d(1, 2, 3));
        EXPECT_EQ(graph->nodeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"radius", 0.0}}));
        EXPECT_EQ(graph->edgeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"weight", 0.0}}));
        EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{7.0});
    }
}

TEST(GraphMLReading, TextFollowsXmlRules) {
    // CDATA and text pieces around a comment are joined, entities decoded, ids compared after decoding.
    const std::string body = "<node id=\"a&amp;b\"><data key=\"x\"><![CDATA[1.5]]></data>"
                             "<data key=\"y\">2<!-- two -->5</data></node>\n"
                             "<node id=\"c\"><data key=\"x\">&#45;&#51;</data><!-- <node id=\"d\"/> --></node>\n"
                             "<edge source=\"a&amp;b\" target=\"c\"/>\n";
    auto graph = readText(document(positionKeys2D, " edgedefault='directed'", body));
    ASSERT_TRUE(graph);
    ASSERT_EQ(graph->numNodes(), 2u);
    std::vector<Eigen::Vector3d> positions;
    graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) { positions.push_back(node.position); });
    EXPECT_EQ(positions[0], Eigen::Vector3d(1.5, 25, 0));
    EXPECT_EQ(positions[1], Eigen::Vector3d(-3, 0, 0));
    EXPECT_TRUE(graph->edge(1, 2).has_value());
    EXPECT_EQ(graph->type(), Graph::Directed);
}

TEST(GraphMLReading, DeepNestingIsRefusedWithoutExhaustingTheStack) {
    std::string nested;
    for (int i = 0; i < 100000; ++i)
        nested += "<a>";
    // Markup-like text in attribute values, comments and CDATA cannot hide the nesting.
    const std::string disguises[] = {
        nested,
        "<x v=\"" + std::string(100000, '/') + "\"/>" + nested,
        "<x v='</a></a></a>'/>" + nested,
        "<!--" + std::string(1000, '/') + "</a></a></a>-->" + nested,
        "<x><![CDATA[</a></a></a></a>]]></x>" + nested,
        "<!DOCTYPE x [<!ENTITY e \"</a></a></a>\">]>" + nested,
        "<!X [>" + nested + "]>",
    };
    for (const std::string& text : disguises) {
        LogCapture log;
        EXPECT_FALSE(readText(text));
        EXPECT_EQ(log.errors(),
                  std::vector<std::string>{"Could not parse GraphML input: elements nested deeper than 256 levels"});
    }
    // Comments, CDATA and attribute values holding markup characters are fine at normal depth.
    const std::string body = "<!-- <a><a><a> -->\n<node id=\"n/>\"><data key=\"x\"><![CDATA[ 4 ]]></data></node>\n";
    auto graph = readText(document(positionKeys2D, "", body));
    ASSERT_TRUE(graph);
    EXPECT_EQ(graph->numNodes(), 1u);
}

TEST(GraphMLReading, CorruptedFilesGiveAGraphOrOneErrorNeverACrash) {
    const std::string good = toGraphML(*makeRichGraph(Graph::Directed, Graph::Dim3D), true);
    LogCapture log;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (char replacement : {'<', '>', '/', '"', '\0', 'x'}) {
            std::string text = good;
            text[at] = replacement;
            log.clear();
            const auto graph = readText(text);
            if (graph) {
                ASSERT_TRUE(graphIsConsistent(*graph)) << "byte " << at;
            } else {
                ASSERT_EQ(log.errors().size(), 1u) << "byte " << at;
            }
        }
        if (at + 1 < good.size()) { // only the final line break may go
            ASSERT_FALSE(readText(good.substr(0, at))) << "truncated at " << at;
        }
    }
}

TEST(GraphMLReading, ImportIsSummarisedAtInfoLevel) {
    auto original = makeRichGraph(Graph::Undirected, Graph::Dim3D);
    LogCapture log;
    ASSERT_TRUE(readText(toGraphML(*original, true)));
    EXPECT_EQ(
        log.messages(Log::Info),
        std::vector<std::string>{"Imported 3D graph with 3 nodes, 3 edges, 2 edge feature(s) and 2 node feature(s)."});
    EXPECT_TRUE(log.errors().empty());
}

TEST(GraphMLReading, BrokenFilesYieldNoGraphAndAClearMessage) {
    const std::string keys = positionKeys2D + "<key id=\"w\" for=\"edge\"/>\n";
    const std::string nodes = "<node id=\"a\"/><node id=\"b\"/>\n";
    struct Case {
        std::string text, message;
    };
    const Case cases[] = {
        {"", "Parsed GraphML tree is empty"},
        {"<?xml version=\"1.0\"?>\n<!-- nothing -->\n", "Parsed GraphML tree is empty"},
        {"<other/>", "Error during parsing of file: no graphml root element"},
        {"<graphml>" + keys + "</graphml>", "Error during parsing of file: no graph element"},
        {document(keys, "", nodes + "<edge source=\"a\" target=\"zz\"/>\n"),
         "Error during parsing of file: Edge refers to undefined node: a or zz"},
        {document(keys, "", nodes + "<edge target=\"a\"/>\n"),
         "Error during parsing of file: Edge refers to undefined node:  or a"},
        {document(keys, "", "<node id=\"a\"><data key=\"x\">1,5</data></node>\n"),
         "Error during parsing of file: node 'a': value '1,5' of key 'x' is not a number"},
        {document(keys, "", nodes + "<edge source=\"b\" target=\"a\"><data key=\"w\">true</data></edge>\n"),
         "Error during parsing of file: edge 'b' -> 'a': value 'true' of key 'w' is not a number"},
        {document(keys, "", "<node id=\"a\"/><node id=\"a\"/>\n"),
         "Error during parsing of file: node id 'a' is used twice"},
        {document(keys, "", "<node/>\n"), "Error during parsing of file: a node element has no id"},
        {document("<key id=\"k\" for=\"node\"><default>big</default></key>", "", ""),
         "Error during parsing of file: default value 'big' of key 'k' is not a number"},
        {document(keys, "", "<node id=\"a\"><data key=\"x\">nan</data></node>\n"),
         "Error during parsing of file: node 'a': position x is not a finite number"},
        {document(keys, "", "<node id=\"a\"><data key=\"y\">-inf</data></node>\n"),
         "Error during parsing of file: node 'a': position y is not a finite number"},
        {document("<key id=\"z\" for=\"node\"><default>inf</default></key>", "", ""),
         "Error during parsing of file: default value of position key 'z' is not a finite number"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        LogCapture log;
        EXPECT_FALSE(readText(c.text));
        EXPECT_EQ(log.errors(), std::vector<std::string>{c.message});
    }
}

TEST(GraphMLReading, ParserErrorsCarryTheParserMessage) {
    for (const std::string text : {"<graphml><graph>", "<graphml><graph", "\x01\x02 not xml"}) {
        LogCapture log;
        EXPECT_FALSE(readText(text));
        ASSERT_EQ(log.errors().size(), 1u);
        EXPECT_EQ(log.errors()[0].rfind("Could not parse GraphML input: ", 0), 0u) << log.errors()[0];
        EXPECT_GT(log.errors()[0].size(), std::string("Could not parse GraphML input: ").size());
    }
}

} // namespace
} // namespace Tarnwick
