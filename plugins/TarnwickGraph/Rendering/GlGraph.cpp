#include <TarnwickGraph/Rendering/GlGraph.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/StateGuard.h>
#include <TarnwickGL/GL/TextRenderer.h>
#include <TarnwickGL/GlCircle.h>
#include <TarnwickGL/GlView.h>
#include <TarnwickGraph/Graph/GraphFeatureCircles.h>

#include <Eigen/Geometry>
#include <fmt/format.h>

#include <cmath>

namespace Tarnwick {

namespace {

constexpr double twoPi = 6.28318530717958647692;
constexpr float circleLineWidth = 2.0f;

GL::Vertex vertex(const Eigen::Vector3d& p, const Eigen::Vector4f& c) {
    return {{static_cast<float>(p.x()), static_cast<float>(p.y()), static_cast<float>(p.z())},
            {c[0], c[1], c[2], c[3]}};
}

/// Whether a node gets a point (and an id label): with onlyNontrivial, nodes with exactly two adjacency
/// entries besides a self loop are left out.
bool isDrawnNode(unsigned long id, const Graph::Neighborhood& neighbors, bool onlyNontrivial) {
    return !onlyNontrivial || neighbors.size() - neighbors.count(id) != 2;
}

/// Where line colours come from: one edge or node feature column, or none (the line colour).
struct LineColoring {
    std::optional<int> edgeFeature;
    std::optional<int> nodeFeature;
};

/// The options' colour feature: the edge feature when one is named, else the node feature; a name the
/// graph does not have colours nothing.
LineColoring lineColoring(const Graph& graph, const GraphDisplayOptions::FeatureColorMapOptions& options) {
    if (const auto& edgeName = options.edgeFeatureName.value())
        return {graph.getEdgeFeatureIdx(*edgeName), std::nullopt};
    if (const auto& nodeName = options.nodeFeatureName.value())
        return {std::nullopt, graph.getNodeFeatureIdx(*nodeName)};
    return {};
}

} // namespace

/// GL buffers, made in the first draw with the view's context current.
struct GlGraph::Buffers {
    Buffers() {
        std::vector<GL::Vertex> outline;
        for (int i = 0; i < GlCircle::segments; ++i) {
            const double angle = twoPi * i / GlCircle::segments;
            outline.push_back(vertex({std::cos(angle), std::sin(angle), 0.0}, Eigen::Vector4f::Ones()));
        }
        unitCircle.setVertices(outline);
    }
    GL::VertexBuffer points;
    GL::VertexBuffer lines;
    GL::VertexBuffer unitCircle;
};

GlGraph::GlGraph() = default;

GlGraph::GlGraph(const Graph* graph) {
    setGraph(graph);
}

GlGraph::~GlGraph() = default; // SignalReceiver drops the connections

void GlGraph::setGraph(const Graph* graph) {
    m_matrixConnection.disconnect();
    m_deletedConnection.disconnect();
    m_graph = graph;
    if (!graph)
        return;
    setModelMatrix(graph->matrixToWorld());
    // The graph's signals are not part of its value, so connecting to a const graph is fine.
    Graph& observed = const_cast<Graph&>(*graph);
    m_matrixConnection =
        observed.signalMatrixChanged.connect(this, [this] { setModelMatrix(m_graph->matrixToWorld()); });
    m_deletedConnection = observed.signalDeleted.connect(this, [this](const Data*) { setGraph(nullptr); });
}

bool GlGraph::isDrawnInViewKind(Graph::Dimension dimension, int viewKind, bool showInAllViews) {
    if (dimension == Graph::Dim2D)
        return viewKind == 0;
    return viewKind == 1 || viewKind == 2 || (viewKind == 0 && showInAllViews);
}

Geometry::AlignedBox GlGraph::bounds() const {
    return m_graph ? m_graph->bounds() : Geometry::AlignedBox();
}

void GlGraph::draw(const GlView& view) {
    if (!isVisible() || !m_graph)
        return;
    const auto* options = m_graph->components().get<DisplayOptions>();
    if (!options || !isDrawnInViewKind(m_graph->dimension(), view.kind(), showInAllViews()))
        return;
    if (!m_buffers)
        m_buffers = std::make_unique<Buffers>();

    GL::StateGuard guard;
    glEnable(GL_LINE_SMOOTH);
    if (!view.orderIndependentTransparency()) { // otherwise the view composes transparency itself
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.enable(view);
    const auto& general = options->generalOptions.value();
    if (general.drawPoints)
        drawPoints(view, general);
    if (general.drawLines)
        drawLines(view, *options);
    drawCircles(view, options->featureCircleOptions);
    if (general.showNodeIndices)
        drawNodeIds(view, general);
    pipeline.disable();
}

void GlGraph::drawPoints(const GlView& view, const DisplayOptions::GeneralOptions& options) {
    const Eigen::Vector4f color = options.pointColor.value().cast<float>();
    const bool onlyNontrivial = options.onlyDrawNontrivialNodes;
    m_vertices.clear();
    m_vertices.reserve(m_graph->numNodes());
    m_graph->forEachNode([&](unsigned long id, const Graph::NodeInfo& node, const Graph::Neighborhood& neighbors) {
        if (isDrawnNode(id, neighbors, onlyNontrivial))
            m_vertices.push_back(vertex(node.position, color));
    });
    m_buffers->points.setVertices(m_vertices);

    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.setModelMatrix(modelMatrix());
    pipeline.setVertexColorEnabled(true);
    pipeline.setDefaultColor(color);
    pipeline.setPointSmooth(true);
    pipeline.setPointSize(static_cast<float>(options.pointSize.value()));
    pipeline.draw(m_buffers->points, GL_POINTS);
}

void GlGraph::drawLines(const GlView& view, const DisplayOptions& options) {
    const auto& general = options.generalOptions.value();
    const LineColoring coloring = lineColoring(*m_graph, options.featureColorMapOptions);
    const GraphFeatureColorMapper* mapper = coloring.edgeFeature || coloring.nodeFeature ? colorMapper() : nullptr;
    const Eigen::Vector4f lineColor = general.lineColor.value().cast<float>();
    const bool arrows = general.drawDirectionOnLines;
    // The view direction in graph coordinates, so that arrowheads face the camera under any placement.
    const Eigen::Vector3d viewDir = modelMatrix().topLeftCorner<3, 3>().inverse() * view.viewState().zDir();

    m_vertices.clear();
    m_vertices.reserve(m_graph->numEdges() * (arrows ? 6 : 2));
    m_graph->forEachEdge([&](const Graph::EdgeInfo& edge, const Graph::NodeInfo& from, const Graph::NodeInfo& to) {
        Eigen::Vector4f fromColor = lineColor, toColor = lineColor;
        if (mapper && coloring.edgeFeature) {
            fromColor = toColor = (*mapper)(edge.features[*coloring.edgeFeature]);
        } else if (mapper && coloring.nodeFeature) {
            fromColor = (*mapper)(from.features[*coloring.nodeFeature]);
            toColor = (*mapper)(to.features[*coloring.nodeFeature]);
        }
        m_vertices.push_back(vertex(from.position, fromColor));
        m_vertices.push_back(vertex(to.position, toColor));
        if (arrows) {
            const Eigen::Vector3d d = to.position - from.position;
            const Eigen::Vector3d side = 0.2 * d.cross(viewDir);
            const Eigen::Vector3d base = to.position - 0.3 * d;
            m_vertices.push_back(vertex(to.position, toColor));
            m_vertices.push_back(vertex(base + side, toColor));
            m_vertices.push_back(vertex(to.position, toColor));
            m_vertices.push_back(vertex(base - side, toColor));
        }
    });
    m_buffers->lines.setVertices(m_vertices);

    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.setModelMatrix(modelMatrix());
    pipeline.setVertexColorEnabled(true);
    pipeline.setDefaultColor(lineColor);
    pipeline.setLineWidth(static_cast<float>(general.lineWidth.value()));
    pipeline.draw(m_buffers->lines, GL_LINES);
}

void GlGraph::drawCircles(const GlView& view, const DisplayOptions::FeatureCircleOptions& options) {
    if (!options.featureName.value())
        return;
    const GraphFeatureCircles circles = GraphFeatureCircles::compute(*m_graph, options);
    if (circles.isInconsistent()) {
        TW_LOG_ERROR("Mismatching diameters, normals,points");
        return;
    }
    const Eigen::Vector4f color = options.circleColor.value().cast<float>();
    GL::FixedFunctionPipeline& pipeline = view.pipeline();
    pipeline.setVertexColorEnabled(false);
    pipeline.setDefaultColor(color);
    pipeline.setLineWidth(circleLineWidth);
    for (std::size_t i = 0; i < circles.size(); ++i) {
        pipeline.setModelMatrix(modelMatrix() *
                                GlCircle::circleMatrix(circles.centers[i], circles.normals[i], circles.radii[i]));
        pipeline.draw(m_buffers->unitCircle, GL_LINE_LOOP);
    }
    pipeline.setVertexColorEnabled(true);

    if (!options.showLabels)
        return;
    GL::TextRenderer& text = view.textRenderer();
    const std::string& suffix = options.unitSuffix.value();
    for (std::size_t i = 0; i < circles.size(); ++i)
        text.drawText(view, fmt::format("{:.3g} {}", circles.values[i], suffix),
                      (modelMatrix() * circles.centers[i].homogeneous()).head<3>(), color);
}

void GlGraph::drawNodeIds(const GlView& view, const DisplayOptions::GeneralOptions& options) {
    const Eigen::Vector4f color = options.pointColor.value().cast<float>();
    const bool onlyNontrivial = options.onlyDrawNontrivialNodes;
    GL::TextRenderer& text = view.textRenderer();
    m_graph->forEachNode([&](unsigned long id, const Graph::NodeInfo& node, const Graph::Neighborhood& neighbors) {
        if (isDrawnNode(id, neighbors, onlyNontrivial))
            text.drawText(view, std::to_string(id), (modelMatrix() * node.position.homogeneous()).head<3>(), color);
    });
}

const GraphFeatureColorMapper* GlGraph::colorMapper() {
    const auto* mapper = m_graph->components().get<GraphFeatureColorMapper>();
    if (mapper && !mapper->table().empty())
        return mapper;
    m_rangeMapper = GraphFeatureColorMapper::forFeatureRange(*m_graph);
    return m_rangeMapper ? &*m_rangeMapper : mapper;
}

} // namespace Tarnwick
