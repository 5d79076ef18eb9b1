#pragma once

#include <TarnwickLib/Data/DataComponent.h>

#include <Eigen/Core>

#include <optional>
#include <string>

namespace Tarnwick {

/// How a graph is drawn: a data component attached to every Graph, read by the renderer and written by
/// the data controller and the options widget. Pure data (no rendering code), so graphs can be built
/// and copied without OpenGL; the renderer refers to it as its DisplayOptions type. Whoever changes a
/// value emits `signalChanged` so that views redraw. Colours are RGBA in [0, 1].
class GraphDisplayOptions : public DataComponent<GraphDisplayOptions> {
public:
    struct GeneralOptions {
        bool drawPoints = true;
        double pointSize = 8.0; ///< point diameter in pixels
        Eigen::Vector4d pointColor = Eigen::Vector4d(1.0, 0.0, 0.0, 1.0);
        bool onlyDrawNontrivialNodes = true; ///< draw only nodes whose degree is not 2
        bool showNodeIndices = false;
        bool drawLines = true;
        double lineWidth = 3.0; ///< in pixels
        Eigen::Vector4d lineColor = Eigen::Vector4d(0.0, 0.0, 1.0, 1.0);
        bool drawDirectionOnLines = false;

        bool operator==(const GeneralOptions& o) const {
            return drawPoints == o.drawPoints && pointSize == o.pointSize && pointColor == o.pointColor &&
                   onlyDrawNontrivialNodes == o.onlyDrawNontrivialNodes && showNodeIndices == o.showNodeIndices &&
                   drawLines == o.drawLines && lineWidth == o.lineWidth && lineColor == o.lineColor &&
                   drawDirectionOnLines == o.drawDirectionOnLines;
        }
    };

    /// An edge feature drawn as circles around the edges.
    struct FeatureCircleOptions {
        /// How feature values become radii; labels "Raw, RescaledMax, Logarithmic".
        enum ScalingMode : int { Raw = 0, RescaledMax = 1, Logarithmic = 2 };

        std::optional<std::string> featureName; ///< none disables the circles
        Eigen::Vector4d circleColor = Eigen::Vector4d(0.0, 1.0, 0.0, 1.0);
        ScalingMode scalingMode = Raw;
        bool simplifyLinearChains = false; ///< one circle per chain of degree-2 nodes
        bool showLabels = false;
        std::string unitSuffix;

        bool operator==(const FeatureCircleOptions& o) const {
            return featureName == o.featureName && circleColor == o.circleColor && scalingMode == o.scalingMode &&
                   simplifyLinearChains == o.simplifyLinearChains && showLabels == o.showLabels &&
                   unitSuffix == o.unitSuffix;
        }
    };

    /// A feature shown as colours of lines or points.
    struct FeatureColorMapOptions {
        std::optional<std::string> edgeFeatureName;
        std::optional<std::string> nodeFeatureName;
        int colormap = 9; ///< host colour-map preset value; 9 is the cool-warm divergent map

        bool operator==(const FeatureColorMapOptions& o) const {
            return edgeFeatureName == o.edgeFeatureName && nodeFeatureName == o.nodeFeatureName &&
                   colormap == o.colormap;
        }
    };

    GeneralOptions generalOptions;
    FeatureCircleOptions featureCircleOptions;
    FeatureColorMapOptions featureColorMapOptions;

    bool operator==(const GraphDisplayOptions& o) const {
        return generalOptions == o.generalOptions && featureCircleOptions == o.featureCircleOptions &&
               featureColorMapOptions == o.featureColorMapOptions;
    }
    bool operator!=(const GraphDisplayOptions& o) const { return !(*this == o); }

    std::string id() const override { return "GraphDisplayOptions"; }
};

} // namespace Tarnwick
