#pragma once

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace Tarnwick::Geometry {

/// The straight line through two points (also usable as the segment between them).
class Line {
public:
    Line(const Eigen::Vector3d& a, const Eigen::Vector3d& b) : m_a(a), m_b(b) {}

    const Eigen::Vector3d& a() const { return m_a; }
    const Eigen::Vector3d& b() const { return m_b; }

    /// Distance from p to the infinite line; the distance to a when a == b.
    double distanceToPoint(const Eigen::Vector3d& p) const {
        const Eigen::Vector3d d = m_b - m_a;
        const double len2 = d.squaredNorm();
        if (len2 == 0.0)
            return (p - m_a).norm();
        return d.cross(p - m_a).norm() / std::sqrt(len2);
    }

    /// The point of the segment [a, b] closest to p.
    Eigen::Vector3d closestPointOnSegment(const Eigen::Vector3d& p) const {
        const Eigen::Vector3d d = m_b - m_a;
        const double len2 = d.squaredNorm();
        if (len2 == 0.0)
            return m_a;
        const double t = std::clamp((p - m_a).dot(d) / len2, 0.0, 1.0);
        return m_a + t * d;
    }

    /// Distance from p to the segment [a, b].
    double distanceToSegment(const Eigen::Vector3d& p) const { return (p - closestPointOnSegment(p)).norm(); }

private:
    Eigen::Vector3d m_a, m_b;
};

} // namespace Tarnwick::Geometry
