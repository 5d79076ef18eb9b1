// Loads libTarnwickGraph.so the way the applications do, through the plug-in manager. This executable
// does not link the plug-in, so everything is reached through the host's registries.
#include "support/LogCapture.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/IoAlgorithm.h>
#include <TarnwickLib/IO/TarnwickFile.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

constexpr unsigned int graphTypeId = 158323;
const std::string smallTree = std::string(TARNWICK_SOURCE_DIR) + "/tests/data/graphml/small-tree.graphml";

bool graphRecordRegistered() {
    for (TarnwickFilePlugin* plugin : TarnwickFile::plugins())
        if (std::unique_ptr<Data>(plugin->loadInstance(graphTypeId, 0)))
            return true;
    return false;
}

/// Loads a GraphML file through the catalogue's GraphMLIo loader.
std::unique_ptr<Data> loadGraphML(const std::string& path) {
    auto loader = FactoryRegistry::get().createAlgorithm("GraphMLIo", DataList{});
    if (!loader)
        return nullptr;
    static_cast<IoAlgorithm&>(*loader).setLocation(path);
    loader->compute();
    EXPECT_EQ(loader->status(), Algorithm::Success);
    auto output = loader->takeOutput().release();
    return output.size() == 1 ? std::move(output[0]) : nullptr;
}

TEST(GraphPluginLoading, TheHostLoadsThePluginUsesItAndUnloadsIt) {
    Tarnwick::Test::LogCapture log(Log::Warning);
    FactoryRegistry& registry = FactoryRegistry::get();
    PluginManager manager;
    manager.loadLibraries({GRAPH_PLUGIN_PATH});
    ASSERT_EQ(manager.loadedPlugins().size(), 1u)
        << (manager.refusedPlugins().empty() ? "" : manager.refusedPlugins()[0].reason);
    const auto loaded = manager.loadedPlugins()[0];
    EXPECT_EQ(loaded.id, "Tarnwick.Graph");
    EXPECT_EQ(loaded.description, "Plugin for working with graphs");
    EXPECT_EQ(loaded.pluginVersion, "");
    EXPECT_TRUE(log.warnings().empty());

    const auto info = registry.findAlgorithm("GraphMLIo");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->menuName, "IO;Graph (graphml)");
    EXPECT_TRUE(graphRecordRegistered());
    {
        std::unique_ptr<Data> graph = loadGraphML(smallTree);
        ASSERT_TRUE(graph);
        EXPECT_EQ(registry.describe(*graph), "Graph with 3 nodes and 2 edges");
    } // data made by the plug-in goes before its library does

    manager.unloadAll();
    EXPECT_FALSE(registry.findAlgorithm("GraphMLIo"));
    EXPECT_FALSE(graphRecordRegistered());
}

} // namespace
} // namespace Tarnwick
