#pragma once

#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/Parameter.h>

#include <Eigen/SparseCore>

namespace Tarnwick {

class Graph;
class SharedImageSet;

/// Moves node positions to smooth the polylines of a spatial graph; topology and features are kept.
/// Works in place and produces no output data. Messages go to the category "GraphSmoothingAlgorithm.compute".
///
/// Modes:
/// - NeighborhoodWeightedAverage: one Jacobi-style pass of a weighted average with each node's neighbours
///   (neighborhoodSmoothing).
/// - LaplacianHeatKernel: one implicit heat-diffusion step (I + sigma^2 / 2 L) X' = X over the graph
///   Laplacian with Gaussian edge weights (graphLaplacian), solved by BiCGSTAB.
/// - DistanceWeightedCurveShortening (only offered with a label image): the label image is resampled to
///   an isotropic grid around its labels, its inside distance transform pulls nodes toward the vessel
///   centre while a curvature term shortens the curves (DistanceWeightedCurveShortening), framed by two
///   neighbour-average passes with sigma 2. `smoothingStrength` is hidden in this mode.
///
/// With `preserveTerminalEdges` leaves (nodes with exactly one neighbour) never move, in every mode.
/// Failures (error log, status, graph unchanged): "DistanceWeightedCurveShortening requires a label
/// image" (InvalidInput), "Could not resample label image" (Error), a heat-kernel solve that does not
/// converge (Error).
class GraphSmoothingAlgorithm : public Algorithm {
public:
    enum Mode : int { NeighborhoodWeightedAverage = 0, LaplacianHeatKernel = 1, DistanceWeightedCurveShortening = 2 };

    /// labelImage is optional (null); it enables DistanceWeightedCurveShortening, which is then the default.
    GraphSmoothingAlgorithm(Graph& graph, SharedImageSet* labelImage);

    /// Compatible with exactly one Graph plus at most one image set (the label image).
    static bool createCompatible(const DataList& data, Algorithm** out);

    void compute() override;

    /// Every node moves to (p + w sum of its neighbours' positions) / (1 + w k), w = exp(-0.5 / sigma^2),
    /// k its number of neighbours, all computed from the positions before the pass. A leaf stays put when
    /// preserveTerminal is set; otherwise, when its neighbour n has exactly one other neighbour m, it moves
    /// to (p + w e) / (1 + w) with e the point continuing the direction m -> n by the leaf's distance to n.
    /// Isolated nodes stay put. O(N + E).
    static void neighborhoodSmoothing(Graph& graph, double sigma, bool preserveTerminal);

    /// L = D - W over the sequential node index, W(i, j) = exp(-|p_i - p_j|^2 / (2 sigma^2)) for every
    /// pair of neighbours; a preserved leaf's row is all zero. Self loops are ignored. O(N + E).
    static Eigen::SparseMatrix<double, Eigen::RowMajor> graphLaplacian(const Graph& graph, double sigma,
                                                                       bool preserveTerminal);

    /// One implicit heat-kernel step. Returns false, changing nothing, when BiCGSTAB reports a numerical
    /// problem or stops with a residual that is not small (the reason is logged).
    static bool heatKernelSmoothing(Graph& graph, double sigma, bool preserveTerminal);

    Parameter<Mode> mode;
    Parameter<double> smoothingStrength{"smoothingStrength", 1.0, this};
    Parameter<bool> preserveTerminalEdges{"preserveTerminalEdges", true, this};

private:
    void updateVisibility();
    bool curveShortening();

    Graph& m_graph;
    SharedImageSet* m_labelImage;
};

} // namespace Tarnwick
