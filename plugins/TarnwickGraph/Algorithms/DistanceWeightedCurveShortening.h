#pragma once

#include <memory>

namespace Tarnwick {

class Graph;
class SharedImage;

/// Curve-shortening flow of a centerline graph held inside a vessel by the distance to the vessel wall.
///
/// Velocity of a node p with exactly two neighbours p_prev and p_next (tangent t = p_next - p_prev):
///   v = 0.1 * 0.5 (p_prev + p_next - 2 p)                          curvature: shortens and straightens
///     + pullGain * 2 / (5 r) * sum_k D(p + r d_k) d_k               pull: up the distance ridge
/// where D is the inside distance to the vessel boundary (mm), d_k = cos(2 pi k / 5) u + sin(2 pi k / 5) w
/// (k = 0..4) are five directions on a ring of radius r (one voxel of the distance image) in the plane
/// perpendicular to t, and (u, w) is a frame around t built from the x axis (the y axis when |t_x| > 0.9).
/// The ring sum is the least-squares estimate of the in-plane gradient of D, so the pull vanishes where
/// the ring is centred on the distance ridge, i.e. on the vessel centre, and grows to pullGain (mm per
/// unit time) one ring radius away from it; points outside the image sample 0, which pulls inward.
/// A 2-D graph stays in its plane: the tangent is taken in the xy plane and the ring becomes the two
/// points at +-r along the in-plane normal, whose central difference gives the pull.
/// A leaf moves only by the pull (ring around the direction of its edge), and not at all when
/// preserveTerminal is set; branching and isolated nodes stay put.
namespace DistanceWeightedCurveShortening {

struct Settings {
    double endTime = 100.0;
    double curvatureGain = 0.1;
    double pullGain = 1.0;
};

/// Integrates the flow from time 0 to settings.endTime with the adaptive Bogacki-Shampine 5(4) scheme
/// (initial step 0.01, tolerance 0.01 on the largest position change error). `distance` must be a float
/// image placed in world space; node positions are mapped to it by the graph's matrix. Returns false,
/// leaving the graph unchanged and logging why, when the distance image is not float or the integration
/// cannot reach the end time. O(N) per evaluation, parallel over nodes.
bool evolve(Graph& graph, const SharedImage& distance, bool preserveTerminal, const Settings& settings = {});

/// The inside distance (mm) to the boundary of a label image's foreground (non-zero voxels of an
/// unsigned 8-bit image, values above 0.5 otherwise), on the isotropic grid around the labels that the
/// centerline extraction uses (CenterlineResampling with its default options). Null when the image has
/// no foreground or cannot be resampled.
std::unique_ptr<SharedImage> distanceImage(const SharedImage& labelImage);

} // namespace DistanceWeightedCurveShortening
} // namespace Tarnwick
