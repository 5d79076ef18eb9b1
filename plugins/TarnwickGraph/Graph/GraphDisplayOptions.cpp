#include <TarnwickGraph/Graph/GraphDisplayOptions.h>

#include <initializer_list>

namespace Tarnwick {

namespace {

/// Colours are edited as one reduced colour field rather than four numbers.
void markAsColor(ParameterBase& parameter) {
    parameter.setAttribute("type", "reduced");
}

} // namespace

// --- GeneralOptions -----------------------------------------------------------------------------------

GraphDisplayOptions::GeneralOptions::GeneralOptions() {
    markAsColor(pointColor);
    markAsColor(lineColor);
}

GraphDisplayOptions::GeneralOptions::GeneralOptions(const GeneralOptions& other)
    : Configurable(other), drawPoints(other.drawPoints), pointSize(other.pointSize), pointColor(other.pointColor),
      onlyDrawNontrivialNodes(other.onlyDrawNontrivialNodes), showNodeIndices(other.showNodeIndices),
      drawLines(other.drawLines), lineWidth(other.lineWidth), lineColor(other.lineColor),
      drawDirectionOnLines(other.drawDirectionOnLines) {
    for (ParameterBase* p : std::initializer_list<ParameterBase*>{
             &drawPoints, &pointSize, &pointColor, &onlyDrawNontrivialNodes, &showNodeIndices, &drawLines, &lineWidth,
             &lineColor, &drawDirectionOnLines})
        p->setParentFromCopy(this);
}

bool GraphDisplayOptions::GeneralOptions::operator==(const GeneralOptions& o) const {
    return drawPoints.value() == o.drawPoints.value() && pointSize.value() == o.pointSize.value() &&
           pointColor.value() == o.pointColor.value() &&
           onlyDrawNontrivialNodes.value() == o.onlyDrawNontrivialNodes.value() &&
           showNodeIndices.value() == o.showNodeIndices.value() && drawLines.value() == o.drawLines.value() &&
           lineWidth.value() == o.lineWidth.value() && lineColor.value() == o.lineColor.value() &&
           drawDirectionOnLines.value() == o.drawDirectionOnLines.value();
}

// --- FeatureCircleOptions -----------------------------------------------------------------------------

GraphDisplayOptions::FeatureCircleOptions::FeatureCircleOptions() {
    markAsColor(circleColor);
    scalingMode.setAttribute("values", "Raw, RescaledMax, Logarithmic");
}

GraphDisplayOptions::FeatureCircleOptions::FeatureCircleOptions(const FeatureCircleOptions& other)
    : Configurable(other), featureName(other.featureName), circleColor(other.circleColor),
      scalingMode(other.scalingMode), simplifyLinearChains(other.simplifyLinearChains), showLabels(other.showLabels),
      unitSuffix(other.unitSuffix) {
    for (ParameterBase* p : std::initializer_list<ParameterBase*>{&featureName, &circleColor, &scalingMode,
                                                                  &simplifyLinearChains, &showLabels, &unitSuffix})
        p->setParentFromCopy(this);
}

bool GraphDisplayOptions::FeatureCircleOptions::operator==(const FeatureCircleOptions& o) const {
    return featureName.value() == o.featureName.value() && circleColor.value() == o.circleColor.value() &&
           scalingMode.value() == o.scalingMode.value() &&
           simplifyLinearChains.value() == o.simplifyLinearChains.value() &&
           showLabels.value() == o.showLabels.value() && unitSuffix.value() == o.unitSuffix.value();
}

// --- FeatureColorMapOptions ---------------------------------------------------------------------------

GraphDisplayOptions::FeatureColorMapOptions::FeatureColorMapOptions(const FeatureColorMapOptions& other)
    : Configurable(other), edgeFeatureName(other.edgeFeatureName), nodeFeatureName(other.nodeFeatureName),
      colormap(other.colormap) {
    for (ParameterBase* p : std::initializer_list<ParameterBase*>{&edgeFeatureName, &nodeFeatureName, &colormap})
        p->setParentFromCopy(this);
}

bool GraphDisplayOptions::FeatureColorMapOptions::operator==(const FeatureColorMapOptions& o) const {
    return edgeFeatureName.value() == o.edgeFeatureName.value() &&
           nodeFeatureName.value() == o.nodeFeatureName.value() && colormap.value() == o.colormap.value();
}

// --- GraphDisplayOptions ------------------------------------------------------------------------------

GraphDisplayOptions::GraphDisplayOptions() {
    forwardParameterChanges();
}

GraphDisplayOptions::GraphDisplayOptions(const GraphDisplayOptions& other)
    : DataComponent(other), Configurable(other), generalOptions(other.generalOptions),
      featureCircleOptions(other.featureCircleOptions), featureColorMapOptions(other.featureColorMapOptions) {
    generalOptions.setParentFromCopy(this);
    featureCircleOptions.setParentFromCopy(this);
    featureColorMapOptions.setParentFromCopy(this);
    forwardParameterChanges();
}

bool GraphDisplayOptions::operator==(const GraphDisplayOptions& o) const {
    return generalOptions.value() == o.generalOptions.value() &&
           featureCircleOptions.value() == o.featureCircleOptions.value() &&
           featureColorMapOptions.value() == o.featureColorMapOptions.value();
}

void GraphDisplayOptions::forwardParameterChanges() {
    signalParameterChanged.connect([this](const ParameterBase*) { signalChanged.emitSignal(); });
}

} // namespace Tarnwick
