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

TEST(SquaredDistanceTest, OutsideSourcesAndAllOutputsMatchBruteForce) {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> size(1, 9);
    for (int i = 0; i < 60; ++i) {
        const bool flat = i % 3 == 0;
        const MaskVolume sources =
            Support::randomBlobs({size(random), size(random), flat ? 1 : size(random)}, 0.04 * (i % 8), 0, random);
        const Eigen::Vector3d spacing(0.5 + 0.25 * (i % 5), 1.0, 1.75);
        SquaredDistanceOptions options;
        options.spacing = spacing;
        options.outsideIsSource = i % 2 == 0;
        options.cap = 2.0 + i % 7;
        options.output = static_cast<DistanceOutput>(i % 4);
        std::vector<float> values(sources.voxels.size());
        squaredDistances(sources.voxels.data(), true, sources.dims, options, values.data());
        for (int z = 0; z < sources.dims.z(); ++z)
            for (int y = 0; y < sources.dims.y(); ++y)
                for (int x = 0; x < sources.dims.x(); ++x) {
                    const double d2 = bruteSquared(sources, x, y, z, spacing, options.outsideIsSource);
                    const float actual = values[sources.index(x, y, z)];
                    switch (options.output) {
                    case DistanceOutput::Squared:
                    case DistanceOutput::Root: {
                        // Beyond the cap the value is "far"; within it, exact.
                        const double expected = options.output == DistanceOutput::Root ? std::sqrt(d2) : d2;
                        if (d2 > options.cap)
                            ASSERT_EQ(actual, std::numeric_limits<float>::infinity());
                        else
                            ASSERT_NEAR(actual, expected, 1e-5);
                        break;
                    }
                    case DistanceOutput::WithinCap:
                        ASSERT_EQ(actual, d2 <= options.cap ? 1.0f : 0.0f);
                        break;
                    case DistanceOutput::BeyondCap:
                        ASSERT_EQ(actual, d2 > options.cap ? 1.0f : 0.0f);
                        break;
                    }
                }
    }
}

TEST(SquaredDistanceTest, BytesInPlaceMatchFloats) {
    std::mt19937 random(8);
    for (int i = 0; i < 30; ++i) {
        const MaskVolume mask = Support::randomBlobs({14, 12, i % 5 == 0 ? 1 : 10}, 0.1 + 0.02 * i, 0, random);
        SquaredDistanceOptions options;
        options.cap = 1 + i * 8; // up to 233
        options.outsideIsSource = i % 2 == 1;
        std::vector<float> floats(mask.voxels.size());
        squaredDistances(mask.voxels.data(), false, mask.dims, options, floats.data());
        std::vector<std::uint8_t> bytes = mask.voxels;
        squaredDistances(bytes.data(), false, mask.dims, options, bytes.data());
        for (std::size_t v = 0; v < bytes.size(); ++v) {
            if (std::isinf(floats[v]))
                ASSERT_EQ(bytes[v], 255);
            else
                ASSERT_EQ(bytes[v], floats[v]);
        }
    }
}

} // namespace
} // namespace Tarnwick::ImageOps
