#include <TarnwickGraph/GUI/GlGraphDisplayOptionsWidget.h>

#include <TarnwickCore/Properties.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGUI/PropertiesWidget.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <QTabWidget>
#include <QVBoxLayout>

namespace Tarnwick {

namespace {

constexpr const char* generalGroup = "generalOptions";
constexpr const char* featureGroup = "featureCircleOptions";

/// Sets `target` from the group `name` of `properties`: values, then the "hidden" attribute of each
/// parameter that carries one. Nothing when the group is missing.
void load(const Properties& properties, const char* name, Configurable& target) {
    const auto groups = properties.subProperties(name);
    if (groups.empty())
        return;
    target.configure(groups.front());
    for (ParameterBase* parameter : target.parameters())
        if (const auto hidden = groups.front()->paramAttribute(parameter->name(), "hidden"))
            parameter->setAttribute("hidden", *hidden);
}

} // namespace

GlGraphDisplayOptionsWidget::GlGraphDisplayOptionsWidget(Graph& graph, QWidget* parent)
    : QWidget(parent), m_graph(graph) {
    Properties properties = currentProperties();
    load(properties, generalGroup, m_general);
    load(properties, featureGroup, m_featureCircles);
    setupUi();
    connect(m_generalEditor, &PropertiesWidget::parameterEdited, this, &GlGraphDisplayOptionsWidget::writeGeneral);
    connect(m_featureEditor, &PropertiesWidget::parameterEdited, this,
            &GlGraphDisplayOptionsWidget::writeFeatureCircles);
    watchOptions();
}

GlGraphDisplayOptionsWidget::~GlGraphDisplayOptionsWidget() = default;

std::unique_ptr<DataDisplayHandler::OptionsWidget> GlGraphDisplayOptionsWidget::create(Graph& graph, GlView&) {
    return std::make_unique<GlGraphDisplayOptionsWidget>(graph);
}

void GlGraphDisplayOptionsWidget::setupUi() {
    m_tabs = new QTabWidget(this);
    m_generalEditor = new PropertiesWidget(m_general);
    m_featureEditor = new PropertiesWidget(m_featureCircles);
    for (auto [editor, title] :
         {std::make_pair(m_generalEditor, tr("General")), std::make_pair(m_featureEditor, tr("Feature Circles"))}) {
        auto* page = new QWidget;
        auto* pageLayout = new QVBoxLayout(page);
        pageLayout->addWidget(editor);
        pageLayout->addStretch();
        m_tabs->addTab(page, title);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tabs);
}

Properties GlGraphDisplayOptionsWidget::currentProperties() const {
    Properties properties;
    if (const auto* options = m_graph.components().get<GraphDisplayOptions>())
        options->configuration(&properties);
    else
        GraphDisplayOptions().configuration(&properties);
    for (Properties* feature : properties.subProperties(featureGroup)) {
        const bool labels = feature->paramOr("showLabels", false);
        feature->setParamAttributes("unitSuffix", "hidden", labels ? "false" : "true");
    }
    return properties;
}

void GlGraphDisplayOptionsWidget::updateGeneralPropsWidget(Properties& properties) {
    const QSignalBlocker blocker(m_generalEditor);
    load(properties, generalGroup, m_general);
}

void GlGraphDisplayOptionsWidget::updateFeaturePropsWidget(Properties& properties) {
    const QSignalBlocker blocker(m_featureEditor);
    load(properties, featureGroup, m_featureCircles);
}

void GlGraphDisplayOptionsWidget::reload() {
    Properties properties = currentProperties();
    updateGeneralPropsWidget(properties);
    updateFeaturePropsWidget(properties);
}

void GlGraphDisplayOptionsWidget::writeGeneral() {
    Properties fresh;
    Properties* group = fresh.addSubProperties(generalGroup);
    m_general.configuration(group);
    m_writing = true;
    m_graph.components().getOrAdd<GraphDisplayOptions>().generalOptions.value().configure(group);
    m_writing = false;
    watchOptions();
}

void GlGraphDisplayOptionsWidget::writeFeatureCircles(const QString& name) {
    Properties fresh;
    Properties* group = fresh.addSubProperties(featureGroup);
    m_featureCircles.configuration(group);
    m_writing = true;
    m_graph.components().getOrAdd<GraphDisplayOptions>().featureCircleOptions.value().configure(group);
    m_writing = false;
    watchOptions();
    if (name == "showLabels") {
        Properties properties = currentProperties(); // says whether the unit field is shown
        updateFeaturePropsWidget(properties);
    }
}

void GlGraphDisplayOptionsWidget::watchOptions() {
    auto* options = m_graph.components().get<GraphDisplayOptions>();
    if (!options || m_optionsConnection.isConnected())
        return;
    m_optionsConnection = options->signalParameterChanged.connect(this, [this](const ParameterBase*) {
        if (!m_writing)
            reload();
    });
}

} // namespace Tarnwick
