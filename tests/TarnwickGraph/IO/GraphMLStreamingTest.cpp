#include <TarnwickGraph/IO/GraphMLIoAlgorithm.h>
#include <TarnwickGraph/IO/GraphMLReader.h>

#include "../GraphComparison.h"
#include "IOTestGraphs.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>

namespace Tarnwick {
namespace {

using Tarnwick::Test::LogCapture;

std::unique_ptr<Graph> readText(const std::string& text) {
    std::istringstream in(text);
    return GraphMLReader::read(in);
}

// Documents of several blocks read back exactly: names, numbers and entities that straddle the
// reader's block boundaries are joined.
TEST(GraphMLStreaming, DocumentsLargerThanOneBlockReadBack) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.addNodeFeatureDescriptors({{"r&d <mm>", 0.5}});
    for (int i = 0; i < 12000; ++i)
        graph.addNode(Graph::NodeInfo(Eigen::Vector3d(i * 0.1, std::sin(i) * 1e5, -i / 7.0), {i / 3.0}));
    for (unsigned long id = 1; id < 12000; ++id)
        graph.addEdge(id, id + 1, Graph::EdgeInfo{{id * 0.25}, Properties()});
    const std::string text = Tarnwick::Test::toGraphML(graph, true);
    ASSERT_GT(text.size(), 3u << 20);
    const auto loaded = readText(text);
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(Tarnwick::Test::sameContent(graph, *loaded));
    EXPECT_EQ(loaded->nodeFeatureDescriptors()[0].name, "r&d <mm>");
}

// Structure the reader cannot stream, and markup that does not nest, are refused with the reason.
TEST(GraphMLStreaming, MisplacedKeysAndUnmatchedTagsAreRefused) {
    const std::string keys = "<key id=\"x\" for=\"node\"/><key id=\"y\" for=\"node\"/>";
    const std::pair<std::string, std::string> cases[] = {
        {"<graphml>" + keys + "<graph></graph><key id=\"w\" for=\"edge\"/></graphml>",
         "Error during parsing of file: key 'w' is declared after the graph"},
        {"<graphml>" + keys + "<graph>\n<node id=\"a\"></edge></graph></graphml>",
         "Could not parse GraphML input: end tag </edge> does not close <node> (line 2)"},
        {"<graphml>" + keys + "<graph><node id=\"a\"><data key=\"x\">&#0;</data></node></graph></graphml>",
         "Could not parse GraphML input: invalid numeric character entity (line 1)"},
    };
    for (const auto& [text, message] : cases) {
        LogCapture log;
        EXPECT_FALSE(readText(text)) << text;
        EXPECT_EQ(log.errors(), std::vector<std::string>{message});
    }
}

// A position that is not finite is refused before anything is written, naming the node and the axis;
// the save fails and leaves the previous file as it was. A 2-D graph writes no z, so its z may be NaN.
TEST(GraphMLStreaming, NonFinitePositionsAreNotWritten) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d(1, 2, 3), {}));
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d(1, std::numeric_limits<double>::quiet_NaN(), 3), {}));
    std::ostringstream out;
    try {
        GraphMLWriter::write(graph, true, out);
        ADD_FAILURE() << "no exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "node 2 (n2): position y is nan, not a finite number");
    }
    EXPECT_EQ(out.str(), "");

    Tarnwick::Test::TempDir dir;
    const std::string path = dir.file("graph.graphml");
    std::ofstream(path) << "previous";
    LogCapture log;
    EXPECT_FALSE(GraphMLIoAlgorithm(graph).saveToGraphML(graph, path));
    EXPECT_EQ(log.errors(),
              std::vector<std::string>{"Failed to write GraphML: node 2 (n2): position y is nan, not a finite number"});
    std::ifstream in(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "previous");

    Graph flat(Graph::Undirected, Graph::Dim2D);
    flat.addNode(Graph::NodeInfo(Eigen::Vector3d(1, 2, std::numeric_limits<double>::infinity()), {}));
    EXPECT_TRUE(readText(Tarnwick::Test::toGraphML(flat, true)));
}

} // namespace
} // namespace Tarnwick
