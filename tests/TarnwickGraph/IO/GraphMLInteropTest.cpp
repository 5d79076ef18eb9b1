// GraphML exchange with NetworkX and igraph, run through the Debian Python interpreter. Skipped with a
// message when either module is missing (tools/install-deps.sh installs both).

#include "IOTestGraphs.h"

#include "../GraphInvariants.h"
#include "support/LogCapture.h"
#include "support/Subprocess.h"
#include "support/TempDir.h"

#include <TarnwickGraph/IO/GraphMLReader.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>

namespace Tarnwick {
namespace {

using Test::graphIsConsistent;
using Test::LogCapture;
using Test::makeRichGraph;
using Test::toGraphML;
using Json = nlohmann::json;

const std::string script = std::string(TARNWICK_SOURCE_DIR) + "/tests/TarnwickGraph/IO/graphml_interop.py";

/// Runs the helper script; returns its exit status and standard output.
std::pair<int, std::string> runScript(const std::string& arguments) {
    return Tarnwick::Test::runShell("/usr/bin/python3 '" + script + "' " + arguments);
}

class GraphMLInterop : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const auto [status, output] = runScript("check");
        s_unavailable = status == 0 ? "" : "NetworkX or igraph not available to /usr/bin/python3: " + output;
    }
    void SetUp() override {
        if (!s_unavailable.empty())
            GTEST_SKIP() << s_unavailable;
    }

    /// The graphs `library` reads from files we wrote, in one run of the script.
    Json readWith(const std::string& library, const std::vector<std::unique_ptr<Graph>>& graphs) {
        std::string paths;
        for (std::size_t i = 0; i < graphs.size(); ++i) {
            const std::string path = m_dir.file("ours" + std::to_string(i) + ".graphml");
            std::ofstream(path) << toGraphML(*graphs[i], true);
            paths += " '" + path + "'";
        }
        const auto [status, output] = runScript("read " + library + paths);
        EXPECT_EQ(status, 0) << output;
        return status == 0 ? Json::parse(output) : Json::array();
    }

    /// The graph we read from a file written in `style`.
    std::unique_ptr<Graph> readTheirs(const std::string& style) {
        const std::string path = m_dir.file(style + ".graphml");
        const auto [status, output] = runScript("write " + style + " '" + path + "'");
        EXPECT_EQ(status, 0) << output;
        std::ifstream in(path);
        return GraphMLReader::read(in);
    }

    static inline std::string s_unavailable;
    Tarnwick::Test::TempDir m_dir;
    Tarnwick::Test::LogCapture m_log{Log::Info};
};

/// Checks a [type, repr] pair from the script against a double, NaN equal to NaN.
void expectDouble(const Json& typedValue, double expected, const std::string& what) {
    ASSERT_TRUE(typedValue.is_array()) << what << " missing";
    EXPECT_EQ(typedValue[0], "float") << what;
    const double actual = std::strtod(typedValue[1].get<std::string>().c_str(), nullptr);
    EXPECT_TRUE(actual == expected || (std::isnan(actual) && std::isnan(expected)))
        << what << ": " << typedValue[1] << " != " << expected;
}

void expectSameGraph(const Graph& graph, const Json& theirs) {
    ASSERT_TRUE(theirs.is_object());
    EXPECT_EQ(theirs["directed"], graph.type() == Graph::Directed);
    const char* axes[] = {"x", "y", "z"};
    const int dimensions = graph.dimension() == Graph::Dim3D ? 3 : 2;
    EXPECT_EQ(theirs["nodes"].size(), graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        const Json& attributes = theirs["nodes"]["n" + std::to_string(id)];
        EXPECT_EQ(attributes.size(), dimensions + graph.nodeFeatureDescriptors().size()) << "node " << id;
        for (int axis = 0; axis < dimensions; ++axis)
            expectDouble(attributes[axes[axis]], node.position[axis], "node " + std::to_string(id) + " " + axes[axis]);
        for (std::size_t i = 0; i < node.features.size(); ++i)
            expectDouble(attributes[graph.nodeFeatureDescriptors()[i].name], node.features[i],
                         "node " + std::to_string(id) + " feature " + std::to_string(i));
    });

    // Edges keyed by their end ids; an undirected edge by its ends in either order.
    std::map<std::pair<std::string, std::string>, Json> edges;
    for (const Json& edge : theirs["edges"]) {
        std::string u = edge[0], v = edge[1];
        if (graph.type() == Graph::Undirected && v < u)
            std::swap(u, v);
        edges[{u, v}] = edge[2];
    }
    EXPECT_EQ(edges.size(), graph.numEdges());
    graph.forEachEdge([&](const Graph::EdgeInfo& edge, unsigned long from, unsigned long to) {
        std::string u = "n" + std::to_string(from), v = "n" + std::to_string(to);
        if (graph.type() == Graph::Undirected && v < u)
            std::swap(u, v);
        const auto found = edges.find({u, v});
        ASSERT_NE(found, edges.end()) << u << " - " << v;
        for (std::size_t i = 0; i < edge.features.size(); ++i)
            expectDouble(found->second[graph.edgeFeatureDescriptors()[i].name], edge.features[i],
                         "edge " + u + " - " + v + " feature " + std::to_string(i));
    });
}

TEST_F(GraphMLInterop, NetworkXAndIgraphReadOurFilesWithEveryValueAsADouble) {
    std::vector<std::unique_ptr<Graph>> graphs;
    for (auto type : {Graph::Directed, Graph::Undirected})
        for (auto dimension : {Graph::Dim2D, Graph::Dim3D})
            graphs.push_back(makeRichGraph(type, dimension));
    for (const std::string library : {"networkx", "igraph"}) {
        const Json theirs = readWith(library, graphs);
        ASSERT_EQ(theirs.size(), graphs.size()) << library;
        for (std::size_t i = 0; i < graphs.size(); ++i) {
            SCOPED_TRACE(testing::Message()
                         << library << " type " << graphs[i]->type() << " dimension " << graphs[i]->dimension());
            expectSameGraph(*graphs[i], theirs[i]);
        }
    }
}

TEST_F(GraphMLInterop, NetworkXFilesWithNamedKeysLoadWithPositions) {
    auto graph = readTheirs("networkx-named");
    ASSERT_TRUE(graph);
    EXPECT_TRUE(graphIsConsistent(*graph));
    EXPECT_EQ(graph->type(), Graph::Undirected);
    EXPECT_EQ(graph->dimension(), Graph::Dim2D);
    ASSERT_EQ(graph->numNodes(), 3u);
    EXPECT_EQ(graph->nodeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"radius", 0.0}}));
    EXPECT_EQ(graph->edgeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"weight", 0.0}}));
    // String ids a, b, c become 1, 2, 3 in file order.
    std::vector<Graph::NodeInfo> nodes;
    graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) { nodes.push_back(node); });
    EXPECT_EQ(nodes[0], Graph::NodeInfo(Eigen::Vector3d(1, 2, 0), {0.5}));
    EXPECT_EQ(nodes[2], Graph::NodeInfo(Eigen::Vector3d(5, 6, 0), {2.5}));
    ASSERT_TRUE(graph->edge(1, 2));
    EXPECT_EQ(graph->edge(1, 2)->features, std::vector<double>{1.25});
    EXPECT_EQ(graph->edge(3, 2)->features, std::vector<double>{2.5});
}

// NetworkX's default key ids (d0, d1, ...) and igraph's (v_x, e_weight) name nothing; their attr.name
// names the positions and features.
TEST_F(GraphMLInterop, DefaultWriterKeyIdsAreMappedByAttrName) {
    for (const char* style : {"networkx", "igraph"}) {
        SCOPED_TRACE(style);
        LogCapture log;
        auto graph = readTheirs(style);
        ASSERT_TRUE(graph);
        EXPECT_TRUE(log.contains("No GraphML key id names a node position; keys are mapped by their attr.name instead",
                                 Log::Info));
        EXPECT_TRUE(graphIsConsistent(*graph));
        EXPECT_EQ(graph->type(), std::string(style) == "igraph" ? Graph::Directed : Graph::Undirected);
        EXPECT_EQ(graph->dimension(), Graph::Dim2D);
        EXPECT_EQ(graph->nodeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"radius", 0.0}}));
        EXPECT_EQ(graph->edgeFeatureDescriptors(), (std::vector<Graph::FeatureDescriptor>{{"weight", 0.0}}));
        std::vector<Graph::NodeInfo> nodes;
        graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) { nodes.push_back(node); });
        ASSERT_EQ(nodes.size(), 3u);
        EXPECT_EQ(nodes[0], Graph::NodeInfo(Eigen::Vector3d(1, 2, 0), {0.5}));
        EXPECT_EQ(nodes[2], Graph::NodeInfo(Eigen::Vector3d(5, 6, 0), {2.5}));
        ASSERT_TRUE(graph->edge(2, 3));
        EXPECT_EQ(graph->edge(2, 3)->features, std::vector<double>{2.5});
    }
}

} // namespace
} // namespace Tarnwick
