// tarnwick-cli run with graph plug-in algorithms that make new graphs (partitioning, combining) or check
// parameters against their input graph (reindexing), on a small GraphML file.
#include "CliRunner.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

namespace {

using Tarnwick::Test::CliResult;
using Tarnwick::Test::contains;
using Tarnwick::Test::readFile;

/// The values of one GraphML data key, in file order.
std::vector<double> dataValues(const std::string& text, const std::string& key) {
    std::vector<double> values;
    const std::regex pattern("<data key=\"" + key + "\">([^<]*)</data>");
    for (auto it = std::sregex_iterator(text.begin(), text.end(), pattern); it != std::sregex_iterator(); ++it)
        values.push_back(std::stod((*it)[1].str()));
    return values;
}

/// A centerline along z at x = y = 8 from z = 2 to 13 with a spur of length 1 at z = 7, and a separate
/// pair of nodes far away.
std::string centerlineGraphML() {
    std::string nodes, edges;
    auto node = [&](int id, double x, double y, double z) {
        nodes += "<node id=\"n" + std::to_string(id) + "\"><data key=\"x\">" + std::to_string(x) +
                 "</data><data key=\"y\">" + std::to_string(y) + "</data><data key=\"z\">" + std::to_string(z) +
                 "</data></node>\n";
    };
    auto edge = [&](int a, int b) {
        edges += "<edge source=\"n" + std::to_string(a) + "\" target=\"n" + std::to_string(b) + "\"/>\n";
    };
    for (int z = 2; z <= 13; ++z) {
        node(z, 8, 8, z);
        if (z > 2)
            edge(z - 1, z);
    }
    node(20, 8, 9, 7);
    edge(7, 20);
    node(30, 40, 40, 40);
    node(31, 41, 40, 40);
    edge(30, 31);
    return R"(<?xml version="1.0" encoding="utf-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="x" for="node" attr.name="x" attr.type="double"/>
  <key id="y" for="node" attr.name="y" attr.type="double"/>
  <key id="z" for="node" attr.name="z" attr.type="double"/>
  <graph id="G" edgedefault="undirected">
)" + nodes +
           edges + "  </graph>\n</graphml>\n";
}

class CliFeaturesPartition : public testing::Test {
protected:
    void SetUp() override { std::ofstream(m_graph) << centerlineGraphML(); }

    CliResult cli(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--no-default-plugins", "--plugin-dir", GRAPH_PLUGIN_DIR});
        return Tarnwick::Test::runCli(arguments);
    }

    Tarnwick::Test::TempDir m_dir;
    const std::string m_graph = m_dir.file("centerline.graphml");
};

TEST_F(CliFeaturesPartition, PartitionsCombinesAndChecksGraphBoundParameters) {
    const std::string large = m_dir.file("large.graphml"), small = m_dir.file("small.graphml");
    const CliResult parts = cli({"run", "PartitionGraphs", m_graph, "-o", large, "-o", small});
    ASSERT_EQ(parts.exitCode, 0) << parts.err;
    EXPECT_TRUE(contains(parts.out, "Output 1: Graph with 13 nodes and 12 edges\n")) << parts.out;
    EXPECT_TRUE(contains(parts.out, "Output 2: Graph with 2 nodes and 1 edges\n")) << parts.out;

    const CliResult filtered = cli({"run", "PartitionGraphs", m_graph, "--set", "minComponentSize=3"});
    ASSERT_EQ(filtered.exitCode, 0) << filtered.err;
    EXPECT_FALSE(contains(filtered.out, "Output 2:")) << filtered.out;

    const std::string combined = m_dir.file("combined.graphml");
    const CliResult combine = cli({"run", "CombineGraphs", small, large, "-o", combined});
    ASSERT_EQ(combine.exitCode, 0) << combine.err;
    EXPECT_TRUE(contains(combine.out, "Output 1: Graph with 15 nodes and 13 edges\n")) << combine.out;
    EXPECT_EQ(dataValues(readFile(combined), "x").front(), 40.0) << "the first input's nodes come first";

    // A parameter bounded by the input graph (15 nodes, numbered from 1 on import) is checked before the run.
    const CliResult invalidRoot = cli({"run", "GraphReindexing", m_graph, "--set", "rootIndex=99"});
    EXPECT_EQ(invalidRoot.exitCode, 2);
    EXPECT_TRUE(contains(invalidRoot.err, "99 is above the maximum 15")) << invalidRoot.err;
}

} // namespace
