#include <TarnwickLib/ImageOps/ThinningTopology.h>

#include "support/ReferenceThinning.h"

#include <gtest/gtest.h>

#include <random>

namespace Tarnwick::ImageOps {
namespace {

namespace Support = ::Tarnwick::Test;

using Support::Neighborhood;

std::uint32_t packed(const Neighborhood& n) {
    std::uint32_t cube = 0;
    for (int k = 0; k < 27; ++k) {
        const int dx = (k % 9) / 3 - 1, dy = k % 3 - 1, dz = k / 9 - 1;
        if (n[k])
            cube |= std::uint32_t(1) << ThinningTopology::cubeBit(dx, dy, dz);
    }
    return cube;
}

// Random neighbourhoods over a range of densities, the centre always set (as for a thinning candidate).
std::vector<Neighborhood> randomNeighborhoods(int count) {
    std::mt19937 random(7);
    std::vector<Neighborhood> result;
    for (int i = 0; i < count; ++i) {
        std::bernoulli_distribution voxel((i % 19 + 1) / 20.0);
        Neighborhood n{};
        for (auto& v : n)
            v = voxel(random);
        n[13] = 1;
        result.push_back(n);
    }
    return result;
}

TEST(ThinningTopologyTest, PackedTestsAgreeWithTheReferenceTests) {
    int endpoints = 0, invariant = 0, simple = 0;
    for (const Neighborhood& n : randomNeighborhoods(60000)) {
        const std::uint32_t cube = packed(n);
        ASSERT_EQ(ThinningTopology::isEndpoint(cube), Support::referenceIsEndpoint(n));
        ASSERT_EQ(ThinningTopology::isEulerInvariant(cube), Support::referenceIsEulerInvariant(n));
        ASSERT_EQ(ThinningTopology::hasSingleNeighborComponent(cube), Support::referenceIsSimple(n));
        endpoints += Support::referenceIsEndpoint(n);
        invariant += Support::referenceIsEulerInvariant(n);
        simple += Support::referenceIsSimple(n);
    }
    // Both outcomes of every test occur, so the comparison above means something.
    EXPECT_GT(endpoints, 30);
    EXPECT_GT(invariant, 300);
    EXPECT_GT(simple, 300);
    EXPECT_LT(simple, 59000);
}

TEST(ThinningTopologyTest, ClassicConfigurations) {
    using ThinningTopology::cubeBit;
    const std::uint32_t center = std::uint32_t(1) << ThinningTopology::kCenterBit;
    auto bit = [](int dx, int dy, int dz) { return std::uint32_t(1) << cubeBit(dx, dy, dz); };

    // End of a line: one neighbour.
    const std::uint32_t lineEnd = center | bit(1, 0, 0);
    EXPECT_TRUE(ThinningTopology::isEndpoint(lineEnd));
    // Middle of a line: removing it splits the line, and the neighbours form two components.
    const std::uint32_t lineMiddle = center | bit(-1, 0, 0) | bit(1, 0, 0);
    EXPECT_FALSE(ThinningTopology::isEndpoint(lineMiddle));
    EXPECT_FALSE(ThinningTopology::hasSingleNeighborComponent(lineMiddle));
    // Diagonal neighbours touch through a corner: one 26-component.
    EXPECT_TRUE(ThinningTopology::hasSingleNeighborComponent(center | bit(1, 1, 1) | bit(0, 0, 1)));
    // A corner voxel of a solid block is simple and Euler invariant.
    std::uint32_t block = 0;
    for (int dz = 0; dz <= 1; ++dz)
        for (int dy = 0; dy <= 1; ++dy)
            for (int dx = 0; dx <= 1; ++dx)
                block |= bit(dx, dy, dz);
    EXPECT_TRUE(ThinningTopology::hasSingleNeighborComponent(block));
    EXPECT_TRUE(ThinningTopology::isEulerInvariant(block));
    // An isolated voxel: removing it deletes a component, which changes the Euler characteristic.
    EXPECT_FALSE(ThinningTopology::isEulerInvariant(center));
    // The centre of a full cube is interior: removing it creates a cavity.
    EXPECT_FALSE(ThinningTopology::isEulerInvariant(ThinningTopology::kCubeMask));
}

} // namespace
} // namespace Tarnwick::ImageOps
