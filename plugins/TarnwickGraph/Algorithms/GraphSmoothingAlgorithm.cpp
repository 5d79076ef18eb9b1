// Graph smoothing. The neighbour average is one explicit pass over the adjacency lists, O(N + E). The
// heat-kernel mode assembles the Gaussian-weighted graph Laplacian (one entry per edge direction plus
// the diagonal) and solves (I + sigma^2 / 2 L) X' = X for the three coordinate columns with BiCGSTAB and
// a diagonal preconditioner; the matrix is an M-matrix with condition number about 1 + 2 sigma^2 times
// the largest degree, so the solve takes few iterations, each O(E). The distance-weighted curve shortening
// is described in DistanceWeightedCurveShortening.cpp.

#include <TarnwickGraph/Algorithms/GraphSmoothingAlgorithm.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGraph/Algorithms/DistanceWeightedCurveShortening.h>
#include <TarnwickGraph/Algorithms/GraphSelection.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphMatrixUtils.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <Eigen/IterativeLinearSolvers>

#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Tarnwick {

namespace {

constexpr const char* logCategory = "GraphSmoothingAlgorithm.compute";
constexpr const char* modesWithLabelImage =
    "NeighborhoodWeightedAverage,LaplacianHeatKernel,DistanceWeightedCurveShortening";
constexpr const char* modesWithoutLabelImage = "NeighborhoodWeightedAverage,LaplacianHeatKernel";
/// Largest relative residual |A x - b| / |b| accepted from a solve that stopped without reaching its
/// (machine-epsilon) tolerance.
constexpr double acceptedResidual = 1e-8;

/// Number of neighbours other than the node itself.
std::size_t neighbourCount(unsigned long id, const Graph::Neighborhood& neighbours) {
    return neighbours.size() - neighbours.count(id);
}

} // namespace

GraphSmoothingAlgorithm::GraphSmoothingAlgorithm(Graph& graph, SharedImageSet* labelImage)
    : mode("mode", labelImage ? DistanceWeightedCurveShortening : NeighborhoodWeightedAverage, this), m_graph(graph),
      m_labelImage(labelImage) {
    mode.setAttribute("values", labelImage ? modesWithLabelImage : modesWithoutLabelImage);
    smoothingStrength.setAttribute("min", "0.0");
    updateVisibility();
    mode.signalValueChanged.connect([this]() { updateVisibility(); });
}

bool GraphSmoothingAlgorithm::createCompatible(const DataList& data, Algorithm** out) {
    const auto selection = graphWithOptionalImage(data);
    if (!selection)
        return false;
    if (out)
        *out = new GraphSmoothingAlgorithm(*selection->graph, selection->image);
    return true;
}

void GraphSmoothingAlgorithm::updateVisibility() {
    smoothingStrength.setAttribute("hidden", mode == DistanceWeightedCurveShortening ? "true" : "false");
}

void GraphSmoothingAlgorithm::neighborhoodSmoothing(Graph& graph, double sigma, bool preserveTerminal) {
    const double w = std::exp(-0.5 / (sigma * sigma));
    std::unordered_map<unsigned long, Eigen::Vector3d> before;
    before.reserve(graph.numNodes());
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) { before.emplace(id, node.position); });

    // The neighbour's other neighbour when `leaf`'s only neighbour n has exactly two neighbours.
    const auto continuation = [&](unsigned long leaf, unsigned long n) -> std::optional<unsigned long> {
        const Graph::Neighborhood& around = graph.neighborhood(n);
        if (neighbourCount(n, around) != 2)
            return std::nullopt;
        for (const auto& entry : around)
            if (entry.first != leaf && entry.first != n)
                return entry.first;
        return std::nullopt;
    };

    graph.editEachNode([&](unsigned long id, Graph::NodeInfo& node, const Graph::Neighborhood& neighbours) {
        const std::size_t k = neighbourCount(id, neighbours);
        if (k == 0)
            return;
        const Eigen::Vector3d& p = before.at(id);
        if (k == 1) {
            if (preserveTerminal)
                return;
            const unsigned long n =
                neighbours.begin()->first != id ? neighbours.begin()->first : std::next(neighbours.begin())->first;
            const std::optional<unsigned long> m = continuation(id, n);
            if (!m)
                return;
            const Eigen::Vector3d& q = before.at(n);
            const Eigen::Vector3d& r = before.at(*m);
            const double d1 = (p - q).norm();
            const double d2 = (q - r).norm();
            if (d2 == 0.0)
                return;
            const Eigen::Vector3d extrapolated = q + (q - r) / d2 * d1;
            node.position = (p + w * extrapolated) / (1.0 + w);
            return;
        }
        Eigen::Vector3d sum = Eigen::Vector3d::Zero();
        for (const auto& entry : neighbours)
            if (entry.first != id)
                sum += before.at(entry.first);
        node.position = (p + w * sum) / (1.0 + w * static_cast<double>(k));
    });
}

Eigen::SparseMatrix<double, Eigen::RowMajor> GraphSmoothingAlgorithm::graphLaplacian(const Graph& graph, double sigma,
                                                                                     bool preserveTerminal) {
    const GraphMatrixUtils::SequentialIndex index = GraphMatrixUtils::graphToSequentialIndex(graph);
    const Eigen::MatrixX3d positions = GraphMatrixUtils::nodePositions(graph);
    const double scale = 1.0 / (2.0 * sigma * sigma);
    std::vector<Eigen::Triplet<double>> entries;
    entries.reserve(graph.numNodes() + 2 * graph.numEdges());
    int i = 0;
    graph.forEachNode([&](unsigned long id, const Graph::NodeInfo&, const Graph::Neighborhood& neighbours) {
        const int row = i++;
        if (preserveTerminal && neighbourCount(id, neighbours) == 1)
            return; // W(i, i) = 1 = D(i, i): the row of L is zero
        double rowSum = 0.0;
        for (const auto& entry : neighbours) {
            if (entry.first == id)
                continue;
            const int column = index.idToIndex.at(entry.first);
            const double weight = std::exp(-(positions.row(row) - positions.row(column)).squaredNorm() * scale);
            entries.emplace_back(row, column, -weight);
            rowSum += weight;
        }
        if (rowSum != 0.0)
            entries.emplace_back(row, row, rowSum);
    });
    const auto n = static_cast<Eigen::Index>(graph.numNodes());
    Eigen::SparseMatrix<double, Eigen::RowMajor> laplacian(n, n);
    laplacian.setFromTriplets(entries.begin(), entries.end());
    return laplacian;
}

bool GraphSmoothingAlgorithm::heatKernelSmoothing(Graph& graph, double sigma, bool preserveTerminal) {
    if (graph.numNodes() == 0 || !(sigma > 0.0))
        return true;
    const auto n = static_cast<Eigen::Index>(graph.numNodes());
    const Eigen::SparseMatrix<double, Eigen::RowMajor> laplacian = graphLaplacian(graph, sigma, preserveTerminal);
    Eigen::SparseMatrix<double, Eigen::RowMajor> system(n, n);
    system.setIdentity();
    system += (0.5 * sigma * sigma) * laplacian;
    system.makeCompressed();

    const Eigen::MatrixX3d positions = GraphMatrixUtils::nodePositions(graph);
    Eigen::MatrixX3d smoothed(n, 3);
    // The three coordinates are independent solves with the same matrix: one per thread.
    std::array<Eigen::ComputationInfo, 3> info;
    std::array<long, 3> iterations;
    std::array<double, 3> residuals;
#pragma omp parallel for schedule(static, 1)
    for (int c = 0; c < 3; ++c) {
        Eigen::BiCGSTAB<Eigen::SparseMatrix<double, Eigen::RowMajor>, Eigen::DiagonalPreconditioner<double>> solver;
        solver.setTolerance(std::numeric_limits<double>::epsilon());
        solver.compute(system);
        smoothed.col(c) = solver.solve(positions.col(c));
        const double norm = positions.col(c).norm();
        info[c] = solver.info();
        iterations[c] = static_cast<long>(solver.iterations());
        residuals[c] = norm == 0.0 ? 0.0 : (system * smoothed.col(c) - positions.col(c)).norm() / norm;
    }
    for (int c = 0; c < 3; ++c) {
        const bool converged =
            info[c] == Eigen::Success || (info[c] == Eigen::NoConvergence && residuals[c] <= acceptedResidual);
        if (!converged || !std::isfinite(residuals[c])) {
            TW_LOG_CAT_ERROR(
                logCategory,
                "Heat-kernel solve failed for coordinate {} after {} iterations (relative residual {:.3g}).", c,
                iterations[c], residuals[c]);
            return false;
        }
        TW_LOG(Log::Debug, logCategory, "Heat-kernel solve of coordinate {}: {} iterations, relative residual {:.3g}.",
               c, iterations[c], residuals[c]);
    }
    // Rows without Laplacian entries (preserved leaves, isolated nodes) are identities: keep them exact
    // rather than within the solver's tolerance.
    for (Eigen::Index row = 0; row < n; ++row)
        if (laplacian.outerIndexPtr()[row] == laplacian.outerIndexPtr()[row + 1])
            smoothed.row(row) = positions.row(row);
    return GraphMatrixUtils::setNodePositions(graph, smoothed);
}

bool GraphSmoothingAlgorithm::curveShortening() {
    const SharedImage* label = m_labelImage->get(-1);
    const std::unique_ptr<SharedImage> distance =
        label ? DistanceWeightedCurveShortening::distanceImage(*label) : nullptr;
    if (!distance) {
        TW_LOG_CAT_ERROR(logCategory, "Could not resample label image");
        return false;
    }
    const Eigen::MatrixX3d original = GraphMatrixUtils::nodePositions(m_graph);
    neighborhoodSmoothing(m_graph, 2.0, true);
    if (!DistanceWeightedCurveShortening::evolve(m_graph, *distance, preserveTerminalEdges)) {
        GraphMatrixUtils::setNodePositions(m_graph, original);
        return false;
    }
    neighborhoodSmoothing(m_graph, 2.0, true);
    return true;
}

void GraphSmoothingAlgorithm::compute() {
    if (!std::isfinite(smoothingStrength.value()) || smoothingStrength < 0.0) {
        TW_LOG_CAT_ERROR(logCategory, "smoothingStrength must be a finite number of at least 0.");
        setStatus(InvalidInput);
        return;
    }
    switch (mode.value()) {
    case NeighborhoodWeightedAverage:
        neighborhoodSmoothing(m_graph, smoothingStrength, preserveTerminalEdges);
        break;
    case LaplacianHeatKernel:
        if (!heatKernelSmoothing(m_graph, smoothingStrength, preserveTerminalEdges)) {
            setStatus(Error);
            return;
        }
        break;
    case DistanceWeightedCurveShortening:
        if (!m_labelImage) {
            TW_LOG_CAT_ERROR(logCategory, "DistanceWeightedCurveShortening requires a label image");
            setStatus(InvalidInput);
            return;
        }
        if (!curveShortening()) {
            setStatus(Error);
            return;
        }
        break;
    }
    setStatus(Success);
}

} // namespace Tarnwick
