#include "MaskImages.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <cmath>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::obliquePlacement;
using Tarnwick::Test::randomMask;
using Tarnwick::Test::singleImageSet;
using Tarnwick::Test::valuesOf;

namespace {

// A linear function of world position: trilinear interpolation reproduces it exactly, so a resampled
// voxel must hold the function's value at its own world position whatever the two grids are.
double linearField(const Eigen::Vector3d& world) {
    return 0.7 * world.x() - 1.3 * world.y() + 0.4 * world.z() + 5.0;
}

// A float image on `grid` holding linearField at every voxel centre.
std::shared_ptr<SharedImage> linearFieldImage(const ImageDescriptorWorld& grid) {
    auto image = TypedImage<float>::create(grid.descriptor);
    const Eigen::Vector3i n = grid.descriptor.dimensions;
    for (int z = 0; z < n.z(); ++z)
        for (int y = 0; y < n.y(); ++y)
            for (int x = 0; x < n.x(); ++x)
                image->setValue(x, y, z, static_cast<float>(linearField(grid.pixelToWorld(Eigen::Vector3d(x, y, z)))));
    return std::make_shared<SharedImage>(std::move(image), grid.matrixToWorld, Data::CT);
}

ImageDescriptorWorld grid(const Eigen::Vector3i& dimensions, const Eigen::Vector3d& spacing,
                          const Eigen::Matrix4d& matrix) {
    return {ImageDescriptor(PixelType::Float, dimensions, 1, spacing), matrix};
}

Eigen::Matrix4d rotationAboutZ(double angle, const Eigen::Vector3d& translation) {
    Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
    m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(angle, Eigen::Vector3d::UnitZ()).toRotationMatrix();
    m.topRightCorner<3, 1>() = translation;
    return m;
}

// Checks every voxel of `result` against the source's linear field at the same world position:
// interpolated exactly (Linear) or taken from the nearest source voxel (Nearest) inside the source,
// 0 outside it. Returns how many voxels lay strictly inside.
int expectWorldPlacementKept(const SharedImage& result, const SharedImage& source, bool linear) {
    const ImageDescriptorWorld target = result.descriptorWorld();
    const ImageDescriptorWorld from = source.descriptorWorld();
    const Eigen::Vector3d last = (from.descriptor.dimensions.array() - 1).cast<double>();
    // Strictly between the outermost voxel centres, where interpolation sees no border; an axis of one
    // voxel (z of a 2-D image) only has its half-voxel slab.
    const Eigen::Array3d low = (last.array() == 0).select(-0.5, Eigen::Array3d::Zero()) + 1e-9;
    const Eigen::Array3d high = (last.array() == 0).select(0.5, last.array()) - 1e-9;
    const auto* values = result.typed<float>();
    int inside = 0;
    const Eigen::Vector3i n = target.descriptor.dimensions;
    for (int z = 0; z < n.z(); ++z)
        for (int y = 0; y < n.y(); ++y)
            for (int x = 0; x < n.x(); ++x) {
                const Eigen::Vector3d world = target.pixelToWorld(Eigen::Vector3d(x, y, z));
                const Eigen::Vector3d pixel = from.worldToPixel(world);
                const float value = values->value(x, y, z);
                if ((pixel.array() < -0.5 - 1e-9).any() || (pixel.array() > last.array() + 0.5 + 1e-9).any()) {
                    EXPECT_EQ(value, 0.0f) << "outside voxel " << x << "," << y << "," << z;
                } else if ((pixel.array() > low).all() && (pixel.array() < high).all()) {
                    ++inside;
                    const Eigen::Vector3d nearest = (pixel.array() + 0.5).floor();
                    const double expected = linear ? linearField(world) : linearField(from.pixelToWorld(nearest));
                    EXPECT_NEAR(value, expected, 1e-3) << "voxel " << x << "," << y << "," << z;
                }
            }
    return inside;
}

std::unique_ptr<SharedImageSet> run(ImageResamplingAlgorithm& algorithm) {
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::Success);
    return algorithm.takeOutput().extractFirstImage();
}

} // namespace

TEST(ImageResamplingAlgorithm, KeepsWorldPlacementAcrossObliqueGridsAndSpacings) {
    struct Case {
        const char* name;
        ImageDescriptorWorld source;
        ImageDescriptorWorld target;
    };
    const Case cases[] = {
        {"3-D oblique to oblique", grid({12, 10, 8}, {0.8, 1.1, 1.7}, obliquePlacement(0.7, {5, -3, 2})),
         grid({9, 11, 7}, {1.3, 0.9, 1.2}, obliquePlacement(-0.4, {5.5, -2.5, 2.2}))},
        {"2-D rotated in plane", grid({14, 11, 1}, {0.6, 0.9, 1}, rotationAboutZ(0.3, {1, 2, 0})),
         grid({10, 12, 1}, {0.8, 0.7, 1}, rotationAboutZ(-0.5, {1.5, 1.5, 0}))},
    };
    for (const Case& c : cases) {
        for (auto interpolation : {ImageResamplingAlgorithm::Nearest, ImageResamplingAlgorithm::Linear}) {
            SCOPED_TRACE(::testing::Message() << c.name << ", interpolation " << int(interpolation));
            SharedImageSet set(linearFieldImage(c.source), "field");
            ImageResamplingAlgorithm algorithm(set, {c.target});
            algorithm.interpolation = interpolation;
            const auto output = run(algorithm);
            ASSERT_NE(output, nullptr);
            ASSERT_EQ(output->size(), 1);
            const SharedImage& result = *output->get(0);
            EXPECT_EQ(result.descriptor(), c.target.descriptor);
            EXPECT_EQ(result.matrixToWorld(), c.target.matrixToWorld);
            EXPECT_EQ(result.modality(), Data::CT);
            EXPECT_EQ(output->name(), "field");
            EXPECT_GT(expectWorldPlacementKept(result, *set.get(0), interpolation == ImageResamplingAlgorithm::Linear),
                      40);
        }
    }
}

TEST(ImageResamplingAlgorithm, SpacingModeKeepsTheVolumeInPlace) {
    const auto source = linearFieldImage(grid({10, 7, 5}, {0.5, 1.0, 2.0}, obliquePlacement(1.2, {3, 4, 5})));
    const ImageDescriptorWorld target = ImageResamplingAlgorithm::targetForSpacing(*source, {1.0, 0.0, 0.75});
    EXPECT_EQ(target.descriptor, ImageDescriptor(PixelType::Float, {5, 7, 13}, 1, {1.0, 1.0, 0.75}));
    EXPECT_EQ(target.matrixToWorld, source->matrixToWorld());

    SharedImageSet set(source);
    ImageResamplingAlgorithm algorithm(set);
    algorithm.spacing = Eigen::Vector3d(1.0, 0.0, 0.75);
    const auto output = run(algorithm);
    ASSERT_NE(output, nullptr);
    const SharedImage& result = *output->get(0);
    EXPECT_EQ(result.descriptor(), target.descriptor);
    EXPECT_TRUE(result.descriptorWorld()
                    .pixelToWorld((target.descriptor.dimensions.cast<double>().array() - 1) / 2)
                    .isApprox(source->descriptorWorld().pixelToWorld(Eigen::Vector3d(4.5, 3, 2))));
    EXPECT_GT(expectWorldPlacementKept(result, *source, true), 40);
}

TEST(ImageResamplingAlgorithm, LabelMasksResampleAsBinaryMasks) {
    // A one-voxel-thick diagonal line of 255s, resampled onto a grid turned by 30 degrees.
    auto line = TypedImage<unsigned char>::zeros({20, 20, 1});
    for (int i = 2; i < 18; ++i)
        line->setValue(i, i, 0, 255);
    auto indicator = line->cloneTyped();
    for (std::size_t i = 0; i < indicator->descriptor().numValues(); ++i)
        indicator->pointer()[i] = indicator->pointer()[i] ? 1 : 0;
    const ImageDescriptorWorld target(ImageDescriptor(PixelType::UInt8, {20, 20, 1}, 1, {1, 1, 1}),
                                      rotationAboutZ(0.52, {0.3, -0.2, 0}));

    const auto resampled = [&](std::unique_ptr<TypedImage<unsigned char>> image, Data::Modality modality,
                               ImageResamplingAlgorithm::Interpolation interpolation) {
        auto set = singleImageSet(std::move(image), Eigen::Matrix4d::Identity(), modality);
        ImageResamplingAlgorithm algorithm(*set, {target});
        algorithm.interpolation = interpolation;
        const auto output = run(algorithm);
        return output ? valuesOf(*output->mem(0)) : std::vector<double>{};
    };
    const auto labelLinear = resampled(line->cloneTyped(), Data::Label, ImageResamplingAlgorithm::Linear);
    // The 255s count as 1: the same as resampling the 0/1 indicator, so only 0 and 1 occur.
    EXPECT_EQ(labelLinear, resampled(indicator->cloneTyped(), Data::Label, ImageResamplingAlgorithm::Linear));
    EXPECT_EQ(*std::max_element(labelLinear.begin(), labelLinear.end()), 1.0);
    // Without the Label modality the values are interpolated as they are, and Nearest keeps labels.
    const auto plainLinear = resampled(line->cloneTyped(), Data::NA, ImageResamplingAlgorithm::Linear);
    EXPECT_GT(*std::max_element(plainLinear.begin(), plainLinear.end()), 1.0);
    const auto labelNearest = resampled(line->cloneTyped(), Data::Label, ImageResamplingAlgorithm::Nearest);
    EXPECT_EQ(*std::max_element(labelNearest.begin(), labelNearest.end()), 255.0);
}

TEST(ImageResamplingAlgorithm, RefusesUnusableTargetsWithAReason) {
    LogCapture log;
    SharedImageSet set;
    set.add(linearFieldImage(grid({4, 4, 4}, {1, 1, 1}, Eigen::Matrix4d::Identity())));
    set.add(linearFieldImage(grid({4, 4, 4}, {1, 1, 1}, Eigen::Matrix4d::Identity())));
    const ImageDescriptorWorld good = grid({4, 4, 4}, {1, 1, 1}, Eigen::Matrix4d::Identity());
    Eigen::Matrix4d flattening = Eigen::Matrix4d::Identity();
    flattening(2, 2) = 0;
    struct Case {
        std::vector<ImageDescriptorWorld> targets;
        Eigen::Vector3d spacing;
        std::string message;
    };
    const Case cases[] = {
        {{}, Eigen::Vector3d::Zero(), "Resampling: neither target grids nor a spacing given."},
        {{}, {-1, 0, 0}, "Resampling: invalid spacing -1x0x0: components must be finite and not negative."},
        {{good, good, good}, {}, "Resampling: 3 target grids for 2 images; give one for all images or one per image."},
        {{good, grid({4, 0, 4}, {1, 1, 1}, Eigen::Matrix4d::Identity())},
         {},
         "Resampling: cannot resample image 2: target invalid dimensions 4x0x4."},
        {{grid({4, 4, 4}, {1, 0, 1}, Eigen::Matrix4d::Identity())},
         {},
         "Resampling: cannot resample image 1: target invalid spacing 1x0x1."},
        {{grid({4, 4, 4}, {1, 1, 1}, flattening)},
         {},
         "Resampling: cannot resample image 1: the target matrix is not an invertible affine transform."},
        {{},
         {1e-300, 1, 1},
         "Resampling: cannot resample image 1: the target's 34359738352 values exceed the limit of 4294967296."},
    };
    for (const Case& c : cases) {
        ImageResamplingAlgorithm algorithm(set, c.targets);
        algorithm.spacing = c.spacing;
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::InvalidInput) << c.message;
        EXPECT_TRUE(log.contains(c.message, Log::Error))
            << c.message << "\nlogged: " << ::testing::PrintToString(log.errors());
        EXPECT_TRUE(algorithm.output().empty()) << c.message;
    }
}
