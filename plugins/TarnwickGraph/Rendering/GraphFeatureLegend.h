#pragma once

#include <TarnwickLib/Data/DataComponent.h>

#include <array>
#include <string>

namespace Tarnwick {

/// The colour bar of a graph's feature colouring, as a data component of the graph: whether it is
/// shown in the 3-D view and the value range its four labels name. The bar itself (colour map, title)
/// follows the graph's colour feature and mapper; GraphLegendOverlay draws it.
class GraphFeatureLegend : public DataComponent<GraphFeatureLegend> {
public:
    bool isShown() const { return m_shown; }
    /// Shows or hides the bar; emits signalChanged when that changes.
    void setShown(bool shown);

    /// Labels at min, min + (max - min)/3, min + 2(max - min)/3 and max, each formatted "{:.3g}";
    /// emits signalChanged.
    void setLabels(double min, double max);
    const std::array<std::string, 4>& labels() const { return m_labels; }
    double min() const { return m_min; }
    double max() const { return m_max; }

    bool operator==(const GraphFeatureLegend& other) const;
    std::string id() const override { return "GraphFeatureLegend"; }

private:
    bool m_shown = false;
    double m_min = 0.0;
    double m_max = 1.0;
    std::array<std::string, 4> m_labels{"0", "0.333", "0.667", "1"};
};

} // namespace Tarnwick
