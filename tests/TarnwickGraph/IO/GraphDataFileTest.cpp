// Graphs inside the host's data file: the record plug-in registered with TarnwickFile as the graph
// plug-in does it, saved and loaded through the container.
#include "IOTestGraphs.h"

#include "../GraphComparison.h"
#include "support/TempDir.h"

#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

#include <sstream>

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
    Tarnwick::Test::TempDir m_dir;
};

TEST_F(GraphDataFile, GraphsComeBackExactlyWithTheirNames) {
    std::vector<std::unique_ptr<Graph>> graphs;
    graphs.push_back(makeRichGraph(Graph::Directed, Graph::Dim2D));
    graphs.push_back(makeRichGraph(Graph::Undirected, Graph::Dim3D));
    graphs.push_back(std::make_unique<Graph>(Graph::Directed, Graph::Dim3D));
    DataList list;
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        graphs[i]->setName("graph " + std::to_string(i));
        list.add(graphs[i].get());
    }
    const std::string path = m_dir.file("graphs.tnw");
    ASSERT_TRUE(TarnwickFile::save(path, list));
    auto loaded = TarnwickFile::load(path);
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->size(), graphs.size());
    for (std::size_t i = 0; i < graphs.size(); ++i) {
        const auto* graph = dynamic_cast<const Graph*>(loaded->get(i));
        ASSERT_TRUE(graph) << i;
        EXPECT_EQ(graph->name(), graphs[i]->name());
        EXPECT_TRUE(graphsEqual(*graphs[i], *graph)) << i;
    }
}

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

TEST_F(GraphDataFile, OnlyGraphsAreOurs) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    Data other("other");
    EXPECT_EQ(m_plugin->saveType(&graph), 158323u);
    EXPECT_EQ(m_plugin->saveType(&other), 0u);
    EXPECT_EQ(m_plugin->saveType(nullptr), 0u);
    EXPECT_EQ(std::unique_ptr<Data>(m_plugin->loadInstance(158324, 0)), nullptr);
    std::unique_ptr<Data> created(m_plugin->loadInstance(158323, 7));
    auto* fresh = dynamic_cast<Graph*>(created.get());
    ASSERT_TRUE(fresh);
    EXPECT_EQ(fresh->type(), Graph::Undirected);
    EXPECT_EQ(fresh->dimension(), Graph::Dim3D);
    std::ostringstream out;
    EXPECT_FALSE(m_plugin->save(&other, out, nullptr));
    EXPECT_FALSE(m_plugin->save(nullptr, out, nullptr));
    EXPECT_TRUE(out.str().empty());
}

} // namespace
} // namespace Tarnwick
