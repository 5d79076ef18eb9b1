#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <Eigen/Core>

#include <optional>
#include <string>

namespace Tarnwick {

class Graph;
class Mesh;

/// Paints a graph feature onto a mesh, typically a vessel surface around its centerline graph: every
/// mesh vertex takes the value of the graph edge nearest to it (exact distance to the edge segment, in
/// world coordinates, through NearestEdgeSearch).
///
/// - `featureType` Edge: the edge's value of `featureName`. Node: the node feature `featureName`
///   interpolated linearly between the edge's two nodes at the point closest to the vertex.
/// - `maxDistance` (millimetres, unset: no limit): vertices farther from every edge get no value.
///
/// Results, written into the mesh in place (no output data):
/// - a per-vertex scalar field named `featureName` (Mesh::setVertexScalars), NaN where there is no value;
/// - vertex colours from a blue-cyan-green-yellow-red ramp over [min, max] of the feature over the
///   graph's edges (or nodes), all green when min = max, and `noValueColor` where there is no value.
///
/// Failures (error log, mesh unchanged): "Graph has no edge feature '<name>'." or "Graph has no node
/// feature '<name>'." (InvalidInput), "The graph has no edges." (InvalidInput). A mesh without
/// vertices succeeds without changes. O(V log S) for V vertices and S edge samples, parallel over
/// vertices. The desktop controller for this algorithm, TransferGraphFeatureToMeshController, comes with
/// the GUI.
class TransferGraphFeatureToMeshAlgorithm : public Algorithm {
public:
    enum FeatureType : int { Edge = 0, Node = 1 };

    TransferGraphFeatureToMeshAlgorithm(const Graph& graph, Mesh& mesh);

    /// Compatible when the selection is exactly one Graph and one Mesh.
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// RGB of the colour ramp at fraction f in [0, 1] (clamped; NaN gives the ramp's middle).
    static Eigen::Vector3f rampColor(double f);

    Parameter<std::string> featureName{"featureName", "diameter", this};
    Parameter<FeatureType> featureType{"featureType", Edge, this};
    Parameter<std::optional<double>> maxDistance{"maxDistance", std::nullopt, this};
    Parameter<Eigen::Vector4d> noValueColor{"noValueColor", Eigen::Vector4d(0.5, 0.5, 0.5, 1.0), this};

private:
    const Graph& m_graph;
    Mesh& m_mesh;
};

} // namespace Tarnwick
