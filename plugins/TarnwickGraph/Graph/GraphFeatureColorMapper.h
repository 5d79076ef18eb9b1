#pragma once

#include <TarnwickLib/Data/Colormap.h>
#include <TarnwickLib/Data/DataComponent.h>

#include <Eigen/Core>

#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Graph;

/// Maps a feature value to an RGBA colour through a colour-map table over [min, max]: a data component
/// of a graph, read by the renderer for colour-mapped lines and written by the data controller.
/// A default-constructed mapper has no table and maps everything to magenta until update() is called.
class GraphFeatureColorMapper : public DataComponent<GraphFeatureColorMapper> {
public:
    /// Table size used by the renderer and the data controller.
    static constexpr int defaultEntries = 256;

    GraphFeatureColorMapper() = default;
    GraphFeatureColorMapper(Colormap::Preset preset, int entries, double min, double max);

    /// The colour of x: with n table entries, t = (clamp(x, min, max) - min) / max(max - min, smallest
    /// positive normal double) * (n - 1) and the entry round(t) limited to [0, n - 1] (NaN takes entry 0).
    /// Magenta (1, 0, 1, 1) without a table.
    Eigen::Vector4f operator()(double x) const;

    /// Rebuilds the table for `preset` with `entries` entries (none for entries <= 0 or an unknown preset;
    /// at most Colormap::maxEntries) over [min, max], and emits signalChanged.
    void update(Colormap::Preset preset, int entries, double min, double max);

    Colormap::Preset preset() const { return m_preset; }
    int entries() const { return static_cast<int>(m_table.size()); }
    double min() const { return m_min; }
    double max() const { return m_max; }
    const std::vector<Eigen::Vector4f>& table() const { return m_table; }

    bool operator==(const GraphFeatureColorMapper& other) const;
    std::string id() const override { return "GraphFeatureColorMapper"; }

    /// A mapper for the colour feature chosen in the graph's display options (the edge feature, else the
    /// node feature) spanning that feature's minimum and maximum, with the options' colour map and
    /// defaultEntries entries. Nothing when no colour feature is chosen or the graph lacks it. O(N + E).
    static std::optional<GraphFeatureColorMapper> forFeatureRange(const Graph& graph);
    /// The graph's mapper. When the graph has none (or one without a table) and a colour feature is chosen,
    /// forFeatureRange() is attached first, so a graph coloured without the data controller shows the
    /// feature's full range. Null when there is neither a usable mapper nor a colour feature.
    static const GraphFeatureColorMapper* getOrAddForFeature(Graph& graph);

private:
    Colormap::Preset m_preset = Colormap::CoolWarm;
    double m_min = 0.0;
    double m_max = 1.0;
    std::vector<Eigen::Vector4f> m_table;
};

} // namespace Tarnwick
