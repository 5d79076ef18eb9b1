#include <TarnwickGraph/Algorithms/CenterlineResampling.h>

#include "../TubeMask.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickLib/Image/SharedImageSet.h>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>

using namespace Tarnwick;

namespace {

ImageDescriptorWorld frame(const Eigen::Vector3i& dims, const Eigen::Vector3d& spacing,
                           const Eigen::Matrix4d& placement = Eigen::Matrix4d::Identity()) {
    return ImageDescriptorWorld(ImageDescriptor(PixelType::UInt8, dims, 1, spacing), placement);
}

} // namespace

TEST(CenterlineResampling, RejectsGridsThatCannotBeMade) {
    using CenterlineResampling::computeTargetGrid;
    const auto input = frame({40, 40, 40}, Eigen::Vector3d::Constant(0.1));
    EXPECT_FALSE(computeTargetGrid(input, {5, 5, 5}, {4, 9, 9}, 0.1, 2)) << "empty box";
    EXPECT_FALSE(computeTargetGrid(input, {0, 0, 0}, {9, 9, 9}, 0.0, 2));
    EXPECT_FALSE(computeTargetGrid(input, {0, 0, 0}, {9, 9, 9}, NAN, 2));
    EXPECT_FALSE(computeTargetGrid(input, {0, 0, 0}, {9, 9, 9}, 0.1, -1));
    EXPECT_FALSE(computeTargetGrid(input, {0, 0, 0}, {9, 9, 9}, 0.1, 1 << 20)) << "more than 2^31 voxels";
}

namespace {

/// Distance of a world point from the tube axis, and its position along it (image x, in mm).
std::pair<double, double> axisCoordinates(const Eigen::Vector3d& world, const Eigen::Matrix4d& placement) {
    const Eigen::Vector3d image = (placement.inverse() * world.homogeneous()).head<3>();
    return {image.tail<2>().norm(), image.x()};
}

} // namespace

TEST(CenterlineResampling, ResampledMaskCoversTheTubeOnTheCoarserGrid) {
    const Eigen::Matrix4d placement = Tarnwick::Test::obliquePlacement();
    const auto labels = Tarnwick::Test::tubeMask(PixelType::UInt8, placement);
    const auto resampled = CenterlineResampling::resampleLabelMap(*labels);
    ASSERT_TRUE(resampled);
    const SharedImage& mask = *resampled->get(0);
    EXPECT_EQ(mask.descriptor().spacing, Eigen::Vector3d::Constant(0.3)) << "max(0.3, 1 / 6)";
    EXPECT_EQ(mask.descriptor().dimensions.array().unaryExpr([](int d) { return d % 2; }).minCoeff(), 1);
    const auto* values = mask.typed<unsigned char>();
    ASSERT_NE(values, nullptr);

    const Eigen::Vector3i dims = mask.descriptor().dimensions;
    const ImageDescriptorWorld frame = mask.descriptorWorld();
    int foreground = 0;
    for (int z = 0; z < dims.z(); ++z)
        for (int y = 0; y < dims.y(); ++y)
            for (int x = 0; x < dims.x(); ++x) {
                const auto [radius, along] = axisCoordinates(frame.pixelToWorld(Eigen::Vector3d(x, y, z)), placement);
                const unsigned char value = values->value(x, y, z);
                ASSERT_LE(value, 1);
                foreground += value;
                if (value) {
                    EXPECT_LT(radius, 1.0 + 0.3) << x << " " << y << " " << z;
                } else if (std::abs(along) < 2.0) { // well inside the tube's length
                    EXPECT_GT(radius, 1.0 - 0.3) << x << " " << y << " " << z;
                }
            }
    EXPECT_GT(foreground, 0);

    // A float image thresholded at 0.5 gives the same mask.
    const auto fromFloat =
        CenterlineResampling::resampleLabelMap(*Tarnwick::Test::tubeMask(PixelType::Float, placement));
    ASSERT_TRUE(fromFloat);
    EXPECT_TRUE(Tarnwick::Test::sameValues(*fromFloat->get(0)->mem(), *mask.mem()));
}

TEST(CenterlineResampling, ImagesWithoutForegroundAreRefused) {
    Tarnwick::Test::LogCapture log;
    const auto empty = Tarnwick::Test::tubeMask(PixelType::Float, Eigen::Matrix4d::Identity(), false);
    EXPECT_FALSE(CenterlineResampling::resampleLabelMap(*empty));
    EXPECT_TRUE(log.contains("The label image has no foreground.", Log::Error));

    const SharedImage twoChannels(std::shared_ptr<MemImage>(TypedImage<unsigned char>::zeros({4, 4, 4}, 2)));
    log.clear();
    EXPECT_FALSE(CenterlineResampling::resampleLabelMap(twoChannels));
    EXPECT_FALSE(log.errors().empty());
}
