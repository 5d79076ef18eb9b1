#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tarnwick {

namespace {

struct Range {
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    void add(double x) {
        if (std::isnan(x))
            return;
        min = std::min(min, x);
        max = std::max(max, x);
    }
    bool empty() const { return min > max; }
};

} // namespace

GraphFeatureColorMapper::GraphFeatureColorMapper(Colormap::Preset preset, int entries, double min, double max) {
    update(preset, entries, min, max);
}

Eigen::Vector4f GraphFeatureColorMapper::operator()(double x) const {
    if (m_table.empty())
        return {1.0f, 0.0f, 1.0f, 1.0f};
    const double clamped = std::max(std::min(x, m_max), m_min);
    const double span = std::max(m_max - m_min, std::numeric_limits<double>::min());
    const double last = static_cast<double>(m_table.size() - 1);
    const double t = (clamped - m_min) / span * last;
    std::size_t index = 0;
    if (t >= last)
        index = m_table.size() - 1;
    else if (t > 0.0) // also false for NaN
        index = static_cast<std::size_t>(std::lround(t));
    return m_table[index];
}

void GraphFeatureColorMapper::update(Colormap::Preset preset, int entries, double min, double max) {
    m_preset = preset;
    m_min = min;
    m_max = max;
    if (entries > 0)
        m_table = Colormap::table(preset, std::min(entries, Colormap::maxEntries));
    else
        m_table.clear();
    signalChanged.emitSignal();
}

bool GraphFeatureColorMapper::operator==(const GraphFeatureColorMapper& other) const {
    return m_preset == other.m_preset && m_min == other.m_min && m_max == other.m_max && m_table == other.m_table;
}

std::optional<GraphFeatureColorMapper> GraphFeatureColorMapper::forFeatureRange(const Graph& graph) {
    const auto* options = graph.components().get<GraphDisplayOptions>();
    if (!options)
        return std::nullopt;
    const auto& colorOptions = options->featureColorMapOptions.value();
    Range range;
    if (const auto& name = colorOptions.edgeFeatureName.value()) {
        const auto index = graph.getEdgeFeatureIdx(*name);
        if (!index)
            return std::nullopt;
        graph.forEachEdge(
            [&](const Graph::EdgeInfo& edge, unsigned long, unsigned long) { range.add(edge.features[*index]); });
    } else if (const auto& nodeName = colorOptions.nodeFeatureName.value()) {
        const auto index = graph.getNodeFeatureIdx(*nodeName);
        if (!index)
            return std::nullopt;
        graph.forEachNode([&](unsigned long, const Graph::NodeInfo& node) { range.add(node.features[*index]); });
    } else {
        return std::nullopt;
    }
    if (range.empty())
        range.min = range.max = 0.0;
    return GraphFeatureColorMapper(colorOptions.colormap.value(), defaultEntries, range.min, range.max);
}

const GraphFeatureColorMapper* GraphFeatureColorMapper::getOrAddForFeature(Graph& graph) {
    const auto* existing = graph.components().get<GraphFeatureColorMapper>();
    if (existing && !existing->table().empty())
        return existing;
    auto mapper = forFeatureRange(graph);
    if (!mapper)
        return existing;
    auto& attached = graph.components().getOrAdd<GraphFeatureColorMapper>();
    attached.assign(*mapper);
    return &attached;
}

} // namespace Tarnwick
