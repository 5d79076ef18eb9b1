#include "MaskVolume.h"

#include <algorithm>

namespace Tarnwick::Test {

std::size_t MaskVolume::count() const {
    return static_cast<std::size_t>(std::count_if(voxels.begin(), voxels.end(), [](std::uint8_t v) { return v; }));
}

MaskVolume randomBlobs(const Eigen::Vector3i& dims, double density, int smoothing, std::mt19937& random) {
    MaskVolume mask(dims);
    std::bernoulli_distribution voxel(density);
    for (auto& v : mask.voxels)
        v = voxel(random) ? 1 : 0;
    const int planeNeighbors = dims.z() == 1 ? 0 : 1;
    for (int pass = 0; pass < smoothing; ++pass) {
        MaskVolume next(dims);
        for (int z = 0; z < dims.z(); ++z)
            for (int y = 0; y < dims.y(); ++y)
                for (int x = 0; x < dims.x(); ++x) {
                    int set = 0, total = 0;
                    for (int dz = -planeNeighbors; dz <= planeNeighbors; ++dz)
                        for (int dy = -1; dy <= 1; ++dy)
                            for (int dx = -1; dx <= 1; ++dx) {
                                set += mask.at(x + dx, y + dy, z + dz);
                                ++total;
                            }
                    next.set(x, y, z, 2 * set > total ? 1 : 0);
                }
        mask = std::move(next);
    }
    return mask;
}

MaskVolume capsule(const Eigen::Vector3i& dims, const Eigen::Vector3d& a, const Eigen::Vector3d& b, double radius) {
    MaskVolume mask(dims);
    const Eigen::Vector3d ab = b - a;
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 0; x < dims.x(); ++x) {
                const Eigen::Vector3d p(x, y, z);
                const double t = ab.squaredNorm() > 0 ? std::clamp((p - a).dot(ab) / ab.squaredNorm(), 0.0, 1.0) : 0.0;
                if ((a + t * ab - p).norm() <= radius)
                    mask.set(x, y, z);
            }
    return mask;
}

} // namespace Tarnwick::Test
