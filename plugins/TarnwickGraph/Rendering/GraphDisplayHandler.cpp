#include <TarnwickGraph/Rendering/GraphDisplayHandler.h>

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>
#include <TarnwickGraph/Rendering/GlGraph.h>
#include <TarnwickGraph/Rendering/GraphFeatureLegend.h>
#include <TarnwickGraph/Rendering/GraphLegendOverlay.h>

#include <algorithm>
#include <utility>

namespace Tarnwick {

GraphDisplayHandler::GraphDisplayHandler(OptionsWidgetCreator optionsWidgetCreator)
    : m_optionsWidgetCreator(std::move(optionsWidgetCreator)) {}

GraphDisplayHandler::~GraphDisplayHandler() {
    forget([](const Key&) { return true; }, true);
}

bool GraphDisplayHandler::handlesType(const Data& data) const {
    return dynamic_cast<const Graph*>(&data) != nullptr;
}

bool GraphDisplayHandler::canBeShownInView(const Data& data, const GlView& view) const {
    const auto* graph = dynamic_cast<const Graph*>(&data);
    if (!graph)
        return false;
    const bool is3D = graph->dimension() == Graph::Dim3D;
    if (const auto* slice = dynamic_cast<const GlSliceView*>(&view))
        return slice->isFlat() == is3D;
    return is3D && dynamic_cast<const GlVolumeView*>(&view) != nullptr;
}

void GraphDisplayHandler::show(Data& data, GlView& view) {
    auto* graph = dynamic_cast<Graph*>(&data);
    if (!graph || m_shown.count({&data, &view}) != 0)
        return;
    watch(data);
    GraphFeatureColorMapper::getOrAddForFeature(*graph);
    Shown& shown = m_shown[{&data, &view}];
    shown.view = &view;
    shown.object = std::make_unique<GlGraph>(graph);
    view.addObject(shown.object.get());
    if (graph->components().get<GraphFeatureLegend>())
        addLegend(shown, *graph);
}

void GraphDisplayHandler::addLegend(Shown& shown, const Graph& graph) {
    if (shown.legend || !dynamic_cast<GlVolumeView*>(shown.view))
        return;
    shown.legend = std::make_unique<GraphLegendOverlay>(graph);
    shown.view->addObject(shown.legend.get());
}

void GraphDisplayHandler::hide(Data& data, GlView& view) {
    forget([&](const Key& key) { return key == Key(&data, &view); }, true);
}

void GraphDisplayHandler::onViewDeleted(GlView& view) {
    forget([&](const Key& key) { return key.second == &view; }, false);
}

Configurable* GraphDisplayHandler::displayOptions(Data& data) {
    auto* graph = dynamic_cast<Graph*>(&data);
    return graph ? &graph->components().getOrAdd<GraphDisplayOptions>() : nullptr;
}

std::optional<ColorLegend> GraphDisplayHandler::legend(const Data& data) const {
    const auto* graph = dynamic_cast<const Graph*>(&data);
    return graph ? featureLegend(*graph) : std::nullopt;
}

std::unique_ptr<DataDisplayHandler::OptionsWidget> GraphDisplayHandler::createDisplayOptionsWidget(Data& data,
                                                                                                   GlView& view) {
    auto* graph = dynamic_cast<Graph*>(&data);
    return graph && m_optionsWidgetCreator ? m_optionsWidgetCreator(*graph, view) : nullptr;
}

std::optional<ColorLegend> GraphDisplayHandler::featureLegend(const Graph& graph) {
    const auto* options = graph.components().get<GraphDisplayOptions>();
    if (!options)
        return std::nullopt;
    // forFeatureRange() answers whether the chosen colour feature exists, whatever mapper is attached.
    const std::optional<GraphFeatureColorMapper> range = GraphFeatureColorMapper::forFeatureRange(graph);
    if (!range)
        return std::nullopt;
    const auto* attached = graph.components().get<GraphFeatureColorMapper>();
    const GraphFeatureColorMapper& mapper = attached && !attached->table().empty() ? *attached : *range;
    const auto& colorOptions = options->featureColorMapOptions.value();
    const std::string& title = colorOptions.edgeFeatureName.value() ? *colorOptions.edgeFeatureName.value()
                                                                    : *colorOptions.nodeFeatureName.value();
    return ColorLegend{title, mapper.preset(), mapper.min(), mapper.max()};
}

GlGraph* GraphDisplayHandler::object(const Data& data, const GlView& view) const {
    const auto it = m_shown.find({&data, &view});
    return it == m_shown.end() ? nullptr : it->second.object.get();
}

template <typename Pred>
void GraphDisplayHandler::forget(Pred matches, bool fromViews) {
    for (auto it = m_shown.begin(); it != m_shown.end();) {
        if (!matches(it->first)) {
            ++it;
            continue;
        }
        if (fromViews) {
            it->second.view->removeObject(it->second.object.get());
            if (it->second.legend)
                it->second.view->removeObject(it->second.legend.get());
        }
        it = m_shown.erase(it);
    }
    unwatchUnshown();
}

void GraphDisplayHandler::watch(Data& data) {
    if (m_watched.count(&data) != 0)
        return;
    std::vector<SignalConnection>& connections = m_watched[&data];
    connections.push_back(data.signalDeleted.connect(this, [this](const Data* deleted) {
        forget([deleted](const Key& key) { return key.first == deleted; }, true);
    }));
    auto& graph = static_cast<Graph&>(data);
    // Volume views get the colour bar once the graph has a legend.
    connections.push_back(
        graph.components().signalComponentAdded.connect(this, [this, &graph](DataComponentBase* added) {
            if (!dynamic_cast<GraphFeatureLegend*>(added))
                return;
            for (auto& [key, shown] : m_shown)
                if (key.first == &graph)
                    addLegend(shown, graph);
        }));
    if (auto* options = graph.components().get<GraphDisplayOptions>())
        connections.push_back(
            options->signalChanged.connect(this, [&graph] { GraphFeatureColorMapper::getOrAddForFeature(graph); }));
}

void GraphDisplayHandler::unwatchUnshown() {
    for (auto it = m_watched.begin(); it != m_watched.end();) {
        const Data* data = it->first;
        const bool shown = std::any_of(m_shown.begin(), m_shown.end(),
                                       [data](const auto& entry) { return entry.first.first == data; });
        if (shown) {
            ++it;
            continue;
        }
        for (SignalConnection& connection : it->second)
            connection.disconnect();
        it = m_watched.erase(it);
    }
}

} // namespace Tarnwick
