#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <random>

namespace Tarnwick::Bench {

/// The random numbers and direction rules shared by the synthetic tree generators: each tree is a walk
/// with persistent direction that is kept clear of the volume border. The same seed gives the same walk.
class RandomWalk {
public:
    explicit RandomWalk(std::uint32_t seed) : m_random(seed) {}

    double uniform(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(m_random); }

    /// A uniformly distributed unit vector.
    Eigen::Vector3d randomUnit() {
        std::normal_distribution<double> normal;
        const Eigen::Vector3d v(normal(m_random), normal(m_random), normal(m_random));
        return v.norm() > 1e-9 ? Eigen::Vector3d(v.normalized()) : Eigen::Vector3d::UnitX();
    }

    /// Turns the components of direction d that lead out of the margin at p back towards the inside of a
    /// volume of dims voxels, and returns it normalized.
    static Eigen::Vector3d keepInside(const Eigen::Vector3d& p, Eigen::Vector3d d, const Eigen::Vector3i& dims,
                                      double margin) {
        for (int axis = 0; axis < 3; ++axis) {
            if (p[axis] < margin && d[axis] < 0.0)
                d[axis] = -d[axis];
            if (p[axis] > dims[axis] - 1 - margin && d[axis] > 0.0)
                d[axis] = -d[axis];
        }
        return d.normalized();
    }

private:
    std::mt19937 m_random;
};

} // namespace Tarnwick::Bench
