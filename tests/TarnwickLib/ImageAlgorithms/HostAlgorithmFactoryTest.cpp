#include "MaskImages.h"
#include "support/LogCapture.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Data/Mesh.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransformAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/MorphologicalOperationsAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/ThresholdAlgorithm.h>

#include <gtest/gtest.h>

#include <functional>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::randomMask;
using Tarnwick::Test::singleImageSet;

namespace {

template <class T>
bool isA(const Algorithm* algorithm) {
    return dynamic_cast<const T*>(algorithm) != nullptr;
}

} // namespace

// Every catalogue entry takes exactly one image set, creates its class and, run on an empty set,
// reports that with its own name.
TEST(HostAlgorithmFactory, CatalogueCreatesEachAlgorithmOnOneImageSet) {
    struct Expected {
        std::string id, menuName;
        std::function<bool(const Algorithm*)> isRightClass;
        std::string emptyMessage;
    };
    const Expected catalogue[] = {
        {"Threshold", "Image;Threshold", isA<ThresholdAlgorithm>, "Threshold: the input image set is empty."},
        {"ImageResampling", "Image;Resample", isA<ImageResamplingAlgorithm>,
         "Resampling: the input image set is empty."},
        {"MorphologicalOperations", "Image;Morphological Operations", isA<MorphologicalOperationsAlgorithm>,
         "Morphological operations: the input image set is empty."},
        {"DistanceTransform", "Image;Distance Transform", isA<DistanceTransformAlgorithm>,
         "Distance transform: the input image set is empty."},
    };
    registerHostAlgorithms();
    registerHostAlgorithms(); // a second call registers nothing twice
    FactoryRegistry& registry = FactoryRegistry::get();
    std::vector<std::string> imageIds;
    for (const auto& info : registry.algorithms())
        if (info.factoryName == "Image")
            imageIds.push_back(info.id);
    ASSERT_EQ(imageIds.size(), std::size(catalogue));

    auto images = singleImageSet(randomMask({3, 3, 3}, 0.5, 1));
    SharedImageSet emptySet, otherSet;
    Mesh mesh;
    for (const Expected& expected : catalogue) {
        SCOPED_TRACE(expected.id);
        const auto info = registry.findAlgorithm(expected.id);
        ASSERT_TRUE(info);
        EXPECT_EQ(info->menuName, expected.menuName);
        EXPECT_FALSE(registry.createAlgorithm(expected.id, DataList{images.get(), &otherSet}));
        EXPECT_FALSE(registry.createAlgorithm(expected.id, DataList{&mesh}));

        LogCapture log;
        const auto algorithm = registry.createAlgorithm(expected.id, DataList{&emptySet});
        ASSERT_NE(algorithm, nullptr);
        EXPECT_TRUE(expected.isRightClass(algorithm.get()));
        algorithm->compute();
        EXPECT_EQ(algorithm->status(), Algorithm::IncompleteInput);
        EXPECT_TRUE(log.contains(expected.emptyMessage, Log::Error)) << ::testing::PrintToString(log.errors());
        EXPECT_TRUE(algorithm->output().empty());
    }
}
