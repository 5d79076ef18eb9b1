#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <optional>
#include <string>

namespace Tarnwick {

class Graph;
class SharedImage;
class SharedImageSet;

/// Samples an image at the midpoint of every edge and stores twice the value in an edge feature: with
/// a radius map (the inside distance transform of a vessel mask) this gives a diameter per edge. The
/// graph is changed in place; no data is produced.
///
/// The feature named by "edgeFeatureName" is created (default 0) when missing and overwritten otherwise.
/// Values come from the image's trilinear lookup at the continuous pixel position (channel 0); outside
/// the image it gives what the lookup gives there (0 beyond half a voxel past the border).
///
/// Failures (error log, status InvalidInput, graph unchanged): "No edge feature name specified" and
/// "The image set holds no image".
class EvaluateGraphAtImageAlgorithm : public Algorithm {
public:
    EvaluateGraphAtImageAlgorithm(Graph& graph, const SharedImageSet& images);

    /// Compatible when the selection is exactly one Graph and one image set.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Sets edge feature `column` of every edge to factor x (value of `image` at the edge midpoint), the
    /// midpoint being mapped from graph to world coordinates by the graph's matrix. O(E) lookups.
    static void sampleAtEdgeMidpoints(Graph& graph, const SharedImage& image, int column, double factor);

    Parameter<std::optional<std::string>> edgeFeatureName{"edgeFeatureName", std::nullopt, this};

private:
    Graph& m_graph;
    const SharedImageSet& m_images;
};

} // namespace Tarnwick
