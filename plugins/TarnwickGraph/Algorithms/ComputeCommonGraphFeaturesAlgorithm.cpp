// Common graph features: edge lengths (one pass over the edges, O(E log N)), diameters from a label image
// by ray casting around each edge's midpoint (DiameterEstimation; cost per edge grows with the square of
// the vessel radius in voxels for the plain method and linearly for the vessel method), cross-sections
// from diameters (O(E log N)) and node degrees (O(N)). Everything runs on the calling thread.
#include <TarnwickGraph/Algorithms/ComputeCommonGraphFeaturesAlgorithm.h>

#include <TarnwickGraph/Algorithms/DiameterEstimation.h>
#include <TarnwickGraph/Algorithms/GraphSelection.h>
#include <TarnwickGraph/Graph/GraphUtils.h>

#include <TarnwickCore/Log.h>

namespace Tarnwick {

namespace {

constexpr double pi = 3.141592653589793;
/// The vessel method always uses this label threshold (see the threshold parameter).
constexpr double vesselThreshold = 0.5;

const char* hiddenText(bool hidden) {
    return hidden ? "true" : "false";
}

bool measuresDiameters(int mode) {
    return mode == ComputeCommonGraphFeaturesAlgorithm::Diameter ||
           mode == ComputeCommonGraphFeaturesAlgorithm::VesselDiameter;
}

bool readablePixelType(const SharedImage& labels) {
    const PixelType type = labels.descriptor().pixelType;
    return type == PixelType::UInt8 || type == PixelType::UInt16 || type == PixelType::Float;
}

/// The status of a diameter measurement. The routines return -1 for a pixel type they cannot read, which
/// is only warned about (the run succeeds, nothing is written), and for an image they refuse to measure,
/// which they log as an error (the run fails).
int diameterStatus(int diameterIdx, const SharedImage& labels) {
    if (diameterIdx >= 0)
        return Algorithm::Success;
    if (readablePixelType(labels))
        return Algorithm::Error;
    TW_LOG_WARN("Label image pixel type {} is not supported (expected uint8, uint16 or float); no diameters "
                "were measured.",
                pixelTypeName(labels.descriptor().pixelType));
    return Algorithm::Success;
}

} // namespace

ComputeCommonGraphFeaturesAlgorithm::ComputeCommonGraphFeaturesAlgorithm(Graph& graph, SharedImageSet* labels)
    : m_graph(graph), m_labels(labels) {
    mode.setAttribute("values", "EdgeLength, Diameter, CrossSection, Degree, VesselDiameter");
    if (labels) {
        mode.setDefaultValue(Diameter);
        mode.setValue(Diameter);
    }
    averageZeroEdges.setAttribute("hidden", hiddenText(!measuresDiameters(mode)));
    threshold.setAttribute("hidden", "false");
    slidingAverage.setAttribute("hidden", "true");
    clampEdges.setAttribute("hidden", "true");

    mode.signalValueChanged.connect([this] { clampEdges.setAttribute("hidden", hiddenText(mode != VesselDiameter)); });
    mode.signalValueChanged.connect(
        [this] { slidingAverage.setAttribute("hidden", hiddenText(mode != VesselDiameter)); });
    mode.signalValueChanged.connect(
        [this] { averageZeroEdges.setAttribute("hidden", hiddenText(!measuresDiameters(mode))); });
}

bool ComputeCommonGraphFeaturesAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto selection = graphWithOptionalImage(data);
    if (!selection)
        return false;
    if (out)
        *out = new ComputeCommonGraphFeaturesAlgorithm(*selection->graph, selection->image);
    return true;
}

const SharedImage* ComputeCommonGraphFeaturesAlgorithm::labelImage() const {
    const SharedImage* image = m_labels ? m_labels->get(-1) : nullptr;
    if (!image)
        TW_LOG_ERROR("Label not set.");
    return image;
}

void ComputeCommonGraphFeaturesAlgorithm::compute() {
    switch (mode.value()) {
    case EdgeLength:
        computeEdgeLengths(m_graph);
        break;
    case Diameter: {
        const SharedImage* labels = labelImage();
        if (!labels) {
            setStatus(InvalidInput);
            return;
        }
        setStatus(diameterStatus(computeDiameters(m_graph, *labels, averageZeroEdges, threshold), *labels));
        return;
    }
    case CrossSection:
        computeCrossSectionMode();
        return;
    case Degree: {
        const auto degreeIdx = static_cast<std::size_t>(m_graph.getOrCreateNodeFeatureIdx("degree", 0.0));
        m_graph.editEachNode([&](unsigned long, Graph::NodeInfo& node, const Graph::Neighborhood& adjacency) {
            node.features[degreeIdx] = static_cast<double>(adjacency.size());
        });
        break;
    }
    case VesselDiameter: {
        const SharedImage* labels = labelImage();
        if (!labels) {
            setStatus(InvalidInput);
            return;
        }
        // The user's threshold only switches zero-edge filling on (any non-zero value, NaN included).
        const bool fillZeroEdges = threshold != 0.0;
        setStatus(diameterStatus(
            computeVesselDiameters(m_graph, *labels, clampEdges, slidingAverage, fillZeroEdges, vesselThreshold),
            *labels));
        return;
    }
    default:
        break;
    }
    setStatus(Success);
}

void ComputeCommonGraphFeaturesAlgorithm::computeCrossSectionMode() {
    if (!m_graph.getEdgeFeatureIdx("diameter")) {
        const SharedImage* labels = labelImage();
        if (!labels) {
            setStatus(InvalidInput);
            return;
        }
        if (computeDiameters(m_graph, *labels, averageZeroEdges, threshold) < 0) {
            if (!readablePixelType(*labels))
                TW_LOG_ERROR("Cannot compute cross-sections: the label image pixel type {} is not supported "
                             "(expected uint8, uint16 or float).",
                             pixelTypeName(labels->descriptor().pixelType));
            setStatus(Error);
            return;
        }
    }
    computeCrossSections(m_graph);
    setStatus(Success);
}

int ComputeCommonGraphFeaturesAlgorithm::computeEdgeLengths(Graph& graph) {
    return GraphUtils::computeEdgeLengths(graph);
}

int ComputeCommonGraphFeaturesAlgorithm::computeDiameters(Graph& graph, const SharedImage& labels,
                                                          bool averageZeroEdges, double threshold) {
    return DiameterEstimation::computeDiameters(graph, labels, averageZeroEdges, threshold);
}

int ComputeCommonGraphFeaturesAlgorithm::computeVesselDiameters(Graph& graph, const SharedImage& labels,
                                                                bool clampEdges, std::optional<int> slidingAverage,
                                                                bool fillZeroEdges, double threshold) {
    return DiameterEstimation::computeVesselDiameters(graph, labels, clampEdges, slidingAverage, fillZeroEdges,
                                                      threshold);
}

int ComputeCommonGraphFeaturesAlgorithm::computeCrossSections(Graph& graph) {
    const auto diameterIdx = static_cast<std::size_t>(graph.getEdgeFeatureIdx("diameter").value());
    const int crossSectionIdx = graph.getOrCreateEdgeFeatureIdx("crossSection", 0.0);
    const auto column = static_cast<std::size_t>(crossSectionIdx);
    graph.editEachEdge([&](Graph::EdgeInfo& edge, unsigned long, unsigned long) {
        const double d = edge.features[diameterIdx];
        edge.features[column] = pi * d * d * 0.25;
    });
    return crossSectionIdx;
}

} // namespace Tarnwick
