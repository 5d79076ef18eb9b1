#include "MaskImages.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickLib/ImageAlgorithms/ImageProcessing.h>
#include <TarnwickLib/ImageAlgorithms/ThresholdAlgorithm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::obliquePlacement;
using Tarnwick::Test::randomImage;
using Tarnwick::Test::singleImageSet;
using Tarnwick::Test::valuesOf;

namespace {

std::vector<double> thresholdByDefinition(const MemImage& image, double level) {
    std::vector<double> mask;
    for (double value : valuesOf(image))
        mask.push_back(value > level ? 1.0 : 0.0);
    return mask;
}

} // namespace

TEST(CreateThresholded, EveryPixelTypeGivesAPlacedMask) {
    for (PixelType type : {PixelType::Int8, PixelType::UInt8, PixelType::Int16, PixelType::UInt16, PixelType::Int32,
                           PixelType::UInt32, PixelType::Float, PixelType::Double}) {
        for (const Eigen::Vector3i& dimensions : {Eigen::Vector3i(5, 4, 3), Eigen::Vector3i(6, 5, 1)}) {
            SCOPED_TRACE(::testing::Message() << pixelTypeName(type) << " " << dimensions.transpose());
            std::shared_ptr<MemImage> mem = randomImage(type, dimensions, 2, 4);
            mem->setSpacing({0.3, 0.6, 2.2});
            const SharedImage image(mem, obliquePlacement(), Data::CT);
            // The median value is a level that some values exceed and some do not; one value equals it.
            std::vector<double> values = valuesOf(*mem);
            std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
            const double level = values[values.size() / 2];

            const auto mask = ImageProcessing::createThresholded(image, level);
            ASSERT_NE(mask, nullptr);
            EXPECT_EQ(mask->descriptor(), ImageDescriptor(PixelType::UInt8, dimensions, 2, {0.3, 0.6, 2.2}));
            EXPECT_EQ(mask->matrixToWorld(), image.matrixToWorld());
            EXPECT_EQ(mask->modality(), Data::Label);
            EXPECT_EQ(valuesOf(*mask->mem()), thresholdByDefinition(*mem, level));
        }
    }
}

TEST(ThresholdAlgorithm, ThresholdsEveryImageAtTheParameter) {
    SharedImageSet set("scan");
    set.add(std::make_shared<SharedImage>(randomImage(PixelType::Float, {4, 4, 4}, 1, 1), obliquePlacement(0.1)));
    set.add(std::make_shared<SharedImage>(randomImage(PixelType::Int16, {3, 5, 1}, 1, 2), obliquePlacement(0.4)));
    ThresholdAlgorithm algorithm(set);
    algorithm.threshold = 1000.0;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    auto masks = algorithm.takeOutput().extractFirstImage();
    ASSERT_NE(masks, nullptr);
    EXPECT_EQ(masks->name(), "scan");
    EXPECT_EQ(masks->modality(), Data::Label);
    ASSERT_EQ(masks->size(), 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(valuesOf(*masks->mem(i)), thresholdByDefinition(*set.mem(i), 1000.0)) << i;
        EXPECT_EQ(masks->get(i)->matrixToWorld(), set.get(i)->matrixToWorld()) << i;
    }
}

TEST(ThresholdAlgorithm, RefusesAThresholdThatIsNotANumber) {
    LogCapture log;
    auto set = singleImageSet(TypedImage<float>::zeros({2, 2, 2}));
    ThresholdAlgorithm algorithm(*set);
    algorithm.threshold = std::numeric_limits<double>::quiet_NaN();
    algorithm.compute();
    EXPECT_EQ(algorithm.status(), Algorithm::InvalidInput);
    EXPECT_TRUE(log.contains("Threshold: the threshold is not a number.", Log::Error));
    EXPECT_TRUE(algorithm.output().empty());
}
