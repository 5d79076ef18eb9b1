#pragma once

#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Algorithm/SubProperty.h>
#include <TarnwickLib/Data/Colormap.h>
#include <TarnwickLib/Data/DataComponent.h>

#include <Eigen/Core>

#include <optional>
#include <string>

namespace Tarnwick {

/// How a graph is drawn: a data component attached to every Graph, read by the renderer on every draw
/// and edited by the data controller and the options widget. It is a temporary component: graph files
/// do not store it. Pure data (no rendering code), so graphs can be built and copied without OpenGL;
/// the renderer refers to it as its DisplayOptions type.
///
/// The settings are three groups of parameters saved as sub-properties "generalOptions",
/// "featureCircleOptions" and "featureColorMapOptions", so the host's properties mechanism saves and
/// restores them with the workspace. Any parameter change emits `signalChanged`. Colours are RGBA in [0, 1].
///
///     options.generalOptions->lineWidth = 5.0;            // emits signalChanged
///     double width = options.generalOptions->lineWidth;
class GraphDisplayOptions : public DataComponent<GraphDisplayOptions>, public Configurable {
public:
    class GeneralOptions : public Configurable {
    public:
        GeneralOptions();
        GeneralOptions(const GeneralOptions& other);
        GeneralOptions& operator=(const GeneralOptions&) = default;
        bool operator==(const GeneralOptions& other) const;

        Parameter<bool> drawPoints{"drawPoints", true, this};
        Parameter<double> pointSize{"pointSize", 8.0, this}; ///< point diameter in pixels
        Parameter<Eigen::Vector4d> pointColor{"pointColor", Eigen::Vector4d(1.0, 0.0, 0.0, 1.0), this};
        /// Draw only nodes whose degree is not 2 (self loops not counted).
        Parameter<bool> onlyDrawNontrivialNodes{"onlyDrawNontrivialNodes", true, this};
        Parameter<bool> showNodeIndices{"showNodeIndices", false, this}; ///< each node's id as text
        Parameter<bool> drawLines{"drawLines", true, this};
        Parameter<double> lineWidth{"lineWidth", 3.0, this}; ///< in pixels
        Parameter<Eigen::Vector4d> lineColor{"lineColor", Eigen::Vector4d(0.0, 0.0, 1.0, 1.0), this};
        Parameter<bool> drawDirectionOnLines{"drawDirectionOnLines", false, this}; ///< arrowheads at edge ends
    };

    /// An edge feature drawn as circles around the edges.
    class FeatureCircleOptions : public Configurable {
    public:
        /// How feature values become radii.
        enum ScalingMode : int { Raw = 0, RescaledMax = 1, Logarithmic = 2 };

        FeatureCircleOptions();
        FeatureCircleOptions(const FeatureCircleOptions& other);
        FeatureCircleOptions& operator=(const FeatureCircleOptions&) = default;
        bool operator==(const FeatureCircleOptions& other) const;

        /// Edge feature to show; none disables the circles.
        Parameter<std::optional<std::string>> featureName{"featureName", std::nullopt, this};
        Parameter<Eigen::Vector4d> circleColor{"circleColor", Eigen::Vector4d(0.0, 1.0, 0.0, 1.0), this};
        Parameter<ScalingMode> scalingMode{"scalingMode", Raw, this};
        /// One circle per chain of degree-2 nodes instead of one per edge.
        Parameter<bool> simplifyLinearChains{"simplifyLinearChains", false, this};
        Parameter<bool> showLabels{"showLabels", false, this};     ///< the feature value beside each circle
        Parameter<std::string> unitSuffix{"unitSuffix", "", this}; ///< appended to labels
    };

    /// A feature shown as colours of lines (edge feature) or of line ends (node feature).
    class FeatureColorMapOptions : public Configurable {
    public:
        FeatureColorMapOptions() = default;
        FeatureColorMapOptions(const FeatureColorMapOptions& other);
        FeatureColorMapOptions& operator=(const FeatureColorMapOptions&) = default;
        bool operator==(const FeatureColorMapOptions& other) const;

        Parameter<std::optional<std::string>> edgeFeatureName{"edgeFeatureName", std::nullopt, this};
        Parameter<std::optional<std::string>> nodeFeatureName{"nodeFeatureName", std::nullopt, this};
        /// Colour map applied to the normalised feature value.
        Parameter<Colormap::Preset> colormap{"colormap", Colormap::CoolWarm, this};
    };

    GraphDisplayOptions();
    /// Copies every value; the copy emits its own signals and has no connections.
    GraphDisplayOptions(const GraphDisplayOptions& other);
    /// Assigns every value, emitting signalChanged for each parameter that changes.
    GraphDisplayOptions& operator=(const GraphDisplayOptions&) = default;

    /// Every parameter of the three groups equal.
    bool operator==(const GraphDisplayOptions& other) const;
    bool operator!=(const GraphDisplayOptions& other) const { return !(*this == other); }

    std::string id() const override { return "GraphDisplayOptions"; }

    SubProperty<GeneralOptions> generalOptions{"generalOptions", GeneralOptions(), this};
    SubProperty<FeatureCircleOptions> featureCircleOptions{"featureCircleOptions", FeatureCircleOptions(), this};
    SubProperty<FeatureColorMapOptions> featureColorMapOptions{"featureColorMapOptions", FeatureColorMapOptions(),
                                                               this};

private:
    void forwardParameterChanges();
};

} // namespace Tarnwick
