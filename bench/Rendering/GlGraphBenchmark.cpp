// Drawing a synthetic centerline tree of 100,000 or 1,000,000 edges (the benchmark's argument) with
// GlGraph in a 1280 x 800 volume view (headless context): the vertex data are rebuilt from the graph on every draw, so a frame costs
// gathering, uploading and drawing. Time per frame, finished with glFinish.
#include "CenterlineTreeGraph.h"

#include <TarnwickGL/GL/Framebuffer.h>
#include <TarnwickGL/GL/OffscreenContext.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>
#include <TarnwickGraph/Rendering/GlGraph.h>

#include <benchmark/benchmark.h>
#include <epoxy/gl.h>

#include <memory>
#include <string>

namespace {

using namespace Tarnwick;

/// One context and view, and one graph per edge count, for the whole program.
struct Scene {
    std::unique_ptr<GL::OffscreenContext> context;
    std::unique_ptr<Graph> graph;
    std::unique_ptr<GL::Framebuffer> target;
    std::unique_ptr<GlVolumeView> view;
    std::string error;

    explicit Scene(int edges) {
        context = GL::OffscreenContext::create(&error);
        if (!context)
            return;
        Bench::CenterlineTreeOptions options;
        options.pointCount = edges + 1;
        graph = Bench::centerlineTreeGraph(Bench::generateCenterlineTree(options), 0.3);
        int index = 0;
        graph->editEachEdge([&](Graph::EdgeInfo& edge, unsigned long, unsigned long) {
            edge.features[0] = 1.0 + (index++ % 100) * 0.05;
        });
        target = std::make_unique<GL::Framebuffer>(1280, 800);
        view = std::make_unique<GlVolumeView>();
        view->resize(1280, 800);
        view->setCamera(30.0, 20.0);
        view->fitToBounds(graph->bounds());
    }
    static Scene& get(int edges) {
        // Only one scene lives at a time, so the million-edge graph and the small one never coexist.
        static std::unique_ptr<Scene> scene;
        if (!scene || scene->edgeCount != edges) {
            scene.reset();
            scene = std::make_unique<Scene>(edges);
            scene->edgeCount = edges;
        }
        return *scene;
    }
    int edgeCount = 0;
};

/// Draws the graph with its options changed by `configure`, once per iteration.
template <typename Configure>
void drawGraph(benchmark::State& state, Configure configure) {
    Scene& scene = Scene::get(static_cast<int>(state.range(0)));
    if (!scene.context) {
        state.SkipWithError(scene.error.c_str());
        return;
    }
    GraphDisplayOptions& options = *scene.graph->components().get<GraphDisplayOptions>();
    options.assign(GraphDisplayOptions());
    scene.graph->components().remove<GraphFeatureColorMapper>();
    configure(options);
    GlGraph object(scene.graph.get());
    scene.view->addObject(&object);
    scene.target->bind();
    for (auto _ : state) {
        scene.view->render();
        glFinish();
    }
    scene.view->removeObject(&object);
    state.counters["edges"] = static_cast<double>(scene.graph->numEdges());
}

void BM_LinesAndPoints(benchmark::State& state) {
    drawGraph(state, [](GraphDisplayOptions&) {});
}

void BM_LinesColouredByEdgeFeature(benchmark::State& state) {
    drawGraph(state, [](GraphDisplayOptions& options) {
        options.featureColorMapOptions->edgeFeatureName = std::string("diameter");
    });
}

void BM_LinesWithArrowheads(benchmark::State& state) {
    drawGraph(state, [](GraphDisplayOptions& options) { options.generalOptions->drawDirectionOnLines = true; });
}

void BM_FeatureCirclesOfChains(benchmark::State& state) {
    drawGraph(state, [](GraphDisplayOptions& options) {
        options.generalOptions->drawLines = false;
        options.featureCircleOptions->featureName = std::string("diameter");
        options.featureCircleOptions->simplifyLinearChains = true;
    });
}

} // namespace

BENCHMARK(BM_LinesAndPoints)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinesColouredByEdgeFeature)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinesWithArrowheads)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FeatureCirclesOfChains)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
