#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <optional>

namespace Tarnwick {

/// Attaches the standard measurements to a graph in place: the edge features "length", "diameter"
/// (measured in a label image, see DiameterEstimation) and "crossSection", and the node feature "degree".
/// Each feature is created with default 0 when missing and overwritten everywhere otherwise. The output
/// list is always empty.
///
/// Status: Success, or InvalidInput with the error "Label not set." when a mode needs the label image and
/// none was given. A label image of an unsupported pixel type writes nothing (a warning is logged) and
/// still succeeds, except in CrossSection mode without existing diameters, which then fails with Error.
/// A label image refused by DiameterEstimation (spacing far too fine for its extent) fails with Error.
class ComputeCommonGraphFeaturesAlgorithm : public Algorithm {
public:
    enum Mode : int { EdgeLength = 0, Diameter = 1, CrossSection = 2, Degree = 3, VesselDiameter = 4 };

    /// labels may be null; with labels the initial mode is Diameter, else EdgeLength.
    ComputeCommonGraphFeaturesAlgorithm(Graph& graph, SharedImageSet* labels);

    /// Accepts exactly one Graph plus at most one image set, and nothing else.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Euclidean edge lengths into "length"; returns its index.
    static int computeEdgeLengths(Graph& graph);
    /// Plain diameter method (DiameterEstimation::computeDiameters).
    static int computeDiameters(Graph& graph, const SharedImage& labels, bool averageZeroEdges, double threshold);
    /// Vessel diameter method (DiameterEstimation::computeVesselDiameters).
    static int computeVesselDiameters(Graph& graph, const SharedImage& labels, bool clampEdges,
                                      std::optional<int> slidingAverage, bool fillZeroEdges, double threshold);
    /// pi * d^2 / 4 of every edge's "diameter" into "crossSection"; returns its index. Throws
    /// std::bad_optional_access when the graph has no "diameter".
    static int computeCrossSections(Graph& graph);

    Parameter<Mode> mode{"mode", EdgeLength, this};
    /// Fill edges measured as 0 with the average of their neighbourhood (Diameter mode).
    Parameter<bool> averageZeroEdges{"averageZeroEdges", false, this};
    /// Label value above which a voxel is inside (Diameter and CrossSection modes). In VesselDiameter mode
    /// the threshold is fixed at 0.5 and this value only decides, by being non-zero, whether zero edges are
    /// filled.
    Parameter<double> threshold{"threshold", 0.5, this};
    /// Averaging width of the smoothing of vessel diameters.
    Parameter<std::optional<int>> slidingAverage{"slidingAverage", 3, this};
    /// Clamp vessel diameters around the median of their segment.
    Parameter<bool> clampEdges{"clampEdges", true, this};

private:
    /// The current label image, or null (with "Label not set." logged) when there is none.
    const SharedImage* labelImage() const;
    void computeCrossSectionMode();

    Graph& m_graph;
    SharedImageSet* m_labels;
};

} // namespace Tarnwick
