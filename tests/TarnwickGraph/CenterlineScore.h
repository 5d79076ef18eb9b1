#pragma once

#include <TarnwickGraph/Graph/Graph.h>

#include <Eigen/Core>

#include <string>
#include <utility>
#include <vector>

namespace Tarnwick::Test {

/// True centerlines in world millimetres: points, edges as index pairs, and each edge's vessel diameter.
struct TrueCenterlines {
    std::vector<Eigen::Vector3d> points;
    std::vector<std::pair<int, int>> edges;
    std::vector<double> diameters;
};

/// How well an extracted centerline graph matches the truth. Distances are world millimetres; the
/// tolerance at a place is max(voxel size, half the local true radius), where the local radius within a
/// junction's reach is that of the junction's thickest vessel.
struct CenterlineScore {
    double precision = 0.0;    ///< share of the extracted centerline length within tolerance of the truth
    double recall = 0.0;       ///< share of the true centerline length within tolerance of the extraction
    double meanDistance = 0.0; ///< extracted -> truth, over the extracted length
    double p95Distance = 0.0;
    int trueBranchPoints = 0;
    int foundBranchPoints = 0; ///< extracted junctions after merging those within two voxels
    double branchF1 = 0.0;
    int trueEndpoints = 0;
    double endpointF1 = 0.0;
    int spuriousTerminalBranches = 0; ///< extracted endpoints with no true endpoint nearby
    int trueCycles = 0;
    int extractedCycles = 0;         ///< independent cycles, each cluster of adjacent junction nodes merged
    double medianDiameterError = -1; ///< relative, over edges of vessels >= 2 voxels in radius; -1 if none
    /// Per band of true radius (in voxels): diameters of the extracted edges whose midpoint is nearest to
    /// a true vessel of that radius, away from junctions and ends, and the recall of that vessel length.
    struct RadiusBand {
        double lowVoxels = 0.0, highVoxels = 0.0; ///< true radius in [low, high) voxels
        int edges = 0;                            ///< measured edges
        double medianBias = 0.0;                  ///< median of (measured - true) / true
        double medianAbsError = 0.0;              ///< median of |measured - true| / true
        double recall = 0.0;                      ///< share of this band's true length found (-1: none)
        std::vector<double> errors;               ///< signed relative errors of the measured edges
        double foundLength = 0.0, trueLength = 0.0;
    };
    std::vector<RadiusBand> bands;
    std::string describe() const;
};

/// One line per band: radius limits, measured edges, diameter bias and |error|, recall.
std::string describeBands(const std::vector<CenterlineScore::RadiusBand>& bands);

/// Sums the bands of several scores (same limits): errors pooled, medians and recall recomputed.
std::vector<CenterlineScore::RadiusBand> poolBands(const std::vector<CenterlineScore>& scores);

/// Scores `extracted` (positions mapped through its matrixToWorld; edge feature "diameter" optional)
/// against `truth`. voxelSize: the working voxel size in millimetres. O(samples x edges).
CenterlineScore scoreCenterlines(const Graph& extracted, const TrueCenterlines& truth, double voxelSize);

} // namespace Tarnwick::Test
