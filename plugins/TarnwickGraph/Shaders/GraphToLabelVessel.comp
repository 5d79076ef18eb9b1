#version 430
// Graph to label map, one invocation per edge. The CPU twin is Algorithms/LabelMapPrimitive.cpp: keep the
// arithmetic of both identical, operation for operation, so that the back ends agree voxel for voxel.
//
// An edge becomes a primitive in voxel coordinates (voxel (i, j, k) has its centre at (i, j, k) + 0.5)
// with metric-weighted distances |w|^2 = m.x w.x^2 + m.y w.y^2 + m.z w.z^2. It is visited through n
// samples c_k = p0 + step (k + 0.5); each voxel in a box of half-size ext = ceil((r + 1) / sqrt(m) +
// |step| / 2) around a sample gets class 0 (within r) or 1 (within r + 1), and its texel keeps the minimum.
//   default (Centerline): distance to the segment p0-p1, a capsule; n = max(1, trunc(len / max(r, 0.5))) + 2.
//   CYLINDER_MODE (Vessel): distance to the axis through the sample, for voxels within 2.5 units of the
//   sample along the axis (a cylinder from overlapping slabs); n = max(1, ceil(len / (0.5 minSpacing))).
// Every float value is `precise` (evaluated in source order, no fused multiply-add), and divisions are
// products with a reciprocal, as on the CPU. Sample ranges are computed in double with margins; they only
// skip samples whose boxes miss the volume.
//
// Passes: an invocation stops after about u_iterationBudget loop iterations, stores where it stopped in
// progress[edge] and counts itself in `pending`; the host dispatches again until no edge is pending. This
// keeps every invocation below the loop limit of software rasterisers (llvmpipe ends any shader after
// 65535 loop iterations per SIMD vector) without changing what is drawn.

layout(local_size_x = 32) in;

layout(std430, binding = 0) readonly buffer Points { vec4 points[]; };   // x, y, z, w = end node
layout(std430, binding = 1) readonly buffer Edges { ivec2 edges[]; };    // indices into points
layout(std430, binding = 2) readonly buffer Radii { float radii[]; };    // scaled units
layout(std430, binding = 3) buffer Progress { ivec4 progress[]; };       // sample, z, y, state
layout(std430, binding = 4) buffer Pending { uint pending; };            // edges left unfinished
layout(binding = 0, r32ui) uniform uimage3D u_outputTexture;            // cleared to 65535

uniform mat4 u_graphToPixelMatrix;
uniform ivec3 u_outputDims;
uniform int u_numEdges;
uniform vec3 u_metric;
uniform int u_iterationBudget;
#ifdef CYLINDER_MODE
uniform float u_minSpacing;
#endif

const float maxSamples = 16777216.0;
const int fresh = 0, resumed = 1, finished = 2;

vec3 toVoxel(vec4 point) {
    precise vec3 p = ((u_graphToPixelMatrix[0].xyz * point.x + u_graphToPixelMatrix[1].xyz * point.y) +
                      u_graphToPixelMatrix[2].xyz * point.z) + u_graphToPixelMatrix[3].xyz;
    precise vec3 voxel = p + vec3(0.5);
    return voxel;
}

float metricNorm2(vec3 w) {
    precise float norm2 = u_metric.x * (w.x * w.x) + u_metric.y * (w.y * w.y) + u_metric.z * (w.z * w.z);
    return norm2;
}

void main() {
    uint edgeIndex = gl_GlobalInvocationID.x + gl_GlobalInvocationID.y * gl_NumWorkGroups.x * gl_WorkGroupSize.x;
    if (edgeIndex >= uint(u_numEdges))
        return;
    ivec4 state = progress[edgeIndex];
    if (state.w == finished)
        return;
    ivec2 edge = edges[edgeIndex];
    precise vec3 p0 = toVoxel(points[edge.x]);
    precise vec3 p1 = toVoxel(points[edge.y]);
    precise vec3 d = p1 - p0;
    precise float length2 = metricNorm2(d);
    if (length2 < 1e-6) {
        progress[edgeIndex].w = finished;
        return;
    }
    float r = radii[edgeIndex];
    precise float outer = r + 1.0;
    precise float len = sqrt(length2);
    precise vec3 u = d * (1.0 / len);
    precise vec3 md = u_metric * d;
    precise vec3 mu = u_metric * u;
    precise float r2 = r * r;
    precise float outer2 = outer * outer;
    precise float inverseLength2 = 1.0 / length2;
#ifdef CYLINDER_MODE
    precise float count = len * (1.0 / (0.5 * u_minSpacing));
    int n = max(1, int(ceil(min(count, maxSamples))));
#else
    precise float count = len * (1.0 / max(r, 0.5));
    int n = max(1, int(min(count, maxSamples))) + 2;
#endif
    precise vec3 step = d * (1.0 / float(n));
    precise vec3 ext = ceil(outer * (vec3(1.0) / sqrt(u_metric)) + 0.5 * abs(step));

    // Samples whose boxes can reach the volume: first - 1 - ext < c < last + 1 + ext per axis, widened by
    // two voxels for the rounding of c and one sample for the rounding of k.
    ivec3 last = u_outputDims - 1;
    double kLow = 0.0, kHigh = double(n - 1);
    for (int axis = 0; axis < 3; ++axis) {
        double low = -3.0LF - double(ext[axis]);
        double high = double(last[axis]) + 3.0LF + double(ext[axis]);
        double start = double(p0[axis]), delta = double(step[axis]);
        if (delta == 0.0LF) {
            if (!(start > low && start < high))
                kHigh = -1.0LF;
            continue;
        }
        double a = (low - start) / delta - 0.5LF, b = (high - start) / delta - 0.5LF;
        kLow = max(kLow, floor(min(a, b)) - 1.0LF);
        kHigh = min(kHigh, ceil(max(a, b)) + 1.0LF);
    }

    // Rows of voxels are visited in (sample, z, y) order, resuming where the previous pass stopped. A pass
    // always finishes at least one row, so every edge finishes.
    int budget = u_iterationBudget;
    bool resume = state.w == resumed;
    int lastSample = kLow <= kHigh ? int(kHigh) : -1;
    for (int k = resume ? state.x : int(kLow); k <= lastSample; ++k) {
        precise float offset = float(k) + 0.5;
        precise vec3 c = p0 + step * offset;
        ivec3 low = ivec3(clamp(floor(c - ext), vec3(0.0), vec3(u_outputDims)));
        ivec3 high = ivec3(clamp(ceil(c + ext), vec3(-1.0), vec3(last)));
        if (!resume && budget <= 0) {
            progress[edgeIndex] = ivec4(k, low.z, low.y, resumed);
            atomicAdd(pending, 1u);
            return;
        }
        for (int z = resume ? state.y : low.z; z <= high.z; ++z) {
            for (int y = resume ? state.z : low.y; y <= high.y; ++y) {
                resume = false;
                int cost = high.x - low.x + 2;
                if (cost > budget && budget < u_iterationBudget) {
                    progress[edgeIndex] = ivec4(k, z, y, resumed);
                    atomicAdd(pending, 1u);
                    return;
                }
                budget -= cost;
                for (int x = low.x; x <= high.x; ++x) {
                    precise vec3 v = vec3(ivec3(x, y, z)) + vec3(0.5);
#ifdef CYLINDER_MODE
                    precise vec3 fromSample = v - c;
                    precise float axial = mu.x * fromSample.x + mu.y * fromSample.y + mu.z * fromSample.z;
                    if (axial * axial > 6.25)
                        continue;
                    precise vec3 w = fromSample - u * axial;
#else
                    precise vec3 fromStart = v - p0;
                    precise float t = (md.x * fromStart.x + md.y * fromStart.y + md.z * fromStart.z) * inverseLength2;
                    precise vec3 w = t <= 0.0 ? fromStart : (t >= 1.0 ? v - p1 : fromStart - d * t);
#endif
                    precise float distance2 = metricNorm2(w);
                    if (distance2 <= outer2)
                        imageAtomicMin(u_outputTexture, ivec3(x, y, z), distance2 <= r2 ? 0u : 1u);
                }
            }
            resume = false;
            budget -= 1;
        }
        resume = false;
        budget -= 1;
    }
    progress[edgeIndex].w = finished;
}
