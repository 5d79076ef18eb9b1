// The extraction when the distance map of the resampled mask cannot be made: this executable replaces
// the global array allocator so that the distance map's allocation (a float array four times the size of
// the byte mask allocated just before it) fails once.
#include <TarnwickGraph/Algorithms/CenterlineGraphExtractionAlgorithm.h>

#include "../../support/LogCapture.h"
#include "support/TubeImages.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> failFloatCopy{false};
std::atomic<std::size_t> lastLargeArray{0};

} // namespace

void* operator new[](std::size_t size) {
    if (failFloatCopy && size >= 4096) {
        if (size == 4 * lastLargeArray) {
            failFloatCopy = false;
            throw std::bad_alloc();
        }
        lastLargeArray = size;
    }
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace Tarnwick {
namespace {

TEST(CenterlineDistanceFailure, ADistanceMapThatCannotBeMadeFailsTheRunInsteadOfSkippingThePruning) {
    const ImageDescriptorWorld frame(ImageDescriptor(PixelType::UInt8, {40, 21, 21}, 1, {0.5, 0.5, 0.5}),
                                     Eigen::Matrix4d::Identity());
    SharedImageSet set(Tarnwick::Test::tubeLabelImage({{{-7, 0, 0}, {7, 0, 0}, 2.0}}, frame));
    CenterlineGraphExtractionAlgorithm extraction(set);
    extraction.closeHolesSize = std::nullopt;
    extraction.compute();
    ASSERT_EQ(extraction.status(), Algorithm::Success); // the same run succeeds with memory to spare

    const Tarnwick::Test::LogCapture captured;
    failFloatCopy = true;
    lastLargeArray = 0;
    extraction.compute();
    EXPECT_FALSE(failFloatCopy) << "the distance map was never allocated";
    EXPECT_EQ(extraction.status(), Algorithm::Error);
    EXPECT_TRUE(captured.contains("Failed to compute the distance map.", Log::Error));
}

} // namespace
} // namespace Tarnwick
