#pragma once

#include <TarnwickLib/Image/SharedImage.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

/// A seeded synthetic vessel tree: branching, gently curving tubes with known centerlines and radii,
/// rasterised into a binary mask, with the centerlines as a ground-truth graph.
///
/// The tree is grown in the image frame of the mask (millimetres, origin at the volume centre) from a
/// root near the negative face of the longest axis; each vessel bends a little per step and splits in
/// two thinner children at its end until the radius falls below minRadiusVoxels. A vessel stops (and is dropped when
/// still short) where it would leave the volume or come near another vessel, so vessels never touch except at their
/// junctions. Everything depends only on the options and the seed.
///
/// Voxelisation: a voxel is inside exactly when its centre lies within the radius of the true centerline
/// (or of a bump's centre), so that a cross-section holds about pi r^2 voxels per voxel of length.
class VesselPhantom {
public:
    struct Options {
        int size = 96;                                      ///< voxels along each axis (x, y; z unless 2-D)
        Eigen::Vector3d spacing = Eigen::Vector3d(1, 1, 1); ///< millimetres
        double maxRadiusVoxels = 6.0;                       ///< root radius, in units of the largest spacing
        double minRadiusVoxels = 1.5;                       ///< thinnest vessel, same unit
        bool oblique = false;                               ///< rotated direction matrix and shifted origin
        bool loops = false;                                 ///< add connecting vessels that close cycles
        double noise = 0.0;                                 ///< surface noise, fraction of the radius (0..0.5)
        bool holes = false;                                 ///< punch single-voxel holes into thick vessels
        int bumps = 0; ///< ball-shaped bumps on vessel surfaces (0..1000), away from junctions and ends
        std::uint32_t seed = 1;
        bool twoD = false;
    };

    /// One straight piece of a vessel (image-frame millimetres).
    struct Segment {
        Eigen::Vector3d a;
        Eigen::Vector3d b;
        double radius = 0.0;
    };

    /// Builds the tree; the mask is rasterised on demand. Throws std::invalid_argument for a size below
    /// 16 or above 2048, a spacing that is not positive and finite, or radii out of order.
    explicit VesselPhantom(const Options& options);

    /// The mask image (uint8, 1 inside a vessel), placed by matrixToWorld(). O(voxels of the tubes' boxes).
    std::shared_ptr<SharedImage> mask() const;

    /// Ground-truth centerlines in WORLD millimetres: points every half voxel or closer along each vessel,
    /// one point per junction, edges as index pairs with the vessel diameter (mm) of each.
    struct Centerlines {
        std::vector<Eigen::Vector3d> points;
        std::vector<std::pair<int, int>> edges;
        std::vector<double> diameters;
    };
    Centerlines truth() const;

    /// Writes truth() as undirected GraphML (node keys "x", "y", "z", edge key "diameter"). The file is
    /// written beside `path` and renamed over it only when complete; false with the reason logged.
    bool writeTruthGraphML(const std::string& path) const;

    const std::vector<Segment>& segments() const { return m_segments; }
    const Eigen::Matrix4d& matrixToWorld() const { return m_matrixToWorld; }
    const ImageDescriptor& descriptor() const { return m_descriptor; }
    /// The number of cycles the connecting vessels closed.
    int loopCount() const { return m_loops; }

private:
    struct Vessel {
        std::vector<Eigen::Vector3d> points;
        double radius = 0.0;
        int parent = -1;
    };

    void grow(const Eigen::Vector3d& start, const Eigen::Vector3d& direction, double radius, int parent, int depth);
    void addLoops();
    void addBumps();
    bool isClear(const Eigen::Vector3d& point, double radius, int ignoreA, int ignoreB) const;
    bool inside(const Eigen::Vector3d& point, double radius) const;
    double uniform(double low, double high);

    Options m_options;
    ImageDescriptor m_descriptor;
    /// The largest spacing (in-plane for 2-D): the unit of radii and clearances.
    double m_voxel = 0.0;
    Eigen::Matrix4d m_matrixToWorld = Eigen::Matrix4d::Identity();
    std::vector<Vessel> m_vessels;
    std::vector<Segment> m_segments;
    std::vector<int> m_segmentVessel;
    std::vector<std::pair<Eigen::Vector3d, double>> m_bumps; ///< centre and radius (image-frame millimetres)
    int m_loops = 0;
    std::uint64_t m_state = 0;
};

} // namespace Tarnwick
