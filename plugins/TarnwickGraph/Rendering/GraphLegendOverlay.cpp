#include <TarnwickGraph/Rendering/GraphLegendOverlay.h>

#include <TarnwickGL/GlView.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Rendering/GraphDisplayHandler.h>
#include <TarnwickGraph/Rendering/GraphFeatureLegend.h>

namespace Tarnwick {

GraphLegendOverlay::GraphLegendOverlay(const Graph& graph) : m_graph(graph) {}

void GraphLegendOverlay::draw(const GlView& view) {
    const auto* shown = m_graph.components().get<GraphFeatureLegend>();
    if (!shown || !shown->isShown())
        return;
    std::optional<ColorLegend> wanted = GraphDisplayHandler::featureLegend(m_graph);
    if (!wanted)
        return;
    wanted->min = shown->min();
    wanted->max = shown->max();
    const ColorLegend& current = legend();
    if (current.title != wanted->title || current.preset != wanted->preset || current.min != wanted->min ||
        current.max != wanted->max)
        setLegend(*wanted);
    setPlacement(view.width() >= view.height() ? Right : Bottom);
    ColorBarOverlay::draw(view);
}

} // namespace Tarnwick
