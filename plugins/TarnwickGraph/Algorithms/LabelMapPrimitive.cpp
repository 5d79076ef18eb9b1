// The per-edge primitive of the graph-to-label-map conversion and its voxel test. The arithmetic mirrors
// Shaders/GraphToLabelVessel.comp operation for operation (sums left to right, divisions as products
// with a reciprocal, no fused multiply-add: this file is built with -ffp-contract=off), so that the CPU
// and GPU back ends classify every voxel alike. Sample ranges are computed in double with margins; they
// only skip samples whose boxes are empty, so they never change a result.

#include <TarnwickGraph/Algorithms/LabelMapPrimitive.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Tarnwick {

namespace {

/// m.x w.x^2 + m.y w.y^2 + m.z w.z^2, summed left to right.
float metricNorm2(const Eigen::Vector3f& m, const Eigen::Vector3f& w) {
    return m.x() * (w.x() * w.x()) + m.y() * (w.y() * w.y()) + m.z() * (w.z() * w.z());
}

/// a.x b.x + a.y b.y + a.z b.z, summed left to right.
float dot3(const Eigen::Vector3f& a, const Eigen::Vector3f& b) {
    return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

/// Clips a float index bound into [low, high] before it becomes an int.
int clampIndex(float value, int low, int high) {
    return static_cast<int>(std::min(std::max(value, static_cast<float>(low)), static_cast<float>(high)));
}

/// The voxel test of LabelMapPrimitive::classify, with the mode fixed at compile time.
template <bool vessel>
unsigned classifyVoxel(const LabelMapPrimitive& p, const Eigen::Vector3f& v, const Eigen::Vector3f& c) {
    Eigen::Vector3f w;
    if constexpr (vessel) {
        const Eigen::Vector3f fromSample = v - c;
        const float axial = dot3(p.metricUnit, fromSample);
        if (axial * axial > 6.25f)
            return LabelMapPrimitive::Outside;
        w = fromSample - p.unitDirection * axial;
    } else {
        const Eigen::Vector3f fromStart = v - p.p0;
        const float t = dot3(p.metricDirection, fromStart) * p.inverseLength2;
        if (t <= 0.0f)
            w = fromStart;
        else if (t >= 1.0f)
            w = v - p.p1;
        else
            w = fromStart - p.direction * t;
    }
    const float distance2 = metricNorm2(p.metric, w);
    if (distance2 <= p.radius2)
        return LabelMapPrimitive::Inside;
    return distance2 <= p.outerRadius2 ? LabelMapPrimitive::Shell : LabelMapPrimitive::Outside;
}

/// Lowers the classes of the voxels in the boxes of p's samples, inside the block [first, last].
template <bool vessel>
void rasterizePrimitive(const LabelMapPrimitive& p, const Eigen::Vector3i& first, const Eigen::Vector3i& last,
                        const Eigen::Vector3i& dims, unsigned* classes) {
    const std::size_t row = static_cast<std::size_t>(dims.x());
    const std::size_t slice = row * static_cast<std::size_t>(dims.y());
    int begin = 0, end = 0;
    p.sampleRange(first, last, begin, end);
    for (int k = begin; k < end; ++k) {
        const Eigen::Vector3f c = p.sample(k);
        int xLow, xHigh, yLow, yHigh, zLow, zHigh;
        p.boxRange(c, 0, first.x(), last.x(), xLow, xHigh);
        p.boxRange(c, 1, first.y(), last.y(), yLow, yHigh);
        p.boxRange(c, 2, first.z(), last.z(), zLow, zHigh);
        for (int z = zLow; z <= zHigh; ++z) {
            for (int y = yLow; y <= yHigh; ++y) {
                unsigned* line = classes + static_cast<std::size_t>(z) * slice + static_cast<std::size_t>(y) * row;
                for (int x = xLow; x <= xHigh; ++x) {
                    const Eigen::Vector3f v(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f,
                                            static_cast<float>(z) + 0.5f);
                    const unsigned voxelClass = classifyVoxel<vessel>(p, v, c);
                    if (voxelClass < line[x])
                        line[x] = voxelClass;
                }
            }
        }
    }
}

} // namespace

Eigen::Vector3f LabelMapPrimitive::toVoxel(const Eigen::Matrix4f& m, const Eigen::Vector4f& point) {
    Eigen::Vector3f result;
    for (int i = 0; i < 3; ++i)
        result[i] = ((m(i, 0) * point.x() + m(i, 1) * point.y()) + m(i, 2) * point.z()) + m(i, 3);
    return result + Eigen::Vector3f::Constant(0.5f);
}

std::optional<LabelMapPrimitive> LabelMapPrimitive::make(const Eigen::Vector3f& p0, const Eigen::Vector3f& p1,
                                                         float radius, const Eigen::Vector3f& metric, float minSpacing,
                                                         bool vessel) {
    LabelMapPrimitive p;
    p.p0 = p0;
    p.p1 = p1;
    p.metric = metric;
    p.vessel = vessel;
    p.direction = p1 - p0;
    const float length2 = metricNorm2(metric, p.direction);
    if (length2 < 1e-6f)
        return std::nullopt;
    const float outer = radius + 1.0f;
    const float length = std::sqrt(length2);
    p.unitDirection = p.direction * (1.0f / length);
    p.metricDirection = metric.cwiseProduct(p.direction);
    p.metricUnit = metric.cwiseProduct(p.unitDirection);
    p.radius2 = radius * radius;
    p.outerRadius2 = outer * outer;
    p.inverseLength2 = 1.0f / length2;
    if (vessel) {
        const float count = length * (1.0f / (0.5f * minSpacing));
        p.samples = std::max(1, static_cast<int>(std::ceil(std::min(count, maxSamples))));
    } else {
        // Samples at most half a unit apart for radii below 0.5 (zero included), which still reach every
        // voxel of the capsule and keep the count finite.
        const float count = length * (1.0f / std::max(radius, 0.5f));
        p.samples = std::max(1, static_cast<int>(std::min(count, maxSamples))) + 2;
    }
    p.step = p.direction * (1.0f / static_cast<float>(p.samples));
    // Half a step more than r + 1 units: a point of the segment lies at most half a step from a sample, so
    // the boxes reach every voxel within r + 1 of the segment even when samples are r apart.
    for (int i = 0; i < 3; ++i)
        p.extent[i] = std::ceil(outer * (1.0f / std::sqrt(metric[i])) + 0.5f * std::abs(p.step[i]));
    return p;
}

Eigen::Vector3f LabelMapPrimitive::sample(int k) const {
    const float offset = static_cast<float>(k) + 0.5f;
    return p0 + step * offset;
}

void LabelMapPrimitive::boxRange(const Eigen::Vector3f& c, int axis, int first, int last, int& low, int& high) const {
    low = clampIndex(std::floor(c[axis] - extent[axis]), first, last + 1);
    high = clampIndex(std::ceil(c[axis] + extent[axis]), first - 1, last);
}

void LabelMapPrimitive::sampleRange(const Eigen::Vector3i& first, const Eigen::Vector3i& last, int& begin,
                                    int& end) const {
    // A box reaches [first, last] along an axis only if first - 1 - ext < c < last + 1 + ext; two more
    // voxels absorb the rounding of c in float, one more sample the rounding of k.
    double kLow = 0.0, kHigh = samples - 1;
    for (int axis = 0; axis < 3; ++axis) {
        const double low = first[axis] - 3.0 - extent[axis];
        const double high = last[axis] + 3.0 + extent[axis];
        const double start = p0[axis], delta = step[axis];
        if (delta == 0.0) {
            if (!(start > low && start < high))
                kHigh = -1.0;
            continue;
        }
        const double a = (low - start) / delta - 0.5, b = (high - start) / delta - 0.5;
        kLow = std::max(kLow, std::floor(std::min(a, b)) - 1.0);
        kHigh = std::min(kHigh, std::ceil(std::max(a, b)) + 1.0);
    }
    if (!(kLow <= kHigh)) {
        begin = end = 0;
        return;
    }
    begin = static_cast<int>(kLow);
    end = static_cast<int>(kHigh) + 1;
}

unsigned LabelMapPrimitive::classify(const Eigen::Vector3f& v, const Eigen::Vector3f& c) const {
    return vessel ? classifyVoxel<true>(*this, v, c) : classifyVoxel<false>(*this, v, c);
}

void LabelMapPrimitive::rasterize(const std::vector<LabelMapPrimitive>& primitives, const Eigen::Vector3i& dims, int z0,
                                  int z1, unsigned* classes) {
    const Eigen::Vector3i first(0, 0, z0), last(dims.x() - 1, dims.y() - 1, z1 - 1);
    for (const LabelMapPrimitive& primitive : primitives) {
        if (primitive.vessel)
            rasterizePrimitive<true>(primitive, first, last, dims, classes);
        else
            rasterizePrimitive<false>(primitive, first, last, dims, classes);
    }
}

} // namespace Tarnwick
