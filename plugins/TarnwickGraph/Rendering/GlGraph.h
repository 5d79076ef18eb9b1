#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlObject.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>

#include <memory>
#include <optional>
#include <vector>

namespace Tarnwick {

/// Draws one Graph in the host's views, as its GraphDisplayOptions component says: nodes as round
/// points, edges as lines (optionally with arrowheads, optionally coloured by an edge or node feature
/// through the graph's GraphFeatureColorMapper), an edge feature as circles around the edges with
/// optional value labels (GraphFeatureCircles), and node ids as text beside the nodes that the point
/// filter ("onlyDrawNontrivialNodes") selects. Points are drawn first, then lines, circles and text.
///
/// Feature colours come from the graph's GraphFeatureColorMapper; while the graph has none (or one
/// without a table), from one spanning the colour feature's range (GraphFeatureColorMapper::forFeatureRange).
///
/// Which views: a 2-D graph only in views of kind 0 (flat slice views); a 3-D graph in views of kind 1
/// and 2, and in kind 0 only with showInAllViews() set.
///
/// The vertex data are rebuilt from the graph and its options on every draw, so any change shows on
/// the next redraw; buffers are kept and reused between draws (O(N + E) per draw, no per-edge
/// allocation). The object never owns its graph: it follows the graph's placement and detaches itself
/// when the graph is deleted. GL buffers are made in the first draw; destroy the object with that
/// context current once it has drawn.
class GlGraph : public GlObject, public SignalReceiver {
public:
    using DisplayOptions = GraphDisplayOptions;

    GlGraph();
    explicit GlGraph(const Graph* graph);
    ~GlGraph() override;

    /// Leaves the previous graph's signals, takes the new graph's data matrix as model matrix and
    /// follows its matrix changes and deletion (a deleted graph is never drawn). Null detaches.
    void setGraph(const Graph* graph);
    const Graph* graph() const { return m_graph; }

    /// Whether a graph of this dimension is drawn in a view of this kind (see the class comment).
    static bool isDrawnInViewKind(Graph::Dimension dimension, int viewKind, bool showInAllViews);

    /// Draws with the view's context current; nothing when hidden, without a graph or display options,
    /// or in a view the graph does not belong to.
    void draw(const GlView& view) override;
    /// The graph's world bounds; empty without a graph.
    Geometry::AlignedBox bounds() const override;
    std::string typeName() const override { return "GlGraph"; }

private:
    struct Buffers;

    void drawPoints(const GlView& view, const DisplayOptions::GeneralOptions& options);
    void drawLines(const GlView& view, const DisplayOptions& options);
    void drawCircles(const GlView& view, const DisplayOptions::FeatureCircleOptions& options);
    void drawNodeIds(const GlView& view, const DisplayOptions::GeneralOptions& options);
    /// The graph's mapper, or one spanning the colour feature's range when the graph has none.
    const GraphFeatureColorMapper* colorMapper();

    const Graph* m_graph = nullptr;
    SignalConnection m_matrixConnection;
    SignalConnection m_deletedConnection;
    std::unique_ptr<Buffers> m_buffers;
    std::vector<GL::Vertex> m_vertices;                   ///< scratch reused by every draw
    std::optional<GraphFeatureColorMapper> m_rangeMapper; ///< used while the graph has no mapper
};

} // namespace Tarnwick
