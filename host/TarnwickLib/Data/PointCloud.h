#pragma once

#include <TarnwickLib/Data/Data.h>

#include <Eigen/Core>

#include <vector>

namespace Tarnwick {

/// A set of 3-D points (data coordinates) with optional normals and RGBA colours.
class PointCloud : public Data {
public:
    /// Normals and colours are copied when given and must then have one entry per point (ignored otherwise).
    explicit PointCloud(std::vector<Eigen::Vector3d> points = {}, const std::vector<Eigen::Vector3d>* normals = nullptr,
                        const std::vector<Eigen::Vector4f>* colors = nullptr, std::string name = "Point Cloud");

    Kind kind() const override { return Data::PointCloud; }
    Geometry::AlignedBox bounds() const override;
    std::string describe() const override;

    std::size_t size() const { return m_points.size(); }
    const std::vector<Eigen::Vector3d>& points() const { return m_points; }
    const std::vector<Eigen::Vector3d>& normals() const { return m_normals; }
    const std::vector<Eigen::Vector4f>& colors() const { return m_colors; }
    bool hasNormals() const { return !m_normals.empty(); }
    bool hasColors() const { return !m_colors.empty(); }

private:
    std::vector<Eigen::Vector3d> m_points;
    std::vector<Eigen::Vector3d> m_normals;
    std::vector<Eigen::Vector4f> m_colors;
};

} // namespace Tarnwick
