#pragma once

#include <TarnwickLib/Data/Data.h>

#include <Eigen/Core>

#include <map>
#include <string>
#include <vector>

namespace Tarnwick {

/// A triangle mesh in data coordinates with per-vertex normals, RGBA colours and named scalar fields.
class Mesh : public Data {
public:
    /// How face normals are weighted when vertex normals are computed.
    enum class NormalWeighting { Uniform, Area, Angle };

    explicit Mesh(std::string name = "Mesh");
    Mesh(std::vector<Eigen::Vector3d> vertices, std::vector<Eigen::Vector3i> faces, std::string name = "Mesh");

    Kind kind() const override { return Data::Mesh; }
    Geometry::AlignedBox bounds() const override;
    std::string describe() const override;

    int numberOfVertices() const { return static_cast<int>(m_vertices.size()); }
    int numberOfFaces() const { return static_cast<int>(m_faces.size()); }
    const Eigen::Vector3d& vertex(int i) const { return m_vertices[i]; }
    const std::vector<Eigen::Vector3d>& vertices() const { return m_vertices; }
    const std::vector<Eigen::Vector3i>& faces() const { return m_faces; }

    /// Vertex normal (unit length; zero before computeVertexNormals() or for an unused vertex).
    Eigen::Vector3d vertexNormal(int i) const;
    void computeVertexNormals(NormalWeighting weighting = NormalWeighting::Angle);

    /// Vertex colours start unset (hasVertexColors() false); setting one allocates all as opaque white.
    void setVertexColor(int i, const Eigen::Vector3f& rgb, float alpha = 1.0f);
    Eigen::Vector4f vertexColor(int i) const;
    bool hasVertexColors() const { return !m_colors.empty(); }

    /// Named per-vertex scalar fields; a field must have one value per vertex.
    bool setVertexScalars(const std::string& name, std::vector<float> values);
    const std::vector<float>* vertexScalars(const std::string& name) const;
    std::vector<std::string> vertexScalarNames() const;

private:
    std::vector<Eigen::Vector3d> m_vertices;
    std::vector<Eigen::Vector3i> m_faces;
    std::vector<Eigen::Vector3d> m_normals;
    std::vector<Eigen::Vector4f> m_colors;
    std::map<std::string, std::vector<float>> m_scalars;
};

} // namespace Tarnwick
