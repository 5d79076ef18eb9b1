#pragma once

#include <Eigen/Core>

#include <optional>
#include <vector>

namespace Tarnwick {

/// The shape one graph edge draws into a label map, in voxel coordinates (voxel (i, j, k) has its centre
/// at (i + 0.5, j + 0.5, k + 0.5)), and the per-voxel test. Distances are metric-weighted:
/// |w|^2 = m.x w.x^2 + m.y w.y^2 + m.z w.z^2.
///
/// The edge is visited through n samples c_k = p0 + step (k + 0.5); around each sample a box of
/// half-size ext voxels is tested, large enough that the boxes together hold every voxel within r + 1 of
/// the segment. Centerline: the distance to the segment (a capsule). Vessel: the
/// distance to the axis through the sample, for voxels within 2.5 units of the sample along the axis (a
/// cylinder from overlapping slabs).
///
/// Every value is computed in float in a fixed order of operations, the same as the compute shader
/// GraphToLabelVessel.comp uses, so that both back ends agree voxel for voxel: keep the two in step.
/// The source must be compiled without floating-point contraction (no fused multiply-add).
struct LabelMapPrimitive {
    /// Voxel classes: inside the radius, in the one-unit shell around it, outside.
    enum Class : unsigned { Inside = 0, Shell = 1, Outside = 0xFFFFFFFFu };

    /// Upper bound of the sample count, so that absurd lengths cannot overflow or run away.
    static constexpr float maxSamples = 16777216.0f;

    Eigen::Vector3f p0, p1;
    Eigen::Vector3f direction;       ///< p1 - p0
    Eigen::Vector3f unitDirection;   ///< direction / length (metric length)
    Eigen::Vector3f metricDirection; ///< m * direction, per axis
    Eigen::Vector3f metricUnit;      ///< m * unitDirection, per axis
    Eigen::Vector3f metric;
    float radius2 = 0.0f;      ///< r^2
    float outerRadius2 = 0.0f; ///< (r + 1)^2
    float inverseLength2 = 0.0f;
    Eigen::Vector3f extent; ///< box half-size per axis, ceil((r + 1) / sqrt(m) + |step| / 2), whole numbers
    int samples = 0;
    Eigen::Vector3f step; ///< direction / samples
    bool vessel = false;

    /// The primitive of the edge p0 -> p1 (voxel coordinates) with radius r (scaled units); none when
    /// its metric length^2 is below 1e-6. minSpacing sets the sample step of Vessel mode.
    static std::optional<LabelMapPrimitive> make(const Eigen::Vector3f& p0, const Eigen::Vector3f& p1, float radius,
                                                 const Eigen::Vector3f& metric, float minSpacing, bool vessel);

    /// Pixel coordinates of a graph point (x, y, z) through the 4x4 graph-to-pixel matrix, plus 0.5.
    static Eigen::Vector3f toVoxel(const Eigen::Matrix4f& graphToPixel, const Eigen::Vector4f& point);

    /// Sample centre k.
    Eigen::Vector3f sample(int k) const;

    /// Voxel index range [low, high] of the box around sample centre `c` along `axis`, clipped to
    /// [first, last]; empty when low > high.
    void boxRange(const Eigen::Vector3f& c, int axis, int first, int last, int& low, int& high) const;

    /// The samples [begin, end) whose boxes can reach the voxel block [first, last] (inclusive, per axis).
    /// A conservative superset: samples outside it have empty boxes there.
    void sampleRange(const Eigen::Vector3i& first, const Eigen::Vector3i& last, int& begin, int& end) const;

    /// Class of the voxel with centre v seen from sample centre c (c is used in Vessel mode only).
    unsigned classify(const Eigen::Vector3f& v, const Eigen::Vector3f& c) const;

    /// Lowers each entry of `classes` (dims.prod() entries, x fastest) in the slices [z0, z1) to the
    /// smallest class any primitive gives its voxel. Entries outside those slices are not touched.
    static void rasterize(const std::vector<LabelMapPrimitive>& primitives, const Eigen::Vector3i& dims, int z0, int z1,
                          unsigned* classes);
};

} // namespace Tarnwick
