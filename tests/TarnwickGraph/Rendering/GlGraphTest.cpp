#include "TarnwickGL/GlTestContext.h"
#include "TarnwickGL/View/ViewPicture.h"

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>
#include <TarnwickGraph/Rendering/GlGraph.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

using GlGraphTest = Test::GlTest;
using Test::renderPicture;
using Test::ViewPicture;

const Eigen::Vector4i black(0, 0, 0, 255);

/// World point at the centre of pixel (px, py) of the axial test view (64 x 64 pixels, 1 mm per pixel,
/// centred on the origin), at depth z.
Eigen::Vector3d atPixel(double px, double py, double z = 0.0) {
    return {px - 32 + 0.5, py - 32 + 0.5, z};
}

std::unique_ptr<GlSliceView> axialView() {
    auto view = std::make_unique<GlSliceView>(GlSliceView::Axial);
    view->resize(64, 64);
    view->setPixelSize(1.0);
    return view;
}

struct Edge {
    unsigned long from, to;
    double value; ///< of the edge feature "w"
};

/// Nodes 1..n at the positions (node feature "v" = the node's id), the edges with feature "w".
std::unique_ptr<Graph> makeGraph(const std::vector<Eigen::Vector3d>& nodes, const std::vector<Edge>& edges,
                                 Graph::Dimension dimension = Graph::Dim3D) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, dimension);
    const int w = graph->getOrCreateEdgeFeatureIdx("w", 0.0);
    const int v = graph->getOrCreateNodeFeatureIdx("v", 0.0);
    for (const auto& p : nodes) {
        const unsigned long id = graph->addNode(Graph::NodeInfo(p, {}));
        graph->editNode(id, [&](Graph::NodeInfo& node) { node.features[v] = static_cast<double>(id); });
    }
    for (const Edge& e : edges) {
        Graph::EdgeInfo info;
        graph->fixEdgeInfo(info);
        info.features[w] = e.value;
        graph->addEdge(e.from, e.to, info);
    }
    return graph;
}

GraphDisplayOptions& optionsOf(Graph& graph) {
    return *graph.components().get<GraphDisplayOptions>();
}

ViewPicture render(GlView& view, GlGraph& object) {
    view.addObject(&object);
    ViewPicture picture = renderPicture(view);
    view.removeObject(&object);
    return picture;
}

int litPixels(const ViewPicture& picture) {
    int count = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            count += picture.isBlack(x, y) ? 0 : 1;
    return count;
}

Eigen::Vector4i bytes(const Eigen::Vector4f& color) {
    return (color * 255.0f).array().round().cast<int>();
}

::testing::AssertionResult near(const Eigen::Vector4i& actual, const Eigen::Vector4i& expected) {
    if ((actual - expected).cwiseAbs().maxCoeff() <= 2)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << actual.transpose() << ", expected " << expected.transpose();
}

TEST_F(GlGraphTest, NodesTakeThePointColourAndEdgesTheirMappedFeatureColour) {
    // An isolated node, and a chain 2 - 3 - 4 along row 40 whose edges carry "w" = 2 and 8.
    auto graph =
        makeGraph({atPixel(10, 10), atPixel(12, 40), atPixel(32, 40), atPixel(52, 40)}, {{2, 3, 2.0}, {3, 4, 8.0}});
    GraphDisplayOptions& options = optionsOf(*graph);
    auto view = axialView();
    GlGraph object(graph.get());

    // Points in the point colour (the isolated node), lines in the line colour.
    ViewPicture picture = render(*view, object);
    EXPECT_TRUE(near(picture.at(10, 10), Eigen::Vector4i(255, 0, 0, 255)));
    EXPECT_TRUE(near(picture.at(12, 37), Eigen::Vector4i(255, 0, 0, 255))) << "leaf point beside its line";
    EXPECT_TRUE(near(picture.at(22, 40), Eigen::Vector4i(0, 0, 255, 255)));
    EXPECT_TRUE(picture.isBlack(32, 37)) << "a degree-2 node draws no point";

    // Coloured by the edge feature without a mapper: the feature's range, so the ends of the colour map.
    options.featureColorMapOptions->edgeFeatureName = std::string("w");
    options.featureColorMapOptions->colormap = Colormap::Jet;
    const auto jet = Colormap::table(Colormap::Jet, GraphFeatureColorMapper::defaultEntries);
    picture = render(*view, object);
    EXPECT_TRUE(near(picture.at(22, 40), bytes(jet.front())));
    EXPECT_TRUE(near(picture.at(42, 40), bytes(jet.back())));

    // With the graph's mapper: the mapper's colour of each value at the edge's midpoint.
    auto& mapper = graph->components().getOrAdd<GraphFeatureColorMapper>();
    mapper.update(Colormap::Viridis, 256, 0.0, 10.0);
    picture = render(*view, object);
    EXPECT_TRUE(near(picture.at(22, 40), bytes(mapper(2.0))));
    EXPECT_TRUE(near(picture.at(42, 40), bytes(mapper(8.0))));

    // By a node feature ("v" = node id 2, 3, 4 over [2, 4]): each line end takes its own node's colour,
    // blended along the line.
    options.generalOptions->drawPoints = false;
    options.featureColorMapOptions->edgeFeatureName = std::nullopt;
    options.featureColorMapOptions->nodeFeatureName = std::string("v");
    mapper.update(Colormap::Viridis, 256, 2.0, 4.0);
    picture = render(*view, object);
    const auto blend = [&](double a, double b, float t) { return bytes((1 - t) * mapper(a) + t * mapper(b)); };
    EXPECT_TRUE(near(picture.at(17, 40), blend(2.0, 3.0, 0.25f)));
    EXPECT_TRUE(near(picture.at(42, 40), blend(3.0, 4.0, 0.5f)));
}

TEST_F(GlGraphTest, HiddenPartsDrawNothing) {
    // A square cycle: every node has degree 2.
    const auto cycle = [] {
        return makeGraph({atPixel(16, 16), atPixel(48, 16), atPixel(48, 48), atPixel(16, 48)},
                         {{1, 2, 1}, {2, 3, 1}, {3, 4, 1}, {4, 1, 1}});
    };
    struct Case {
        const char* name;
        std::function<void(Graph&, GlGraph&)> change;
        bool drawsSomething;
    };
    const Case cases[] = {
        {"defaults", [](Graph&, GlGraph&) {}, true},
        {"points and lines off",
         [](Graph& g, GlGraph&) {
             optionsOf(g).generalOptions->drawPoints = false;
             optionsOf(g).generalOptions->drawLines = false;
         },
         false},
        {"object hidden", [](Graph&, GlGraph& o) { o.setVisible(false); }, false},
        {"no display options", [](Graph& g, GlGraph&) { g.components().remove<GraphDisplayOptions>(); }, false},
        {"only nontrivial nodes of a cycle", [](Graph& g, GlGraph&) { optionsOf(g).generalOptions->drawLines = false; },
         false},
        {"every node of a cycle",
         [](Graph& g, GlGraph&) {
             optionsOf(g).generalOptions->drawLines = false;
             optionsOf(g).generalOptions->onlyDrawNontrivialNodes = false;
         },
         true},
        {"circles of a feature the graph lacks",
         [](Graph& g, GlGraph&) {
             optionsOf(g).generalOptions->drawLines = false;
             optionsOf(g).featureCircleOptions->featureName = std::string("missing");
         },
         false},
        {"graph detached", [](Graph&, GlGraph& o) { o.setGraph(nullptr); }, false},
    };
    auto view = axialView();
    for (const Case& c : cases) {
        auto graph = cycle();
        GlGraph object(graph.get());
        c.change(*graph, object);
        EXPECT_EQ(litPixels(render(*view, object)) > 0, c.drawsSomething) << c.name;
    }
}

TEST_F(GlGraphTest, CircleRadiusInPixelsFollowsTheScalingMode) {
    // One edge along the viewing direction at pixel (32, 32), so its circle appears as a ring in the view.
    using Options = GraphDisplayOptions::FeatureCircleOptions;
    struct Case {
        Options::ScalingMode mode;
        double value;    ///< of "w"
        double diameter; ///< of the edge's "diameter": the reference radius is half of it
        double radiusMm;
    };
    const Case cases[] = {
        {Options::Raw, 5.0, 100.0, 5.0},
        {Options::RescaledMax, 3.0, 16.0, 8.0},  // 3 * 8 / 3
        {Options::Logarithmic, 7.0, 24.0, 12.0}, // 12 * log1p(7) / log1p(7)
        {Options::RescaledMax, -6.0, 16.0, 6.0}, // max <= 0: the raw value (a radius of -6 draws as 6)
    };
    auto view = axialView();
    for (const Case& c : cases) {
        auto graph = makeGraph({atPixel(32, 32, -0.5), atPixel(32, 32, 0.5)}, {{1, 2, c.value}});
        graph->editEachEdge([&](Graph::EdgeInfo& e, unsigned long, unsigned long) { e.features[0] = c.diameter; });
        GraphDisplayOptions& options = optionsOf(*graph);
        options.generalOptions->drawPoints = false;
        options.generalOptions->drawLines = false;
        options.featureCircleOptions->featureName = std::string("w");
        options.featureCircleOptions->scalingMode = c.mode;
        GlGraph object(graph.get());
        const ViewPicture picture = render(*view, object);

        // Along each axis from the centre, the ring's pixels (2 pixels wide) straddle the radius.
        const int r = static_cast<int>(std::lround(c.radiusMm));
        for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
            std::vector<int> ring;
            for (int d = 0; d < 20; ++d)
                if (picture.at(32 + d * dx, 32 + d * dy).y() > 128)
                    ring.push_back(d);
            ASSERT_FALSE(ring.empty()) << "mode " << c.mode;
            EXPECT_GE(ring.front(), r - 1) << "mode " << c.mode;
            EXPECT_LE(ring.back(), r + 1) << "mode " << c.mode;
        }
    }
}

TEST_F(GlGraphTest, FollowsItsGraphsPlacementAndDeletion) {
    auto graph = makeGraph({atPixel(20, 20)}, {});
    auto view = axialView();
    GlGraph object(graph.get());
    EXPECT_FALSE(render(*view, object).isBlack(20, 20));

    Eigen::Matrix4d moved = Eigen::Matrix4d::Identity();
    moved(0, 3) = 10.0;
    graph->setMatrixToWorld(moved);
    const ViewPicture picture = render(*view, object);
    EXPECT_TRUE(picture.isBlack(20, 20));
    EXPECT_FALSE(picture.isBlack(30, 20));

    graph.reset();
    EXPECT_EQ(object.graph(), nullptr);
    EXPECT_EQ(litPixels(render(*view, object)), 0);
}

} // namespace
} // namespace Tarnwick
