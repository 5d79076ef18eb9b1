#include "MaskImages.h"
#include "support/LogCapture.h"

#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Data/Mesh.h>
#include <TarnwickLib/ImageAlgorithms/DistanceTransformAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/ImageAlgorithms/ImageResamplingAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/MorphologicalOperationsAlgorithm.h>
#include <TarnwickLib/ImageAlgorithms/ThresholdAlgorithm.h>
#include <TarnwickLib/IO/ImageSetTarnwickFilePlugin.h>
#include <TarnwickLib/IO/TarnwickFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::randomMask;
using Tarnwick::Test::singleImageSet;

namespace {

struct Expected {
    std::string id;
    std::string menuName;
    std::function<bool(const Algorithm*)> isRightClass;
};

template <class T>
std::function<bool(const Algorithm*)> isA() {
    return [](const Algorithm* algorithm) { return dynamic_cast<const T*>(algorithm) != nullptr; };
}

const std::vector<Expected>& expectedCatalogue() {
    static const std::vector<Expected> catalogue{
        {"Threshold", "Image;Threshold", isA<ThresholdAlgorithm>()},
        {"ImageResampling", "Image;Resample", isA<ImageResamplingAlgorithm>()},
        {"MorphologicalOperations", "Image;Morphological Operations", isA<MorphologicalOperationsAlgorithm>()},
        {"DistanceTransform", "Image;Distance Transform", isA<DistanceTransformAlgorithm>()},
    };
    return catalogue;
}

const AlgorithmFactory* imageFactory() {
    const auto& factories = FactoryRegistry::get().algorithmFactories();
    auto it = std::find_if(factories.begin(), factories.end(), [](auto* f) { return f->name() == "Image"; });
    return it == factories.end() ? nullptr : *it;
}

} // namespace

TEST(HostAlgorithmFactory, RegistrationHappensOnceWhateverTheCalls) {
    registerHostAlgorithms();
    registerHostAlgorithms();
    const auto& factories = FactoryRegistry::get().algorithmFactories();
    EXPECT_EQ(std::count_if(factories.begin(), factories.end(), [](auto* f) { return f->name() == "Image"; }), 1);
    const auto plugins = TarnwickFile::plugins();
    EXPECT_EQ(std::count_if(plugins.begin(), plugins.end(),
                            [](auto* p) { return dynamic_cast<ImageSetTarnwickFilePlugin*>(p) != nullptr; }),
              1);
}

TEST(HostAlgorithmFactory, CatalogueEntriesAcceptExactlyOneImageSet) {
    registerHostAlgorithms();
    const AlgorithmFactory* factory = imageFactory();
    ASSERT_NE(factory, nullptr);
    ASSERT_EQ(factory->entries().size(), expectedCatalogue().size());

    auto images = singleImageSet(randomMask({3, 3, 3}, 0.5, 1));
    SharedImageSet emptySet;
    SharedImageSet otherSet;
    Mesh mesh;
    for (std::size_t i = 0; i < expectedCatalogue().size(); ++i) {
        const Expected& expected = expectedCatalogue()[i];
        SCOPED_TRACE(expected.id);
        const AlgorithmFactory::Entry& entry = factory->entries()[i];
        EXPECT_EQ(entry.id, expected.id);
        EXPECT_EQ(entry.menuName, expected.menuName);
        EXPECT_EQ(entry.id.find(' '), std::string::npos);

        EXPECT_TRUE(factory->isCompatible(expected.id, DataList{std::vector<Data*>{images.get()}}));
        EXPECT_TRUE(factory->isCompatible(expected.id, DataList{&emptySet}));
        EXPECT_FALSE(factory->isCompatible(expected.id, DataList{}));
        EXPECT_FALSE(factory->isCompatible(expected.id, DataList{std::vector<Data*>{images.get(), &otherSet}}));
        EXPECT_FALSE(factory->isCompatible(expected.id, DataList{&mesh}));

        const auto algorithm = FactoryRegistry::get().createAlgorithm(expected.id, DataList{&emptySet});
        ASSERT_NE(algorithm, nullptr);
        EXPECT_TRUE(expected.isRightClass(algorithm.get()));
        EXPECT_EQ(algorithm->factoryInfo().menuName, expected.menuName);
        // Created on the selected set: running it finds that set empty.
        LogCapture silence;
        algorithm->compute();
        EXPECT_EQ(algorithm->status(), Algorithm::IncompleteInput);
    }
}
