// tarnwick-cli run with the graph plug-in's algorithms that edit a graph in place or make new ones.
#include "CliRunner.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;
using Tarnwick::Test::readFile;

/// A square 1-2-3-4 with a tail 4-5 and the node feature "radius" (1, 2, 3, 4, 5); edge 1-2 is the
/// longest, so a spanning tree by edge length cuts one of the others.
const char* squareWithTail = R"(<?xml version="1.0" encoding="utf-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="x" for="node" attr.name="x" attr.type="double"/>
  <key id="y" for="node" attr.name="y" attr.type="double"/>
  <key id="z" for="node" attr.name="z" attr.type="double"/>
  <key id="radius" for="node" attr.name="radius" attr.type="double"/>
  <key id="diameter" for="edge" attr.name="diameter" attr.type="double"/>
  <graph id="G" edgedefault="undirected">
    <node id="n1"><data key="x">0</data><data key="y">0</data><data key="z">0</data><data key="radius">1</data></node>
    <node id="n2"><data key="x">3</data><data key="y">0</data><data key="z">0</data><data key="radius">2</data></node>
    <node id="n3"><data key="x">3</data><data key="y">1</data><data key="z">0</data><data key="radius">3</data></node>
    <node id="n4"><data key="x">0</data><data key="y">1</data><data key="z">0</data><data key="radius">4</data></node>
    <node id="n5"><data key="x">0</data><data key="y">2.5</data><data key="z">0</data><data key="radius">5</data></node>
    <edge source="n1" target="n2"><data key="diameter">2</data></edge>
    <edge source="n2" target="n3"><data key="diameter">2</data></edge>
    <edge source="n3" target="n4"><data key="diameter">2</data></edge>
    <edge source="n4" target="n1"><data key="diameter">2</data></edge>
    <edge source="n4" target="n5"><data key="diameter">1</data></edge>
  </graph>
</graphml>
)";

class CliGraphAlgorithms : public testing::Test {
protected:
    void SetUp() override { std::ofstream(m_graph) << squareWithTail; }

    CliResult cli(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
        return Tarnwick::Test::runCli(arguments);
    }

    Tarnwick::Test::TempDir m_dir;
    const std::string m_graph = m_dir.file("square.graphml");
};

TEST_F(CliGraphAlgorithms, EditsGraphsInPlaceAndSavesThem) {
    const std::string out = m_dir.file("out.graphml");
    const CliResult feature = cli({"run", "NodeToEdgeFeature", m_graph, "--set", "nodeFeatureName=radius", "--set",
                                   "mode=Difference", "-o", out});
    ASSERT_EQ(feature.exitCode, 0) << feature.err;
    EXPECT_TRUE(contains(readFile(out), R"(attr.name="NodeFeatureDifference")"));

    const CliResult smooth = cli({"run", "GraphSmoothing", m_graph, "--set", "mode=LaplacianHeatKernel", "--set",
                                  "smoothingStrength=2", "-o", out});
    ASSERT_EQ(smooth.exitCode, 0) << smooth.err;
    EXPECT_TRUE(contains(readFile(out), R"(<data key="y">2.5</data>)")) << "the tail's leaf is preserved";
    EXPECT_FALSE(contains(readFile(out), R"(<data key="x">3</data>)")) << "the square's corners moved";

    const CliResult missing = cli({"run", "NodeToEdgeFeature", m_graph, "--set", "nodeFeatureName=width"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(contains(missing.err, "Selected node feature does not exist.")) << missing.err;
}

TEST_F(CliGraphAlgorithms, ProducesNewGraphs) {
    const std::string tree = m_dir.file("tree.graphml");
    const CliResult mst = cli({"run", "MinimumSpanningTree", m_graph, "--set", "weightMode=EdgeLength", "-o", tree});
    ASSERT_EQ(mst.exitCode, 0) << mst.err;
    EXPECT_TRUE(contains(mst.out, "Output 1: Graph with 5 nodes and 4 edges\n")) << mst.out;
    EXPECT_TRUE(contains(readFile(tree), R"(attr.name="mstSortKey")"));

    const CliResult invalidRoot = cli({"run", "GraphReindexing", m_graph, "--set", "rootIndex=9"});
    EXPECT_EQ(invalidRoot.exitCode, 2) << "the root is bounded by the largest id";
    EXPECT_TRUE(contains(invalidRoot.err, "9 is above the maximum 5")) << invalidRoot.err;
}

} // namespace
