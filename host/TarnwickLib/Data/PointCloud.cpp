#include <TarnwickLib/Data/PointCloud.h>

#include <Eigen/Geometry>
#include <fmt/format.h>

namespace Tarnwick {

PointCloud::PointCloud(std::vector<Eigen::Vector3d> points, const std::vector<Eigen::Vector3d>* normals,
                       const std::vector<Eigen::Vector4f>* colors, std::string name)
    : Data(std::move(name)), m_points(std::move(points)) {
    if (normals && normals->size() == m_points.size())
        m_normals = *normals;
    if (colors && colors->size() == m_points.size())
        m_colors = *colors;
}

Geometry::AlignedBox PointCloud::bounds() const {
    Geometry::AlignedBox box;
    const Eigen::Matrix4d toWorld = matrixToWorld();
    for (const auto& p : m_points)
        box.addPoint((toWorld * p.homogeneous()).head<3>());
    return box;
}

std::string PointCloud::describe() const { return fmt::format("Point cloud with {} points", m_points.size()); }

} // namespace Tarnwick
