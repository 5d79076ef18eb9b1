#include "MaskImages.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickLib/ImageAlgorithms/DistanceTransform.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransformAlgorithm.h>
#include <TarnwickLib/ImageOps/DistanceTransform.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::obliquePlacement;
using Tarnwick::Test::singleImageSet;
using Tarnwick::Test::valuesOf;

namespace {

// A signed label image of type T with values -2 .. 3 (only 1 .. 3 are labels).
template <typename T>
std::unique_ptr<TypedImage<T>> labelImage(const Eigen::Vector3i& dimensions, const Eigen::Vector3d& spacing) {
    auto image = TypedImage<T>::create(ImageDescriptor(pixelTypeOf<T>(), dimensions, 1, spacing));
    for (std::size_t i = 0; i < image->descriptor().numValues(); ++i)
        image->pointer()[i] = static_cast<T>(static_cast<int>((i * 7919) % 6) - 2);
    return image;
}

} // namespace

TEST(DistanceTransform, ExtractionFlagsGiveTheInsideDistanceInMillimetres) {
    // A row of foreground between two background voxels, 0.5 mm apart along x: the distance to the nearer
    // end. Across a 3 x 3 plane with spacing (1, 2): the centre is 1 mm from its x neighbours.
    auto row = TypedImage<unsigned char>::zeros({7, 1, 1});
    row->setSpacing({0.5, 1.0, 1.0});
    for (int x = 1; x < 6; ++x)
        row->setValue(x, 0, 0, 1);
    auto plane = TypedImage<unsigned char>::zeros({3, 3, 1});
    plane->setSpacing({1.0, 2.0, 1.0});
    plane->setValue(1, 1, 0, 1);
    const std::pair<const TypedImage<unsigned char>*, std::vector<double>> cases[] = {
        {row.get(), {0, 0.5, 1.0, 1.5, 1.0, 0.5, 0}}, {plane.get(), {0, 0, 0, 0, 1.0, 0, 0, 0, 0}}};
    for (const auto& [mask, expected] : cases) {
        auto set = singleImageSet(mask->cloneTyped(), obliquePlacement(), Data::Label);
        const auto distances = DistanceTransform::computeChamfer(*set, true, true, false);
        ASSERT_NE(distances, nullptr);
        EXPECT_EQ(distances->descriptor(), ImageDescriptor(PixelType::Float, mask->dimensions(), 1, mask->spacing()));
        EXPECT_EQ(distances->matrixToWorld(), set->get(0)->matrixToWorld());
        EXPECT_EQ(distances->modality(), Data::Distance);
        const auto values = valuesOf(*distances->mem());
        ASSERT_EQ(values.size(), expected.size());
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_NEAR(values[i], expected[i], 1e-5) << "voxel " << i;
    }
}

// Every combination of the parameters, on a mask and on integer and float label images (foreground:
// label > 0), gives the kernel's distances for each image of the set, placed like its input.
TEST(DistanceTransformAlgorithm, ParametersAndLabelTypesFollowTheKernel) {
    const Eigen::Vector3i dimensions(6, 5, 4);
    const Eigen::Vector3d spacing(0.7, 1.0, 1.9);
    auto foreground = TypedImage<unsigned char>::create(ImageDescriptor(PixelType::UInt8, dimensions, 1, spacing));
    auto shortLabels = labelImage<short>(dimensions, spacing);
    for (std::size_t i = 0; i < foreground->descriptor().numValues(); ++i)
        foreground->pointer()[i] = shortLabels->pointer()[i] > 0 ? 1 : 0;
    SharedImageSet set("vessels");
    set.add(std::make_shared<SharedImage>(foreground->cloneTyped(), obliquePlacement(0.2), Data::Label));
    set.add(std::make_shared<SharedImage>(std::move(shortLabels), obliquePlacement(0.9), Data::Label));
    set.add(std::make_shared<SharedImage>(labelImage<float>(dimensions, spacing)));

    for (int flags = 0; flags < 8; ++flags) {
        const ImageOps::DistanceTransformOptions options{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0};
        SCOPED_TRACE(::testing::Message() << "useSpacing " << options.useSpacing << " insideDistance "
                                          << options.insideDistance << " signedDistance " << options.signedDistance);
        const auto expected = ImageOps::distanceTransform(*foreground, options);
        ASSERT_NE(expected, nullptr);
        DistanceTransformAlgorithm algorithm(set);
        algorithm.useSpacing = options.useSpacing;
        algorithm.insideDistance = options.insideDistance;
        algorithm.signedDistance = options.signedDistance;
        algorithm.compute();
        ASSERT_EQ(algorithm.status(), Algorithm::Success);
        const auto distances = algorithm.takeOutput().extractFirstImage();
        ASSERT_NE(distances, nullptr);
        EXPECT_EQ(distances->name(), "vessels");
        EXPECT_EQ(distances->modality(), Data::Distance);
        ASSERT_EQ(distances->size(), 3);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(valuesOf(*distances->mem(i)), valuesOf(*expected)) << "image " << i;
            EXPECT_EQ(distances->get(i)->matrixToWorld(), set.get(i)->matrixToWorld()) << "image " << i;
        }
    }
}

TEST(DistanceTransformAlgorithm, RefusesMultiChannelInput) {
    LogCapture log;
    auto colour = singleImageSet(TypedImage<float>::zeros({3, 3, 3}, 3));
    DistanceTransformAlgorithm onColour(*colour);
    onColour.compute();
    EXPECT_EQ(onColour.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(
        log.contains("Distance transform: image 1 is float 3x3x3 x3 spacing 1x1x1; single-channel images are required.",
                     Log::Error));
    EXPECT_TRUE(onColour.output().empty());
}
