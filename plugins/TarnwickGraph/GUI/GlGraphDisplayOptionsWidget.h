#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickGL/DataDisplayHandler.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <QWidget>

#include <memory>

class QTabWidget;

namespace Tarnwick {

class GlView;
class Graph;
class Properties;
class PropertiesWidget;

/// The display options panel of one graph (GraphDisplayHandler::createDisplayOptionsWidget): two
/// tabs, "General" and "Feature Circles", each a properties editor over the matching group of the
/// graph's GraphDisplayOptions ("generalOptions", "featureCircleOptions"; the colour-map group is
/// the data controller's).
///
/// The editors show copies of the groups. An edit is written back through a fresh properties tree
/// holding that one group, which configures the graph's options (added with defaults when the graph
/// has none). Loading the editors, on construction and whenever the options change elsewhere, blocks
/// their signals, so it never writes back. The unit field is hidden while labels are off. The graph
/// must outlive the widget.
class GlGraphDisplayOptionsWidget : public QWidget, public DataDisplayHandler::OptionsWidget, public SignalReceiver {
    Q_OBJECT
public:
    explicit GlGraphDisplayOptionsWidget(Graph& graph, QWidget* parent = nullptr);
    ~GlGraphDisplayOptionsWidget() override;

    /// The panel of a graph shown in a view (the same for every view), for GraphDisplayHandler.
    static std::unique_ptr<DataDisplayHandler::OptionsWidget> create(Graph& graph, GlView& view);

    /// Loads the "generalOptions" group of `properties` (values and "hidden" attributes) into the
    /// General editor with its signals blocked.
    void updateGeneralPropsWidget(Properties& properties);
    /// Same for "featureCircleOptions" and the Feature Circles editor.
    void updateFeaturePropsWidget(Properties& properties);

    QTabWidget* tabs() const { return m_tabs; }
    PropertiesWidget* generalEditor() const { return m_generalEditor; }
    PropertiesWidget* featureEditor() const { return m_featureEditor; }

private:
    void setupUi();
    /// The graph's options (or defaults while it has none) as a properties tree, with "unitSuffix"
    /// hidden unless "showLabels" is on.
    Properties currentProperties() const;
    /// Reloads both editors from the graph's options.
    void reload();
    void writeGeneral();
    void writeFeatureCircles(const QString& name);
    /// Follows changes of the graph's options made elsewhere (once the graph has them).
    void watchOptions();

    Graph& m_graph;
    GraphDisplayOptions::GeneralOptions m_general;
    GraphDisplayOptions::FeatureCircleOptions m_featureCircles;
    QTabWidget* m_tabs = nullptr;
    PropertiesWidget* m_generalEditor = nullptr;
    PropertiesWidget* m_featureEditor = nullptr;
    SignalConnection m_optionsConnection;
    bool m_writing = false; ///< set while an edit is written to the graph
};

} // namespace Tarnwick
