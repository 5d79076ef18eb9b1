#include <TarnwickGraph/GUI/GraphDataController.h>

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/GUI/RangeInputDialog.h>

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <cmath>

namespace Tarnwick {

using detail::FeatureKey;

namespace {

constexpr int mapperEntries = 256;

/// Adds `name` to `names` unless it is there.
void addName(std::vector<std::string>& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end())
        names.push_back(name);
}

} // namespace

GraphDataController::GraphDataController(const DataList& graphs, QWidget* parent) : DataController(graphs, parent) {}

bool GraphDataController::createCompatible(const DataList& data, DataController** out) {
    if (data.empty() || data.getAll<Graph>().size() != data.size())
        return false;
    if (out) {
        auto* controller = new GraphDataController(data); // ownership passes to the caller
        controller->init();
        *out = controller;
    }
    return true;
}

void GraphDataController::init() {
    qRegisterMetaType<FeatureKey>("Tarnwick::detail::FeatureKey");
    qRegisterMetaType<FeatureKey>("Tarnwick::FeatureKey");

    auto* box = new QGroupBox(tr("Feature Colormap"), this);
    m_feature = new QComboBox(box);
    m_feature->setToolTip(tr("Select feature to visualize"));
    m_colormap = new QComboBox(box);
    m_colormap->setToolTip(tr("Select colormap"));
    m_legend = new QToolButton(box);
    m_legend->setText(tr("Legend"));
    m_legend->setCheckable(true);
    m_rescale = new QPushButton(tr("Rescale"), box);
    m_rescale->setToolTip(tr("Automatically rescale the feature range"));
    m_setRange = new QPushButton(tr("Set Range"), box);
    m_setRange->setToolTip(tr("Manually set the feature range"));

    auto* choices = new QHBoxLayout;
    choices->addWidget(m_feature, 1);
    choices->addWidget(m_colormap, 1);
    choices->addWidget(m_legend);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_rescale);
    buttons->addWidget(m_setRange);
    auto* boxLayout = new QVBoxLayout(box);
    boxLayout->addLayout(choices);
    boxLayout->addLayout(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(box);
    layout->addStretch();

    // Start from what the first graph shows already.
    Graph& first = *graphs().front();
    if (const auto* mapper = first.components().get<FeatureColorMapper>(); mapper && !mapper->table().empty())
        m_range = std::make_pair(mapper->min(), mapper->max());
    if (const auto* legend = first.components().get<FeatureLegend>())
        m_legend->setChecked(legend->isShown());
    updateColorPresets();
    updateFeatureNames();

    connect(m_feature, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &GraphDataController::onFeatureChanged);
    connect(m_colormap, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &GraphDataController::onColorMapChanged);
    connect(m_legend, &QToolButton::toggled, this, &GraphDataController::onToggleLegendButton);
    connect(m_rescale, &QPushButton::clicked, this, &GraphDataController::onRescaleClicked);
    connect(m_setRange, &QPushButton::clicked, this, &GraphDataController::onSetRangeClicked);
}

std::vector<Graph*> GraphDataController::graphs() const {
    return dataList().getAll<Graph>();
}

std::optional<FeatureKey> GraphDataController::currentFeature() const {
    const QVariant data = m_feature->currentData();
    if (!data.canConvert<FeatureKey>())
        return std::nullopt;
    return data.value<FeatureKey>();
}

Colormap::Preset GraphDataController::currentPreset() const {
    return static_cast<Colormap::Preset>(m_colormap->currentData().toInt());
}

void GraphDataController::updateColorPresets() {
    const QSignalBlocker blocker(m_colormap);
    m_colormap->clear();
    for (const Colormap::Preset preset : Colormap::presets())
        m_colormap->addItem(QString::fromStdString(Colormap::name(preset)), int(preset));
    Colormap::Preset shown = Colormap::CoolWarm;
    if (const auto* options = graphs().front()->components().get<GraphDisplayOptions>())
        shown = options->featureColorMapOptions->colormap;
    m_colormap->setCurrentIndex(std::max(0, m_colormap->findData(int(shown))));
}

void GraphDataController::updateFeatureNames() {
    // The previous choice, or on the first fill the feature the first graph is coloured by.
    std::optional<FeatureKey> previous;
    if (m_feature->count() > 0) {
        previous = currentFeature();
    } else if (const auto* options = graphs().front()->components().get<GraphDisplayOptions>()) {
        const auto& colorOptions = options->featureColorMapOptions.value();
        if (const auto& edge = colorOptions.edgeFeatureName.value())
            previous = FeatureKey{FeatureKey::Edge, *edge};
        else if (const auto& node = colorOptions.nodeFeatureName.value())
            previous = FeatureKey{FeatureKey::Node, *node};
    }

    std::vector<std::string> edgeNames, nodeNames;
    for (const Graph* graph : graphs()) {
        for (const auto& descriptor : graph->edgeFeatureDescriptors())
            addName(edgeNames, descriptor.name);
        for (const auto& descriptor : graph->nodeFeatureDescriptors())
            addName(nodeNames, descriptor.name);
    }
    const auto isBoth = [&](const std::string& name) {
        return std::count(edgeNames.begin(), edgeNames.end(), name) &&
               std::count(nodeNames.begin(), nodeNames.end(), name);
    };

    const QSignalBlocker blocker(m_feature);
    m_feature->clear();
    m_feature->addItem(tr("None"));
    const std::array<std::pair<FeatureKey::Kind, const std::vector<std::string>*>, 2> lists = {
        {{FeatureKey::Edge, &edgeNames}, {FeatureKey::Node, &nodeNames}}};
    for (const auto& [kind, names] : lists) {
        for (const std::string& name : *names) {
            QString text = QString::fromStdString(name);
            if (isBoth(name))
                text += kind == FeatureKey::Edge ? tr(" (edge)") : tr(" (node)");
            m_feature->addItem(text, QVariant::fromValue(FeatureKey{kind, name}));
        }
    }
    int index = 0;
    for (int i = 1; previous && i < m_feature->count(); ++i)
        if (m_feature->itemData(i).value<FeatureKey>() == *previous)
            index = i;
    m_feature->setCurrentIndex(index);
    if (index == 0) {
        const QSignalBlocker legendBlocker(m_legend);
        m_legend->setChecked(false);
    }
}

void GraphDataController::onFeatureChanged() {
    m_range.reset(); // a new feature starts at its own range
    updateGraphDisplay();
}

void GraphDataController::onColorMapChanged() {
    updateGraphDisplay();
}

void GraphDataController::onToggleLegendButton() {
    const bool shown = m_legend->isChecked();
    for (Graph* graph : graphs()) {
        auto& legend = graph->components().getOrAdd<FeatureLegend>();
        if (m_range)
            legend.setLabels(m_range->first, m_range->second);
        legend.setShown(shown);
    }
    Q_EMIT redrawRequested();
}

void GraphDataController::onRescaleClicked() {
    if (const std::optional<FeatureKey> feature = currentFeature())
        if (const auto range = featureRange(*feature))
            updateGraphsWithRange(range->first, range->second);
}

void GraphDataController::onSetRangeClicked() {
    detail::RangeInputDialog dialog(this);
    dialog.setMinValue(m_range ? m_range->first : 0.0);
    dialog.setMaxValue(m_range ? m_range->second : 1.0);
    if (dialog.exec() == QDialog::Accepted)
        updateGraphsWithRange(dialog.minValue(), dialog.maxValue());
}

void GraphDataController::onSelectedDataChanged(const DataList& data) {
    DataList selected;
    for (Graph* graph : data.getAll<Graph>())
        selected.add(graph);
    if (selected.empty())
        return;
    setDataList(selected);
    updateFeatureNames();
}

void GraphDataController::onVisibleDataChanged(const DataList& data) {
    for (Graph* graph : graphs()) {
        const bool visible = std::find(data.begin(), data.end(), graph) != data.end();
        if (auto* legend = graph->components().get<FeatureLegend>())
            legend->setShown(visible && m_legend->isChecked());
    }
    Q_EMIT redrawRequested();
}

void GraphDataController::updateGraphDisplay() {
    const std::optional<FeatureKey> feature = currentFeature();
    if (feature && !m_range)
        m_range = featureRange(*feature).value_or(std::make_pair(0.0, 1.0));
    const Colormap::Preset preset = currentPreset();
    for (Graph* graph : graphs()) {
        auto& colorOptions = graph->components().getOrAdd<GraphDisplayOptions>().featureColorMapOptions.value();
        const bool edge = feature && feature->kind == FeatureKey::Edge;
        const bool node = feature && feature->kind == FeatureKey::Node;
        colorOptions.edgeFeatureName = edge ? std::optional<std::string>(feature->name) : std::nullopt;
        colorOptions.nodeFeatureName = node ? std::optional<std::string>(feature->name) : std::nullopt;
        colorOptions.colormap = preset;
        if (m_range) {
            graph->components().getOrAdd<FeatureColorMapper>().update(preset, mapperEntries, m_range->first,
                                                                      m_range->second);
            if (auto* legend = graph->components().get<FeatureLegend>())
                legend->setLabels(m_range->first, m_range->second);
        }
    }
    Q_EMIT redrawRequested();
}

void GraphDataController::updateGraphsWithRange(double min, double max) {
    m_range = std::make_pair(min, max);
    const Colormap::Preset preset = currentPreset();
    for (Graph* graph : graphs()) {
        graph->components().getOrAdd<FeatureColorMapper>().update(preset, mapperEntries, min, max);
        graph->components().getOrAdd<FeatureLegend>().setLabels(min, max);
    }
    Q_EMIT redrawRequested();
}

std::optional<std::pair<double, double>> GraphDataController::featureRange(const FeatureKey& key) const {
    double min = INFINITY, max = -INFINITY;
    const auto add = [&](double value) {
        if (std::isnan(value))
            return;
        min = std::min(min, value);
        max = std::max(max, value);
    };
    for (const Graph* graph : graphs()) {
        if (key.kind == FeatureKey::Edge) {
            if (const auto index = graph->getEdgeFeatureIdx(key.name))
                graph->forEachEdge(
                    [&](const Graph::EdgeInfo& e, unsigned long, unsigned long) { add(e.features[*index]); });
        } else if (const auto index = graph->getNodeFeatureIdx(key.name)) {
            graph->forEachNode([&](unsigned long, const Graph::NodeInfo& n) { add(n.features[*index]); });
        }
    }
    if (min > max)
        return std::nullopt;
    return std::make_pair(min, max);
}

} // namespace Tarnwick
