#include "MaskImages.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickLib/ImageAlgorithms/ThresholdAlgorithm.h>

#include <gtest/gtest.h>

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

// A set with one image of every pixel type, 2-D and 3-D, thresholded at 100 (inside every type's range;
// each image holds 100 once, which is not above the level): every mask keeps its image's grid and placement.
TEST(ThresholdAlgorithm, ThresholdsEveryImageOfEveryPixelType) {
    SharedImageSet set("scan");
    for (PixelType type : {PixelType::Int8, PixelType::UInt8, PixelType::Int16, PixelType::UInt16, PixelType::Int32,
                           PixelType::UInt32, PixelType::Float, PixelType::Double}) {
        for (const Eigen::Vector3i& dimensions : {Eigen::Vector3i(5, 4, 3), Eigen::Vector3i(6, 5, 1)}) {
            std::shared_ptr<MemImage> mem = randomImage(type, dimensions, 2, static_cast<std::uint32_t>(set.size()));
            mem->setSpacing({0.3, 0.6, 2.2});
            dispatchPixelType(type, [&](auto tag) {
                using T = typename decltype(tag)::type;
                static_cast<TypedImage<T>&>(*mem).pointer()[7] = T(100);
            });
            set.add(std::make_shared<SharedImage>(mem, obliquePlacement(0.1 * set.size()), Data::CT));
        }
    }
    ThresholdAlgorithm algorithm(set);
    algorithm.threshold = 100.0;
    algorithm.compute();
    ASSERT_EQ(algorithm.status(), Algorithm::Success);
    auto masks = algorithm.takeOutput().extractFirstImage();
    ASSERT_NE(masks, nullptr);
    EXPECT_EQ(masks->name(), "scan");
    EXPECT_EQ(masks->modality(), Data::Label);
    ASSERT_EQ(masks->size(), set.size());
    for (int i = 0; i < set.size(); ++i) {
        SCOPED_TRACE(::testing::Message() << pixelTypeName(set.mem(i)->pixelType()) << " image " << i);
        const ImageDescriptor& input = set.get(i)->descriptor();
        EXPECT_EQ(masks->get(i)->descriptor(), ImageDescriptor(PixelType::UInt8, input.dimensions, 2, input.spacing));
        EXPECT_EQ(masks->get(i)->matrixToWorld(), set.get(i)->matrixToWorld());
        const std::vector<double> mask = valuesOf(*masks->mem(i));
        EXPECT_EQ(mask, thresholdByDefinition(*set.mem(i), 100.0));
        EXPECT_EQ(mask[7], 0.0);
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
