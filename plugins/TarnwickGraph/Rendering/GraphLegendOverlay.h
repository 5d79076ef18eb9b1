#pragma once

#include <TarnwickGL/ColorBarOverlay.h>

namespace Tarnwick {

class Graph;

/// The colour bar of one graph's feature colouring over a 3-D view: drawn while the graph's
/// GraphFeatureLegend is shown and a colour feature the graph has is chosen, titled with the
/// feature's name, in the colour map of the graph's mapper, over the legend's range. At the right
/// edge of views wider than tall, else at the bottom. Does not own the graph.
class GraphLegendOverlay : public ColorBarOverlay {
public:
    explicit GraphLegendOverlay(const Graph& graph);

    void draw(const GlView& view) override;
    std::string typeName() const override { return "GraphLegendOverlay"; }

private:
    const Graph& m_graph;
};

} // namespace Tarnwick
