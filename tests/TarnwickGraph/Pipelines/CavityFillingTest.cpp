// Cavity filling of the main job's working mask: enclosed holes are filled, gaps between separate
// vessels, however narrow, are not.
#include <TarnwickGraph/Pipelines/CavityFilling.h>
#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace Tarnwick {
namespace {

/// Two tubes of radius 3 along x, `gap` background voxels apart at their closest, with a hole of one
/// voxel inside the first; `flat` gives a single slice (two strips, the hole enclosed in the first).
std::unique_ptr<TypedImage<unsigned char>> parallelTubes(int gap, bool flat) {
    const int depth = flat ? 1 : 21;
    auto image = TypedImage<unsigned char>::create(ImageDescriptor(PixelType::UInt8, {30, 24, depth}, 1));
    const double radius = 3.0, second = 5.0 + 2 * radius + gap + 1;
    for (int z = 0; z < depth; ++z)
        for (int y = 0; y < 24; ++y)
            for (int x = 2; x < 28; ++x) {
                const double dz = flat ? 0.0 : z - 10.0;
                if (std::hypot(y - 5.0, dz) <= radius || std::hypot(y - second, dz) <= radius)
                    image->setValue(x, y, z, 1);
            }
    image->setValue(15, 5, flat ? 0 : 10, 0);
    return image;
}

TEST(CavityFilling, FillsEnclosedHolesButNeverTheGapBetweenSeparateVessels) {
    for (const bool flat : {false, true})
        for (const int gap : {1, 2}) {
            SCOPED_TRACE(testing::Message() << (flat ? "2-D" : "3-D") << ", gap " << gap);
            std::shared_ptr<TypedImage<unsigned char>> image = parallelTubes(gap, flat);
            const std::size_t before =
                std::count(image->pointer(), image->pointer() + image->descriptor().numPixels(), 1);
            SharedImage mask(image);
            EXPECT_EQ(fillEnclosedCavities(mask), 1u);
            EXPECT_EQ(image->value(15, 5, flat ? 0 : 10), 1);
            EXPECT_EQ(std::count(image->pointer(), image->pointer() + image->descriptor().numPixels(), 1), before + 1);
            EXPECT_EQ(fillEnclosedCavities(mask), 0u);
        }
}

} // namespace
} // namespace Tarnwick
