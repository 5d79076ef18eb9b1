// Graphs inside the host's data file: the record plug-in registered with TarnwickFile as the graph
// plug-in does it, saved and loaded through the container.
#include "IOTestGraphs.h"

#include "../GraphComparison.h"

#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

using Test::graphsEqual;
using Test::makeRichGraph;

class GraphDataFile : public testing::Test {
protected:
    void SetUp() override {
        auto plugin = std::make_unique<GraphTarnwickFilePlugin>();
        m_plugin = plugin.get();
        TarnwickFile::addPlugin(std::move(plugin));
    }
    void TearDown() override { TarnwickFile::removePlugin(m_plugin); }

    GraphTarnwickFilePlugin* m_plugin = nullptr;
};

TEST_F(GraphDataFile, TheStoredDataFileStillLoads) {
    // graphs.tnw holds makeRichGraph(Undirected, Dim3D) named "rich" and a new empty graph named "empty".
    auto loaded = TarnwickFile::load(std::string(TARNWICK_SOURCE_DIR) + "/tests/data/graph-record/graphs.tnw");
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->size(), 2u);
    EXPECT_EQ(loaded->get(0)->name(), "rich");
    EXPECT_EQ(loaded->get(1)->name(), "empty");
    EXPECT_TRUE(graphsEqual(*makeRichGraph(Graph::Undirected, Graph::Dim3D), dynamic_cast<Graph&>(*loaded->get(0))));
    EXPECT_TRUE(graphsEqual(Graph(Graph::Undirected, Graph::Dim3D), dynamic_cast<Graph&>(*loaded->get(1))));
}

} // namespace
} // namespace Tarnwick
