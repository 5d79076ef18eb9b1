#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickGL/DataDisplayHandler.h>

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace Tarnwick {

class GlGraph;
class Graph;
class GraphLegendOverlay;

/// The host's display handler for Graph data, registered as "Tarnwick.GraphDisplayHandler": one
/// GlGraph per graph and view.
///
/// Views: a 2-D graph in slice views in flat 2-D presentation (GlSliceView::isFlat() false), a 3-D
/// graph in volume views and in slice views showing the 3-D scene (isFlat() true).
///
/// While a graph is shown it gets a GraphFeatureColorMapper spanning its colour feature's range as soon
/// as a colour feature is chosen and it has no mapper (GraphFeatureColorMapper::getOrAddForFeature).
/// In volume views a graph that has a GraphFeatureLegend also gets a GraphLegendOverlay (added with
/// the legend component, removed with the graph's object): the colour bar, drawn while the legend is
/// shown.
///
/// A graph deleted while shown is taken out of its views. Objects are destroyed by hide(), by
/// onViewDeleted() and with the handler: do that with the views' context current, as GL buffers go with them.
class GraphDisplayHandler : public DataDisplayHandler, public SignalReceiver {
public:
    static constexpr const char* handlerName = "Tarnwick.GraphDisplayHandler";

    /// Builds the options panel of a graph shown in a view; the plug-in's GUI layer supplies it, so
    /// this layer stays free of Qt.
    using OptionsWidgetCreator = std::function<std::unique_ptr<OptionsWidget>(Graph& graph, GlView& view)>;

    /// Without a creator, createDisplayOptionsWidget() returns null.
    explicit GraphDisplayHandler(OptionsWidgetCreator optionsWidgetCreator = {});
    /// Takes its objects out of the views still showing them.
    ~GraphDisplayHandler() override;

    bool handlesType(const Data& data) const override;
    bool canBeShownInView(const Data& data, const GlView& view) const override;
    /// Adds a GlGraph for (graph, view) to the view; nothing when it is there already or the data is not
    /// a graph.
    void show(Data& data, GlView& view) override;
    void hide(Data& data, GlView& view) override;
    void onViewDeleted(GlView& view) override;
    /// The graph's GraphDisplayOptions, added with default values when it has none; null for other data.
    Configurable* displayOptions(Data& data) override;
    /// When the graph's options choose a colour feature the graph has: the feature's name, and the colour
    /// map and range of the graph's mapper (or of one spanning the feature's range while it has none).
    std::optional<ColorLegend> legend(const Data& data) const override;
    /// The creator's panel for a graph; null for other data or without a creator.
    std::unique_ptr<OptionsWidget> createDisplayOptionsWidget(Data& data, GlView& view) override;

    /// The legend of a graph's colour feature (see legend()); nothing when none is chosen or the graph
    /// lacks it.
    static std::optional<ColorLegend> featureLegend(const Graph& graph);

    /// The object showing `data` in `view`; null when it is not shown there.
    GlGraph* object(const Data& data, const GlView& view) const;

private:
    using Key = std::pair<const Data*, const GlView*>;
    struct Shown {
        GlView* view;
        std::unique_ptr<GlGraph> object;
        std::unique_ptr<GraphLegendOverlay> legend; ///< volume views only
    };
    /// Removes the objects matching `matches` from the map, and from their views when `fromViews` is set.
    template <typename Pred>
    void forget(Pred matches, bool fromViews);
    void watch(Data& data);
    /// Adds the colour bar object to a volume view's entry that lacks one.
    void addLegend(Shown& shown, const Graph& graph);
    void unwatchUnshown();

    OptionsWidgetCreator m_optionsWidgetCreator;
    std::map<Key, Shown> m_shown;
    std::map<const Data*, std::vector<SignalConnection>> m_watched; ///< per shown graph
};

} // namespace Tarnwick
