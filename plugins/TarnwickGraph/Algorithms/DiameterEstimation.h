#pragma once

#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickLib/Image/SharedImage.h>

#include <optional>
#include <unordered_set>

/// Diameter measurement of the structure around every edge of a centerline graph in a label image.
///
/// Both methods cast rays in the plane normal to an edge, from its midpoint, and store twice the measured
/// radius in the edge feature "diameter" (created with default 0 when missing). A voxel is inside when its
/// value (channel 0, nearest voxel by truncation of the pixel coordinate, no interpolation) is strictly
/// greater than the threshold. Rays advance in steps of the smallest voxel spacing and reach at most
/// sqrt(3) times the largest extent of the image. An edge whose midpoint lies outside the image or in
/// background gets 0.
///
/// Supported label pixel types: uint8, uint16 and float; the dispatching functions return -1 and leave the
/// graph untouched for any other type, and the index of "diameter" otherwise. They also return -1, with an
/// error logged, for an image whose smallest spacing would need more than 100,000 ray steps to cross its
/// largest extent (such spacing ratios make the measurement cost explode).
namespace Tarnwick::DiameterEstimation {

/// Constants of the vessel method.
constexpr int vesselRayCount = 36;
constexpr double vesselLowerTrim = 0.05;
constexpr double vesselUpperTrimBase = 0.05;
constexpr double vesselUpperTrimCeiling = 0.6;
constexpr int vesselMinLiveRays = 4;
constexpr double vesselSpreadGuard = 1e-06;
constexpr double vesselSmoothingFactor = 1.1;

/// Plain method: grows rings of rays (at least 20, about one voxel apart) until the first ray leaves the
/// structure, then bisects that ray five times. Stops without refinement, at the last radius where every
/// ray was inside, when a ray leaves the image. Fills zero edges from their neighbours when
/// averageZeroEdges is set.
int computeDiameters(Graph& graph, const SharedImage& labels, bool averageZeroEdges, double threshold);

/// Vessel method: marches 36 rays independently until fewer than 4 are inside, takes a trimmed mean of their
/// lengths that cuts more of the long rays the more they spread (so branches do not inflate the result),
/// fills zero edges when fillZeroEdges is set, then evens the values out along each segment with
/// GraphUtils::clampAndSmoothEdgeFeature(clampEdges, slidingAverage, factor 1.1).
int computeVesselDiameters(Graph& graph, const SharedImage& labels, bool clampEdges, std::optional<int> slidingAverage,
                           bool fillZeroEdges, double threshold);

/// The methods for one voxel type T (unsigned char, unsigned short, float); -1 when labels does not hold T
/// values or exceeds the ray step limit.
template <typename T>
int computeDiametersImpl(Graph& graph, const SharedImage& labels, bool averageZeroEdges, double threshold);
template <typename T>
int computeVesselDiametersImpl(Graph& graph, const SharedImage& labels, bool clampEdges,
                               std::optional<int> slidingAverage, bool fillZeroEdges, double threshold);

/// Gives every edge whose feature featureIndex is exactly 0 the neighbour average of
/// computeNeighborAverageDiameter, visiting edges in the graph's edge order (edges filled earlier count
/// for later ones). Cost: a ring search per zero edge; a component found to hold no positive value is
/// remembered, so a component of zero edges is searched once.
void fillZeroEdgesWithNeighborAverage(Graph& graph, int featureIndex);

/// Ring-wise breadth-first search from `frontier`: the mean of the positive first edge features (index 0,
/// so it averages diameters when "diameter" is the graph's first edge feature) of the edges leaving the
/// nearest ring that holds any; 0 when the frontier is empty or the component holds none. Frontier nodes
/// are added to `visited`. Adjacency entries without an edge record (directed back-references) are
/// followed but give no value. When two frontier nodes share a neighbour, the entry of the smaller
/// frontier id is read. Iterative, so long chains cannot exhaust the stack.
double computeNeighborAverageDiameter(const Graph& graph, const std::unordered_set<unsigned long>& frontier,
                                      std::unordered_set<unsigned long>& visited);

extern template int computeDiametersImpl<unsigned char>(Graph&, const SharedImage&, bool, double);
extern template int computeDiametersImpl<unsigned short>(Graph&, const SharedImage&, bool, double);
extern template int computeDiametersImpl<float>(Graph&, const SharedImage&, bool, double);
extern template int computeVesselDiametersImpl<unsigned char>(Graph&, const SharedImage&, bool, std::optional<int>,
                                                              bool, double);
extern template int computeVesselDiametersImpl<unsigned short>(Graph&, const SharedImage&, bool, std::optional<int>,
                                                               bool, double);
extern template int computeVesselDiametersImpl<float>(Graph&, const SharedImage&, bool, std::optional<int>, bool,
                                                      double);

} // namespace Tarnwick::DiameterEstimation
