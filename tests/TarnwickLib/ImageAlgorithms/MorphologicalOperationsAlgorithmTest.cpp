#include "MaskImages.h"
#include "support/LogCapture.h"
#include "support/TestImages.h"

#include <TarnwickLib/ImageAlgorithms/MorphologicalOperationsAlgorithm.h>
#include <TarnwickLib/ImageOps/Morphology.h>
#include <TarnwickLib/ImageOps/Thinning.h>

#include <gtest/gtest.h>

using namespace Tarnwick;
using Tarnwick::Test::LogCapture;
using Tarnwick::Test::obliquePlacement;
using Tarnwick::Test::randomMask;
using Tarnwick::Test::sameValues;
using Tarnwick::Test::singleImageSet;
using Mode = MorphologicalOperationsAlgorithm::OpMode;

namespace {

// What the kernels give for `mode` on `mask`.
std::unique_ptr<TypedImage<unsigned char>> expectedResult(Mode mode, int size, const TypedImage<unsigned char>& mask) {
    if (mode == MorphologicalOperationsAlgorithm::Thinning)
        return ImageOps::thin(mask);
    const ImageOps::MorphologyOperation operations[] = {
        ImageOps::MorphologyOperation::Dilation, ImageOps::MorphologyOperation::Erosion,
        ImageOps::MorphologyOperation::Opening, ImageOps::MorphologyOperation::Closing};
    return ImageOps::morphology(mask, {operations[mode], size});
}

// A random mask with foreground value 255, placed obliquely with modality Label.
std::unique_ptr<SharedImageSet> maskSet(const Eigen::Vector3i& dimensions, std::uint32_t seed) {
    auto mask = randomMask(dimensions, 0.55, seed, {0.5, 0.75, 1.5});
    for (std::size_t i = 0; i < mask->descriptor().numValues(); ++i)
        mask->pointer()[i] *= 255;
    auto set = singleImageSet(std::move(mask), obliquePlacement(), Data::Label);
    set->setName("mask");
    return set;
}

} // namespace

TEST(MorphologicalOperationsAlgorithm, EveryModeAndSizeMatchesItsKernel) {
    for (const Eigen::Vector3i& dimensions : {Eigen::Vector3i(9, 8, 7), Eigen::Vector3i(12, 10, 1)}) {
        for (int mode = MorphologicalOperationsAlgorithm::Dilation; mode <= MorphologicalOperationsAlgorithm::Thinning;
             ++mode) {
            for (int size : {0, 1, 2}) {
                SCOPED_TRACE(::testing::Message()
                             << "dimensions " << dimensions.transpose() << " mode " << mode << " size " << size);
                auto set = maskSet(dimensions, 11 + mode);
                const auto original = set->img<unsigned char>(0)->cloneTyped();
                MorphologicalOperationsAlgorithm algorithm(*set);
                algorithm.setOpMode(static_cast<Mode>(mode));
                algorithm.setOpSize(size);
                algorithm.compute();
                ASSERT_EQ(algorithm.status(), Algorithm::Success);
                auto output = algorithm.takeOutput();
                ASSERT_EQ(output.size(), 1u);
                const auto* result = dynamic_cast<const SharedImageSet*>(output.get(0));
                ASSERT_NE(result, nullptr);
                ASSERT_EQ(result->size(), 1);
                EXPECT_TRUE(sameValues(*result->mem(0), *expectedResult(static_cast<Mode>(mode), size, *original)));
                EXPECT_EQ(result->get(0)->descriptor(), original->descriptor());
                EXPECT_EQ(result->get(0)->matrixToWorld(), set->get(0)->matrixToWorld());
                EXPECT_EQ(result->modality(), Data::Label);
                EXPECT_EQ(result->name(), "mask");
                EXPECT_TRUE(sameValues(*set->mem(0), *original)) << "the input must stay as it was";
            }
        }
    }
}

TEST(MorphologicalOperationsAlgorithm, RefusesInputItCannotProcess) {
    LogCapture log;
    struct Case {
        std::unique_ptr<MemImage> image;
        int size;
        std::string message;
    };
    Case cases[] = {
        {TypedImage<float>::zeros({4, 4, 4}), 1,
         "Morphological operations: image 1 is float 4x4x4 x1 spacing 1x1x1; a single-channel uint8 mask is required "
         "(threshold the image first)."},
        {TypedImage<unsigned char>::zeros({4, 4, 1}, 2), 1,
         "Morphological operations: image 1 is uint8 4x4x1 x2 spacing 1x1x1; a single-channel uint8 mask is required "
         "(threshold the image first)."},
        {randomMask({4, 4, 4}, 0.5, 3), -1,
         "Morphological operations: the operation size must not be negative (got -1)."},
    };
    for (Case& c : cases) {
        auto set = singleImageSet(std::move(c.image));
        const auto before = set->mem(0)->clone();
        MorphologicalOperationsAlgorithm algorithm(*set);
        algorithm.setOpSize(c.size);
        algorithm.setInPlace(true);
        algorithm.compute();
        EXPECT_EQ(algorithm.status(), Algorithm::InvalidInput) << c.message;
        EXPECT_TRUE(log.contains(c.message, Log::Error)) << c.message;
        EXPECT_TRUE(sameValues(*set->mem(0), *before)) << c.message;
    }
}
