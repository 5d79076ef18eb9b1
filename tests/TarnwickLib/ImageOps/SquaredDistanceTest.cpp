#include <TarnwickLib/ImageOps/CappedDistance.h>
#include <TarnwickLib/ImageOps/SquaredDistance.h>

#include "support/MaskVolume.h"

#include <gtest/gtest.h>

#include <limits>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;
using Support::MaskVolume;

// Squared distance to the nearest source voxel (mask != 0), or to the nearest voxel outside the volume
// when `outside` is set; in 2-D the outside lies only around the plane.
double bruteSquared(const MaskVolume& m, int x, int y, int z, const Eigen::Vector3d& s, bool outside) {
    double best = std::numeric_limits<double>::infinity();
    const bool flat = m.dims.z() == 1;
    const int margin = outside ? 1 : 0;
    for (int k = flat ? 0 : -margin; k < m.dims.z() + (flat ? 0 : margin); ++k)
        for (int j = -margin; j < m.dims.y() + margin; ++j)
            for (int i = -margin; i < m.dims.x() + margin; ++i) {
                if (m.inside(i, j, k) && !m.at(i, j, k))
                    continue;
                const Eigen::Vector3d d((i - x) * s.x(), (j - y) * s.y(), (k - z) * s.z());
                best = std::min(best, d.squaredNorm());
            }
    return best;
}

TEST(SquaredDistanceTest, OutsideSourcesAndRootsMatchBruteForce) {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> size(1, 9);
    for (int i = 0; i < 60; ++i) {
        const bool flat = i % 3 == 0;
        const MaskVolume sources =
            Support::randomBlobs({size(random), size(random), flat ? 1 : size(random)}, 0.04 * (i % 8), 0, random);
        SquaredDistanceOptions options;
        options.spacing = Eigen::Vector3d(0.5 + 0.25 * (i % 5), 1.0, 1.75);
        options.outsideIsSource = i % 2 == 0;
        options.root = i % 4 < 2;
        std::vector<float> values(sources.voxels.size());
        squaredDistances(sources.voxels.data(), true, sources.dims, options, values.data());
        for (int z = 0; z < sources.dims.z(); ++z)
            for (int y = 0; y < sources.dims.y(); ++y)
                for (int x = 0; x < sources.dims.x(); ++x) {
                    const double d2 = bruteSquared(sources, x, y, z, options.spacing, options.outsideIsSource);
                    const float actual = values[sources.index(x, y, z)];
                    if (std::isinf(d2))
                        ASSERT_EQ(actual, std::numeric_limits<float>::infinity());
                    else
                        ASSERT_NEAR(actual, options.root ? std::sqrt(d2) : d2, 1e-5 * (1 + d2)) << "volume " << i;
                }
    }
}

TEST(SquaredDistanceTest, CappedBytesAreExactUpToTheRadius) {
    std::mt19937 random(8);
    for (int i = 0; i < 45; ++i) {
        const MaskVolume mask = Support::randomBlobs({14, 12, i % 5 == 0 ? 1 : 10}, 0.02 + 0.02 * (i % 9), 0, random);
        const int radius = 1 + i % 15;
        const bool outside = i % 2 == 1;
        const auto output = static_cast<CappedOutput>(i % 3);
        std::vector<std::uint8_t> bytes(mask.voxels.size());
        cappedSquaredDistances(mask.voxels.data(), true, mask.dims, radius, outside, output, bytes.data());
        // The same in place.
        std::vector<std::uint8_t> inPlace = mask.voxels;
        cappedSquaredDistances(inPlace.data(), true, mask.dims, radius, outside, output, inPlace.data());
        ASSERT_EQ(inPlace, bytes);
        for (int z = 0; z < mask.dims.z(); ++z)
            for (int y = 0; y < mask.dims.y(); ++y)
                for (int x = 0; x < mask.dims.x(); ++x) {
                    const double d2 = bruteSquared(mask, x, y, z, Eigen::Vector3d::Ones(), outside);
                    const bool within = d2 <= radius * radius;
                    const std::uint8_t expected =
                        output == CappedOutput::SquaredDistance
                            ? (within ? static_cast<std::uint8_t>(d2) : 255)
                            : static_cast<std::uint8_t>(within == (output == CappedOutput::WithinRadius));
                    ASSERT_EQ(bytes[mask.index(x, y, z)], expected) << "volume " << i << " radius " << radius;
                }
    }
}

} // namespace
} // namespace Tarnwick::ImageOps
