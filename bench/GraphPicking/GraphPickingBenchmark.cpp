// The hit tests behind every mouse move of the graph interactions, on a synthetic centerline tree of
// 1,000,000 nodes in the desktop views (1100 x 800 window, 2 x 2 layout sizes): picking one node in the
// volume view (against the line of sight) and in the axial slice view (across the view, inside the
// slab), and the nodes within the circle (radius 50 pixels). Each iteration hovers another node. The
// index is built before timing; BM_IndexBuild is what the first hover after an outside change pays,
// and BM_LinearSweep the same pick as one sweep over the node table (GraphUtils::argmaxNode), for
// comparison. A hover must stay below 16 ms (one frame at 60 Hz).
#include "CenterlineTreeGraph.h"

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGL/ViewPicking.h>
#include <TarnwickGraph/Graph/GraphUtils.h>
#include <TarnwickGraph/GUI/GraphManipulator.h>
#include <TarnwickGraph/GUI/GraphNodeIndex.h>
#include <TarnwickGraph/GUI/NodesWithinRadiusInteraction.h>
#include <TarnwickGraph/GUI/SingleSelection.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>

#include <QApplication>

#include <benchmark/benchmark.h>

#include <Eigen/Geometry>

#include <cmath>
#include <memory>
#include <vector>

namespace {

using namespace Tarnwick;

constexpr std::size_t nodeCount = 1000000;

/// The graph, the views and the interactions, made once for the whole program.
struct Scene {
    std::unique_ptr<Graph> graph;
    std::unique_ptr<DisplayWidgetMulti> display;
    std::unique_ptr<SingleSelection> single;
    std::unique_ptr<NodesWithinRadiusInteraction> radius;
    std::vector<Eigen::Vector3d> targets; ///< world positions of the nodes hovered in turn

    Scene() {
        Bench::CenterlineTreeOptions options;
        options.pointCount = nodeCount;
        graph = Bench::centerlineTreeGraph(Bench::generateCenterlineTree(options), 0.3);
        display = std::make_unique<DisplayWidgetMulti>();
        for (int i = 0; i < DisplayWidgetMulti::viewCount; ++i) {
            GlView& view = display->viewWidget(i)->view();
            view.resize(540, 390);
            view.fitToBounds(graph->bounds());
        }
        single = std::make_unique<SingleSelection>(*display);
        radius = std::make_unique<NodesWithinRadiusInteraction>(*display);
        single->setGraph(graph.get());
        radius->setGraph(graph.get());
        std::size_t index = 0;
        graph->forEachNode([&](unsigned long, const Graph::NodeInfo& node) {
            if (index++ % 9973 == 0)
                targets.push_back(node.position);
        });
    }
    GlView& view(int index) { return display->viewWidget(index)->view(); }
    /// The widget pixel of a world point, with the axial slice moved through it.
    QPoint pixelOf(int viewIndex, const Eigen::Vector3d& world) {
        if (auto* slice = dynamic_cast<GlSliceView*>(&view(viewIndex)))
            slice->setSlicePosition(world);
        const Eigen::Vector2d pixel = view(viewIndex).viewState().project(world);
        return {int(std::floor(pixel.x())), int(std::floor(pixel.y()))};
    }
    /// Made on first use; destroyed by main() while the application still exists.
    static std::unique_ptr<Scene>& instance() {
        static std::unique_ptr<Scene> scene;
        return scene;
    }
    static Scene& get() {
        if (!instance())
            instance() = std::make_unique<Scene>();
        return *instance();
    }
};

template <typename HitTest>
void hover(benchmark::State& state, int viewIndex, HitTest hitTest) {
    Scene& scene = Scene::get();
    hitTest(scene, QPoint(0, 0)); // builds the index
    std::size_t next = 0, hits = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const QPoint pixel = scene.pixelOf(viewIndex, scene.targets[next++ % scene.targets.size()]);
        state.ResumeTiming();
        hits += hitTest(scene, pixel);
    }
    state.counters["nodes"] = double(scene.graph->numNodes());
    state.counters["hitsPerHover"] = double(hits) / double(state.iterations());
}

void BM_PickNodeVolumeView(benchmark::State& state) {
    hover(state, DisplayWidgetMulti::Volume, [](Scene& scene, const QPoint& p) {
        return std::size_t(scene.single->hitTestNodes(p.x(), p.y(), scene.view(DisplayWidgetMulti::Volume)) ? 1 : 0);
    });
}

void BM_PickNodeSliceView(benchmark::State& state) {
    hover(state, DisplayWidgetMulti::Axial, [](Scene& scene, const QPoint& p) {
        return std::size_t(scene.single->hitTestNodes(p.x(), p.y(), scene.view(DisplayWidgetMulti::Axial)) ? 1 : 0);
    });
}

void BM_NodesWithinRadius(benchmark::State& state) {
    hover(state, DisplayWidgetMulti::Axial, [](Scene& scene, const QPoint& p) {
        return scene.radius->hitTestNodes(p.x(), p.y(), scene.view(DisplayWidgetMulti::Axial)).size();
    });
}

void BM_IndexBuild(benchmark::State& state) {
    Scene& scene = Scene::get();
    GraphNodeIndex index;
    for (auto _ : state) {
        index.rebuild(*scene.graph);
        benchmark::DoNotOptimize(index.nearest(Eigen::Vector3d::Zero(), Eigen::Vector3d::UnitZ(), 1.0));
    }
}

void BM_LinearSweep(benchmark::State& state) {
    Scene& scene = Scene::get();
    const GlView& view = scene.view(DisplayWidgetMulti::Volume);
    std::size_t next = 0;
    for (auto _ : state) {
        const QPoint p = scene.pixelOf(DisplayWidgetMulti::Volume, scene.targets[next++ % scene.targets.size()]);
        const Geometry::Line line = ViewPicking::ray(view, Eigen::Vector2d(p.x() + 0.5, p.y() + 0.5));
        benchmark::DoNotOptimize(GraphUtils::argmaxNode(
            *scene.graph, [&](const Graph::NodeInfo& node) { return -line.distanceToPoint(node.position); }));
    }
}

} // namespace

BENCHMARK(BM_PickNodeVolumeView)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PickNodeSliceView)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NodesWithinRadius)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IndexBuild)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinearSweep)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    // Widgets without a display: the views are never drawn here.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    Scene::instance().reset();
    return 0;
}
