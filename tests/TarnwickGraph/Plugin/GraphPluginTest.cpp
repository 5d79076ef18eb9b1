#include "../GraphComparison.h"
#include "../IO/IOTestGraphs.h"

#include <TarnwickCore/Resource.h>
#include <TarnwickGraph/Algorithms/CombineGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>
#include <TarnwickGraph/Algorithms/DrawGraphAlgorithm.h>
#include <TarnwickGraph/Algorithms/EvaluateGraphAtImageAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphReindexingAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphToLabelMapAlgorithm.h>
#include <TarnwickGraph/Algorithms/GraphToPointCloudAlgorithm.h>
#include <TarnwickGraph/Algorithms/MinimumSpanningTreeAlgorithm.h>
#include <TarnwickGraph/Algorithms/NodeToEdgeFeatureAlgorithm.h>
#include <TarnwickGraph/Algorithms/PartitionGraphsAlgorithm.h>
#include <TarnwickGraph/Algorithms/PruneTerminalPathsAlgorithm.h>
#include <TarnwickGraph/Algorithms/TransferGraphFeatureToMeshAlgorithm.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/IO/GraphTarnwickFilePlugin.h>
#include <TarnwickGraph/Plugin/GraphDataAnnotationFactory.h>
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickGraph/Plugin/GraphPluginFactory.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Data/Mesh.h>
#include <TarnwickLib/Data/PointCloud.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

extern "C" {
Tarnwick::PluginBase* tarnwickCreatePlugin();
}

namespace Tarnwick {
namespace {

using Test::graphsEqual;
using Test::makeRichGraph;

TarnwickFilePlugin* graphFilePlugin() {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    for (TarnwickFilePlugin* plugin : TarnwickFile::plugins())
        if (plugin->saveType(&graph) == GraphTarnwickFilePlugin::graphTypeId)
            return plugin;
    return nullptr;
}

TEST(GraphPlugin, InitRegistersFactoriesAndTheGraphRecordUntilItIsDestroyed) {
    ASSERT_EQ(graphFilePlugin(), nullptr);
    std::unique_ptr<PluginBase> plugin(tarnwickCreatePlugin());
    ASSERT_EQ(plugin->init(), 0);

    FactoryRegistry& registry = FactoryRegistry::get();
    const auto graphML = registry.findAlgorithm("GraphMLIo");
    ASSERT_TRUE(graphML);
    EXPECT_EQ(graphML->factoryName, "Graph");
    EXPECT_EQ(graphML->menuName, "IO;Graph (graphml)");
    const auto graph = makeRichGraph(Graph::Directed, Graph::Dim3D);
    EXPECT_EQ(registry.describe(*graph), "Graph with 3 nodes and 4 edges");
    const auto copy = registry.cloneData(graph.get());
    ASSERT_TRUE(dynamic_cast<Graph*>(copy.get()));
    EXPECT_TRUE(graphsEqual(*graph, static_cast<Graph&>(*copy)));
    TarnwickFilePlugin* record = graphFilePlugin();
    ASSERT_NE(record, nullptr);
    const std::string shader = "TarnwickGraph/GraphToLabelVessel.comp";
    EXPECT_TRUE(Resource::read(shader));

    plugin.reset();
    EXPECT_FALSE(registry.findAlgorithm("GraphMLIo"));
    EXPECT_FALSE(Resource::read(shader));
    EXPECT_NE(registry.describe(*graph), "Graph with 3 nodes and 4 edges");
    // The data file owns the record plug-in; the plug-in manager removes it when it unloads a library.
    EXPECT_TRUE(TarnwickFile::removePlugin(record));
}

TEST(GraphPluginFactory, RegistersInCatalogueOrderWithExactNames) {
    const std::pair<const char*, const char*> catalogue[] = {
        {"CenterlineGraphExtraction", "Graph;Centerline Graph Extraction"},
        {"CombineGraphs", "Graph;Combine Graphs"},
        {"ComputeFeatures", "Graph;Compute Features"},
        {"PartitionGraphs", "Graph;Partition Graphs"},
        {"GraphSmoothing", "Graph;Graph Smoothing"},
        {"GraphToPointCloud", "Graph;Extract Point Cloud"},
        {"GraphReindexing", "Graph;Reindex Graph"},
        {"MinimumSpanningTree", "Graph;Minimum Spanning Tree"},
        {"NodeToEdgeFeature", "Graph;Node To Edge Feature"},
        {"PruneTerminalPaths", "Graph;Prune Terminal Paths"},
        {"DrawGraphAlgorithm", "Graph;Draw or edit Graph"},
        {"EvaluateGraphAtImage", "Graph;Evaluate Graph At Image"},
        {"GraphMLIo", "IO;Graph (graphml)"},
        {"TransferGraphFeatureToMeshAlgorithm", "Graph;Transfer Graph Feature To Mesh"},
        {"GraphToLabelMapAlgorithm", "Graph;Graph To Label Map"},
    };
    std::vector<std::pair<std::string, std::string>> expected;
    for (const auto& [id, menuName] : catalogue)
        expected.emplace_back(id, menuName);
    GraphPluginFactory factory;
    EXPECT_EQ(factory.name(), "Graph");
    std::vector<std::pair<std::string, std::string>> registered;
    for (const auto& entry : factory.entries()) {
        registered.emplace_back(entry.id, entry.menuName);
        EXPECT_EQ(entry.flags, 0) << entry.id;
        EXPECT_TRUE(entry.presets.empty()) << entry.id;
        EXPECT_NE(entry.createCompatible, nullptr) << entry.id;
    }
    EXPECT_EQ(registered, expected) << "every catalogue entry, in catalogue order";
}

template <class T>
::testing::AssertionResult creates(const GraphPluginFactory& factory, const char* id, const DataList& selection) {
    const std::unique_ptr<Algorithm> algorithm = factory.create(id, selection);
    if (dynamic_cast<T*>(algorithm.get()))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << id << " did not create its own algorithm";
}

TEST(GraphPluginFactory, EachIdCreatesItsOwnAlgorithmFromASelectionItAccepts) {
    const GraphPluginFactory factory;
    Graph graph(Graph::Undirected, Graph::Dim3D), other(Graph::Undirected, Graph::Dim3D);
    SharedImageSet image(std::make_shared<SharedImage>(std::shared_ptr<MemImage>(TypedImage<float>::zeros({4, 4, 4}))));
    Mesh mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    EXPECT_TRUE(creates<CombineGraphsAlgorithm>(factory, "CombineGraphs", {&graph, &other}));
    EXPECT_TRUE(creates<ComputeCommonGraphFeaturesAlgorithm>(factory, "ComputeFeatures", {&graph}));
    EXPECT_TRUE(creates<PartitionGraphsAlgorithm>(factory, "PartitionGraphs", {&graph}));
    EXPECT_TRUE(creates<GraphSmoothingAlgorithm>(factory, "GraphSmoothing", {&graph}));
    EXPECT_TRUE(creates<GraphToPointCloudAlgorithm>(factory, "GraphToPointCloud", {&graph}));
    EXPECT_TRUE(creates<GraphReindexingAlgorithm>(factory, "GraphReindexing", {&graph}));
    EXPECT_TRUE(creates<MinimumSpanningTreeAlgorithm>(factory, "MinimumSpanningTree", {&graph}));
    EXPECT_TRUE(creates<NodeToEdgeFeatureAlgorithm>(factory, "NodeToEdgeFeature", {&graph}));
    EXPECT_TRUE(creates<PruneTerminalPathsAlgorithm>(factory, "PruneTerminalPaths", {&graph}));
    EXPECT_TRUE(creates<DrawGraphAlgorithm>(factory, "DrawGraphAlgorithm", {}));
    EXPECT_TRUE(creates<DrawGraphAlgorithm>(factory, "DrawGraphAlgorithm", {&graph}));
    EXPECT_TRUE(creates<EvaluateGraphAtImageAlgorithm>(factory, "EvaluateGraphAtImage", {&graph, &image}));
    EXPECT_TRUE(
        creates<TransferGraphFeatureToMeshAlgorithm>(factory, "TransferGraphFeatureToMeshAlgorithm", {&graph, &mesh}));
    EXPECT_TRUE(creates<GraphToLabelMapAlgorithm>(factory, "GraphToLabelMapAlgorithm", {&graph, &image}));
    EXPECT_FALSE(factory.isCompatible("CombineGraphs", DataList{&graph}));
    EXPECT_FALSE(factory.isCompatible("PartitionGraphs", DataList{&graph, &other}));
    EXPECT_FALSE(factory.isCompatible("PruneTerminalPaths", DataList{}));
    EXPECT_FALSE(factory.isCompatible("DrawGraphAlgorithm", DataList{&graph, &other}));
}

TEST(DrawGraphAlgorithm, ComputeCreatesOneGraphOfTheChosenKindOrNoneWhenEditing) {
    DrawGraphAlgorithm create(nullptr);
    ASSERT_TRUE(create.type.setFromString("Directed") == std::nullopt);
    ASSERT_TRUE(create.dimension.setFromString("3D") == std::nullopt);
    create.compute();
    ASSERT_EQ(create.output().size(), 1u);
    bool firstDeleted = false;
    create.output().get(0)->signalDeleted.connect([&](const Data*) { firstDeleted = true; });
    create.compute(); // the graph nobody took is replaced
    EXPECT_TRUE(firstDeleted);
    ASSERT_EQ(create.output().size(), 1u);
    const auto* graph = dynamic_cast<const Graph*>(create.output().get(0));
    ASSERT_TRUE(graph);
    EXPECT_EQ(graph->type(), Graph::Directed);
    EXPECT_EQ(graph->dimension(), Graph::Dim3D);
    EXPECT_EQ(graph->numNodes(), 0u);
    EXPECT_EQ(create.status(), Algorithm::Success);

    const auto edited = makeRichGraph(Graph::Undirected, Graph::Dim2D);
    const auto before = makeRichGraph(Graph::Undirected, Graph::Dim2D);
    DrawGraphAlgorithm edit(edited.get());
    edit.compute();
    EXPECT_EQ(edit.status(), Algorithm::Success);
    EXPECT_TRUE(edit.takeOutput().empty());
    EXPECT_TRUE(graphsEqual(*before, *edited));
}

TEST(GraphDataAnnotationFactory, CloneIsACompleteIndependentCopy) {
    GraphDataAnnotationFactory factory;
    auto original = makeRichGraph(Graph::Undirected, Graph::Dim2D);
    original->setName("vessels");
    original->components().getOrAdd<GraphDisplayOptions>().generalOptions->lineWidth = 7.0;

    std::unique_ptr<Data> data(factory.cloneData(original.get()));
    auto* copy = dynamic_cast<Graph*>(data.get());
    ASSERT_TRUE(copy);
    EXPECT_TRUE(graphsEqual(*original, *copy));
    EXPECT_EQ(copy->name(), "vessels");
    EXPECT_TRUE(copy->components() == original->components());

    // Changing the copy leaves the original alone.
    const auto snapshot = makeRichGraph(Graph::Undirected, Graph::Dim2D);
    copy->addNode({});
    copy->editEdge(1, 2, [](Graph::EdgeInfo& edge) { edge.features[0] = 99.0; });
    copy->editNode(2, [](Graph::NodeInfo& node) { node.attributes.setParam("count", 4); });
    copy->removeNode(4);
    copy->getOrCreateNodeFeatureIdx("extra", 0.0);
    copy->components().get<GraphDisplayOptions>()->generalOptions->lineWidth = 1.0;
    EXPECT_TRUE(graphsEqual(*snapshot, *original));
    EXPECT_EQ(original->components().get<GraphDisplayOptions>()->generalOptions->lineWidth.value(), 7.0);

    EXPECT_EQ(factory.cloneData(nullptr), nullptr);
    PointCloud cloud({Eigen::Vector3d::Zero()});
    EXPECT_EQ(factory.cloneData(&cloud), nullptr);
}

} // namespace
} // namespace Tarnwick
