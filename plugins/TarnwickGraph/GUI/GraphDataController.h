#pragma once

#include <TarnwickGraph/Graph/GraphFeatureColorMapper.h>
#include <TarnwickGraph/GUI/FeatureKey.h>
#include <TarnwickGraph/Rendering/GraphFeatureLegend.h>
#include <TarnwickGUI/DataController.h>

#include <optional>
#include <utility>
#include <vector>

class QComboBox;
class QPushButton;
class QToolButton;

namespace Tarnwick {

class Graph;

/// The side panel shown for a selection of graphs: colours their lines by one node or edge feature.
/// A group box "Feature Colormap" holds the feature (None, then every feature of the selected graphs),
/// the colour map, a "Legend" toggle for the colour bar in the 3-D view, "Rescale" (the feature's
/// range over the selected graphs) and "Set Range" (typed in a dialog).
///
/// Choices are written to each graph's display options and colour mapper (FeatureColorMapper,
/// 256 entries) and legend (FeatureLegend), which are added on first use; then redrawRequested() is
/// emitted. The range starts as the first graph's mapper range, else the chosen feature's range, and
/// goes back to the feature's range when another feature is chosen.
class GraphDataController : public DataController {
    Q_OBJECT
public:
    using FeatureColorMapper = GraphFeatureColorMapper;
    using FeatureLegend = GraphFeatureLegend;

    /// `graphs` must hold graphs only (see createCompatible()); call init() before use.
    explicit GraphDataController(const DataList& graphs, QWidget* parent = nullptr);

    /// Whether `data` is a non-empty selection of graphs only. If so and `out` is not null, a new,
    /// initialised controller is stored there; the caller owns it.
    static bool createCompatible(const DataList& data, DataController** out);

    /// Builds the panel and fills the combo boxes from the graphs' current settings.
    void init();

    QComboBox* featureBox() const { return m_feature; }
    QComboBox* colormapBox() const { return m_colormap; }
    QToolButton* legendButton() const { return m_legend; }
    QPushButton* rescaleButton() const { return m_rescale; }
    QPushButton* setRangeButton() const { return m_setRange; }
    /// The range the mappers span; nothing before a feature was chosen.
    std::optional<std::pair<double, double>> range() const { return m_range; }

public Q_SLOTS:
    void onFeatureChanged();
    void onColorMapChanged();
    void onToggleLegendButton();
    void onRescaleClicked();
    void onSetRangeClicked();
    /// Follows a new selection (its graphs; nothing when it holds none) and refills the feature list.
    void onSelectedDataChanged(const DataList& data);
    /// Shows the legend of the controlled graphs in `data` (while the toggle is on) and hides the others'.
    void onVisibleDataChanged(const DataList& data);
    /// Writes the chosen feature and colour map to every graph's options and mapper.
    void updateGraphDisplay();
    /// Gives every graph's mapper and legend this range.
    void updateGraphsWithRange(double min, double max);

private:
    std::vector<Graph*> graphs() const;
    /// The chosen feature; nothing for "None".
    std::optional<detail::FeatureKey> currentFeature() const;
    Colormap::Preset currentPreset() const;
    void updateColorPresets();
    void updateFeatureNames();
    /// Minimum and maximum of a feature over the graphs; nothing when they hold no value of it.
    std::optional<std::pair<double, double>> featureRange(const detail::FeatureKey& key) const;

    QComboBox* m_feature = nullptr;
    QComboBox* m_colormap = nullptr;
    QToolButton* m_legend = nullptr;
    QPushButton* m_rescale = nullptr;
    QPushButton* m_setRange = nullptr;
    std::optional<std::pair<double, double>> m_range;
};

} // namespace Tarnwick
