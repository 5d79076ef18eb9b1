#include <TarnwickLib/Data/Mesh.h>

#include <Eigen/Geometry>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

Mesh::Mesh(std::string name) : Data(std::move(name)) {}

Mesh::Mesh(std::vector<Eigen::Vector3d> vertices, std::vector<Eigen::Vector3i> faces, std::string name)
    : Data(std::move(name)), m_vertices(std::move(vertices)), m_faces(std::move(faces)) {}

Geometry::AlignedBox Mesh::bounds() const {
    Geometry::AlignedBox box;
    const Eigen::Matrix4d toWorld = matrixToWorld();
    for (const auto& v : m_vertices)
        box.addPoint((toWorld * v.homogeneous()).head<3>());
    return box;
}

std::string Mesh::describe() const {
    return fmt::format("Mesh with {} vertices and {} faces", m_vertices.size(), m_faces.size());
}

Eigen::Vector3d Mesh::vertexNormal(int i) const {
    return i >= 0 && i < static_cast<int>(m_normals.size()) ? m_normals[i] : Eigen::Vector3d::Zero();
}

void Mesh::computeVertexNormals(NormalWeighting weighting) {
    m_normals.assign(m_vertices.size(), Eigen::Vector3d::Zero());
    const int n = numberOfVertices();
    for (const auto& f : m_faces) {
        if ((f.array() < 0).any() || (f.array() >= n).any())
            continue;
        const Eigen::Vector3d cross = (m_vertices[f[1]] - m_vertices[f[0]]).cross(m_vertices[f[2]] - m_vertices[f[0]]);
        const double norm = cross.norm();
        if (norm == 0.0)
            continue;
        const Eigen::Vector3d unit = cross / norm;
        for (int k = 0; k < 3; ++k) {
            double weight = 1.0;
            if (weighting == NormalWeighting::Area) {
                weight = norm / 2;
            } else if (weighting == NormalWeighting::Angle) {
                const Eigen::Vector3d e1 = (m_vertices[f[(k + 1) % 3]] - m_vertices[f[k]]).normalized();
                const Eigen::Vector3d e2 = (m_vertices[f[(k + 2) % 3]] - m_vertices[f[k]]).normalized();
                weight = std::acos(std::clamp(e1.dot(e2), -1.0, 1.0));
            }
            m_normals[f[k]] += weight * unit;
        }
    }
    for (auto& normal : m_normals)
        if (normal.norm() > 0)
            normal.normalize();
}

void Mesh::setVertexColor(int i, const Eigen::Vector3f& rgb, float alpha) {
    if (i < 0 || i >= numberOfVertices())
        return;
    if (m_colors.empty())
        m_colors.assign(m_vertices.size(), Eigen::Vector4f::Ones());
    m_colors[i] << rgb, alpha;
}

Eigen::Vector4f Mesh::vertexColor(int i) const {
    return i >= 0 && i < static_cast<int>(m_colors.size()) ? m_colors[i] : Eigen::Vector4f::Ones();
}

bool Mesh::setVertexScalars(const std::string& name, std::vector<float> values) {
    if (values.size() != m_vertices.size())
        return false;
    m_scalars[name] = std::move(values);
    return true;
}

const std::vector<float>* Mesh::vertexScalars(const std::string& name) const {
    auto it = m_scalars.find(name);
    return it == m_scalars.end() ? nullptr : &it->second;
}

std::vector<std::string> Mesh::vertexScalarNames() const {
    std::vector<std::string> names;
    for (const auto& [name, values] : m_scalars)
        names.push_back(name);
    return names;
}

} // namespace Tarnwick
