#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickGraph/Rendering/GlGraph.h>
#include <TarnwickGraph/Rendering/GraphDisplayHandler.h>
#include <TarnwickLib/Data/PointCloud.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

// Everything here runs without drawing, so no OpenGL context is needed.
namespace Tarnwick {
namespace {

std::unique_ptr<GlView> makeView(int kind) {
    if (kind == 2)
        return std::make_unique<GlVolumeView>();
    auto slice = std::make_unique<GlSliceView>();
    slice->setFlat(kind == 1);
    return slice;
}

TEST(GraphDisplayHandler, GraphsGoToTheViewsOfTheirDimension) {
    struct Case {
        int viewKind; ///< 0 flat 2-D slice view, 1 slice view of the 3-D scene, 2 volume view
        Graph::Dimension dimension;
        bool showInAllViews;
        bool canBeShown; ///< by the handler
        bool drawn;      ///< by the object's view filter
    };
    const Case cases[] = {
        {0, Graph::Dim2D, false, true, true},   {1, Graph::Dim2D, false, false, false},
        {2, Graph::Dim2D, false, false, false}, {0, Graph::Dim3D, false, false, false},
        {1, Graph::Dim3D, false, true, true},   {2, Graph::Dim3D, false, true, true},
        {0, Graph::Dim3D, true, false, true},   {1, Graph::Dim2D, true, false, false},
    };
    GraphDisplayHandler handler;
    for (const Case& c : cases) {
        const Graph graph(Graph::Undirected, c.dimension);
        const auto view = makeView(c.viewKind);
        ASSERT_EQ(view->kind(), c.viewKind);
        EXPECT_EQ(handler.canBeShownInView(graph, *view), c.canBeShown) << c.viewKind << " " << c.dimension;
        EXPECT_EQ(GlGraph::isDrawnInViewKind(c.dimension, c.viewKind, c.showInAllViews), c.drawn)
            << c.viewKind << " " << c.dimension << " " << c.showInAllViews;
    }
    const PointCloud cloud({Eigen::Vector3d::Zero()});
    EXPECT_FALSE(handler.handlesType(cloud));
    EXPECT_FALSE(handler.canBeShownInView(cloud, *makeView(2)));
}

TEST(GraphDisplayHandler, KeepsOneObjectPerGraphAndViewUntilHiddenOrGone) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    auto other = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    GlVolumeView volume;
    auto slice = std::make_unique<GlSliceView>();
    GraphDisplayHandler handler;

    handler.show(*graph, volume);
    handler.show(*graph, volume); // once per graph and view
    handler.show(*graph, *slice);
    handler.show(*other, volume);
    ASSERT_EQ(volume.objects().size(), 2u);
    GlGraph* shown = handler.object(*graph, volume);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->graph(), graph.get());
    EXPECT_EQ(volume.objects().front(), shown);

    handler.hide(*graph, volume);
    EXPECT_EQ(handler.object(*graph, volume), nullptr);
    EXPECT_EQ(volume.objects().size(), 1u);
    EXPECT_NE(handler.object(*graph, *slice), nullptr);

    handler.onViewDeleted(*slice); // forgets the view's objects without touching the view
    EXPECT_EQ(handler.object(*graph, *slice), nullptr);
    EXPECT_EQ(slice->objects().size(), 1u);
    slice.reset();

    other.reset(); // a deleted graph leaves its views
    EXPECT_TRUE(volume.objects().empty());
}

TEST(GraphDisplayHandler, OptionsAndLegendComeFromTheGraph) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d::Zero(), {}));
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d::UnitX(), {}));
    graph.addNode(Graph::NodeInfo(Eigen::Vector3d::UnitY(), {}));
    graph.addEdge(1, 2, Graph::EdgeInfo({1.5}));
    graph.addEdge(1, 3, Graph::EdgeInfo({4.5}));
    GraphDisplayHandler handler;

    EXPECT_EQ(handler.displayOptions(graph), graph.components().get<GraphDisplayOptions>());
    graph.components().remove<GraphDisplayOptions>();
    EXPECT_EQ(handler.legend(graph), std::nullopt);
    ASSERT_NE(handler.displayOptions(graph), nullptr); // a default set is added
    GraphDisplayOptions& options = *graph.components().get<GraphDisplayOptions>();
    EXPECT_EQ(options, GraphDisplayOptions());
    EXPECT_EQ(handler.legend(graph), std::nullopt);

    // A colour feature the graph lacks gives no legend; one it has gives the feature's range until a
    // mapper is set up, then the mapper's.
    options.featureColorMapOptions->nodeFeatureName = std::string("diameter");
    EXPECT_EQ(handler.legend(graph), std::nullopt);
    options.featureColorMapOptions->nodeFeatureName = std::nullopt;
    options.featureColorMapOptions->edgeFeatureName = std::string("diameter");
    options.featureColorMapOptions->colormap = Colormap::HotIron;
    auto legend = handler.legend(graph);
    ASSERT_TRUE(legend);
    EXPECT_EQ(legend->title, "diameter");
    EXPECT_EQ(legend->preset, Colormap::HotIron);
    EXPECT_EQ(legend->min, 1.5);
    EXPECT_EQ(legend->max, 4.5);
    EXPECT_EQ(graph.components().get<GraphFeatureColorMapper>(), nullptr) << "asking for a legend changes nothing";

    // Showing the graph attaches that mapper; the data controller's changes to it show in the legend.
    GlVolumeView view;
    handler.show(graph, view);
    auto* mapper = graph.components().get<GraphFeatureColorMapper>();
    ASSERT_NE(mapper, nullptr);
    EXPECT_EQ(*mapper, GraphFeatureColorMapper(Colormap::HotIron, 256, 1.5, 4.5));
    mapper->update(Colormap::Viridis, 256, 0.0, 10.0);
    legend = handler.legend(graph);
    ASSERT_TRUE(legend);
    EXPECT_EQ(legend->preset, Colormap::Viridis);
    EXPECT_EQ(legend->max, 10.0);
    handler.hide(graph, view);
}

TEST(GraphDisplayHandler, ThePluginRegistersItWhileLoaded) {
    DataDisplayHandlerFactory& factory = DataDisplayHandlerFactory::instance();
    const Graph graph(Graph::Undirected, Graph::Dim3D);
    const auto isRegistered = [&] {
        const auto names = factory.names();
        return std::find(names.begin(), names.end(), "Tarnwick.GraphDisplayHandler") != names.end();
    };
    {
        GraphPlugin plugin;
        ASSERT_EQ(plugin.init(), 0);
        EXPECT_TRUE(isRegistered());
        EXPECT_NE(dynamic_cast<GraphDisplayHandler*>(factory.handlerFor(graph)), nullptr);
        EXPECT_NE(dynamic_cast<GraphDisplayHandler*>(factory.create("Tarnwick.GraphDisplayHandler").get()), nullptr);
    }
    EXPECT_FALSE(isRegistered());
    EXPECT_EQ(factory.handlerFor(graph), nullptr);
}

} // namespace
} // namespace Tarnwick
