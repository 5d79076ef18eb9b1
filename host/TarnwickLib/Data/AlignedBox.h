#pragma once

#include <Eigen/Core>

#include <limits>

namespace Tarnwick::Geometry {

/// An axis-aligned box in 3-D. A new box is empty (min > max); adding a point makes it that point.
class AlignedBox {
public:
    AlignedBox() { clear(); }
    AlignedBox(const Eigen::Vector3d& min, const Eigen::Vector3d& max) : m_min(min), m_max(max) {}

    void clear() {
        m_min.setConstant(std::numeric_limits<double>::infinity());
        m_max.setConstant(-std::numeric_limits<double>::infinity());
    }
    bool isEmpty() const { return (m_min.array() > m_max.array()).any(); }

    void addPoint(const Eigen::Vector3d& p) {
        m_min = m_min.cwiseMin(p);
        m_max = m_max.cwiseMax(p);
    }
    void addBox(const AlignedBox& other) {
        if (other.isEmpty())
            return;
        addPoint(other.m_min);
        addPoint(other.m_max);
    }

    const Eigen::Vector3d& min() const { return m_min; }
    const Eigen::Vector3d& max() const { return m_max; }
    /// Centre of the box; zero for an empty box.
    Eigen::Vector3d center() const { return isEmpty() ? Eigen::Vector3d::Zero() : Eigen::Vector3d((m_min + m_max) / 2); }
    /// Side lengths; zero for an empty box.
    Eigen::Vector3d extent() const { return isEmpty() ? Eigen::Vector3d::Zero() : Eigen::Vector3d(m_max - m_min); }
    double volume() const { return extent().prod(); }
    bool contains(const Eigen::Vector3d& p) const {
        return (p.array() >= m_min.array()).all() && (p.array() <= m_max.array()).all();
    }

    bool operator==(const AlignedBox& other) const {
        return (isEmpty() && other.isEmpty()) || (m_min == other.m_min && m_max == other.m_max);
    }

private:
    Eigen::Vector3d m_min, m_max;
};

} // namespace Tarnwick::Geometry
