#include <TarnwickLib/Image/ImageDescriptorWorld.h>

#include "support/TestImages.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Tarnwick;
using Tarnwick::Test::obliquePlacement;

TEST(ImageDescriptor, SizesAndValidity) {
    ImageDescriptor d(PixelType::UInt16, {4, 5, 6}, 3, {0.5, 1.0, 2.0});
    EXPECT_TRUE(d.isValid());
    EXPECT_EQ(d.numPixels(), 120u);
    EXPECT_EQ(d.numValues(), 360u);
    EXPECT_EQ(d.byteSize(), 720u);
    EXPECT_TRUE(d.extent().isApprox(Eigen::Vector3d(2.0, 5.0, 12.0)));
    EXPECT_FALSE(d.is2D());
    // Channels interleaved, x fastest, then y, then z.
    EXPECT_EQ(d.index(1, 0, 0), 3u);
    EXPECT_EQ(d.index(3, 4, 5), 357u);

    ImageDescriptor flat(PixelType::Float, {7, 3, 1});
    EXPECT_TRUE(flat.is2D());
    EXPECT_EQ(flat.byteSize(), 84u);
}

TEST(ImageDescriptor, RejectsInvalidShapesWithAReason) {
    const ImageDescriptor good(PixelType::Float, {2, 2, 2});
    auto broken = [&](auto edit) {
        ImageDescriptor d = good;
        edit(d);
        return d;
    };
    const ImageDescriptor cases[] = {
        broken([](ImageDescriptor& d) { d.dimensions.y() = 0; }),
        broken([](ImageDescriptor& d) { d.dimensions.z() = -3; }),
        broken([](ImageDescriptor& d) { d.channels = 0; }),
        broken([](ImageDescriptor& d) { d.spacing.x() = 0.0; }),
        broken([](ImageDescriptor& d) { d.spacing.z() = -1.0; }),
        broken([](ImageDescriptor& d) { d.spacing.y() = std::numeric_limits<double>::quiet_NaN(); }),
        broken([](ImageDescriptor& d) { d.spacing.y() = std::numeric_limits<double>::infinity(); }),
        broken([](ImageDescriptor& d) { d.pixelType = static_cast<PixelType>(5127); }),
        broken([](ImageDescriptor& d) {
            d.dimensions.setConstant(std::numeric_limits<int>::max());
            d.channels = 1 << 30;
        }),
    };
    for (const ImageDescriptor& d : cases) {
        EXPECT_FALSE(d.isValid()) << d.describe();
        EXPECT_FALSE(d.validationError().empty());
    }
    EXPECT_EQ(cases[8].validationError(), "image size overflows the address space");
    EXPECT_TRUE(good.validationError().empty());
}

TEST(ImageDescriptorWorld, PixelWorldPixelRoundTripsThroughAnObliquePlacement) {
    for (const Eigen::Vector3i& dims : {Eigen::Vector3i(9, 4, 7), Eigen::Vector3i(8, 5, 1)}) {
        ImageDescriptorWorld w(ImageDescriptor(PixelType::Float, dims, 1, {0.3, 1.7, 2.2}), obliquePlacement());
        const Eigen::Matrix4d roundTrip = w.worldToPixelMatrix() * w.pixelToWorldMatrix();
        EXPECT_TRUE(roundTrip.isApprox(Eigen::Matrix4d::Identity(), 1e-12));
        for (const Eigen::Vector3d& p :
             {Eigen::Vector3d(0, 0, 0), Eigen::Vector3d(8, 3, 0), Eigen::Vector3d(1.25, 2.5, 0)}) {
            EXPECT_LT((w.worldToPixel(w.pixelToWorld(p)) - p).norm(), 1e-12);
        }
        // The centre of the volume goes to the matrix's translation; one voxel step along x moves
        // spacing.x along the first direction column.
        const Eigen::Vector3d centre = (dims.cast<double>() - Eigen::Vector3d::Ones()) / 2;
        EXPECT_TRUE(w.pixelToWorld(centre).isApprox(w.matrixToWorld.topRightCorner<3, 1>()));
        const Eigen::Vector3d step = w.pixelToWorld(centre + Eigen::Vector3d::UnitX()) - w.pixelToWorld(centre);
        EXPECT_TRUE(step.isApprox(0.3 * w.matrixToWorld.col(0).head<3>()));
    }
}

TEST(PixelType, SizesNamesAndDispatchAgree) {
    const PixelType all[] = {PixelType::Int8,  PixelType::UInt8,  PixelType::Int16, PixelType::UInt16,
                             PixelType::Int32, PixelType::UInt32, PixelType::Float, PixelType::Double};
    const std::size_t sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
    for (int i = 0; i < 8; ++i) {
        EXPECT_TRUE(isValidPixelType(static_cast<int>(all[i])));
        EXPECT_EQ(pixelTypeSize(all[i]), sizes[i]);
        PixelType parsed{};
        ASSERT_TRUE(pixelTypeFromName(pixelTypeName(all[i]), parsed));
        EXPECT_EQ(parsed, all[i]);
        // The dispatched C++ type maps back to the same code.
        const PixelType roundTrip =
            dispatchPixelType(all[i], [](auto tag) { return pixelTypeOf<typename decltype(tag)::type>(); });
        EXPECT_EQ(roundTrip, all[i]);
    }
    for (int code : {0, 5119, 5127, 5128, 5129, 5131})
        EXPECT_FALSE(isValidPixelType(code)) << code;
    EXPECT_THROW(dispatchPixelType(static_cast<PixelType>(5128), [](auto) { return 0; }), std::invalid_argument);
    PixelType unused{};
    EXPECT_FALSE(pixelTypeFromName("int64", unused));
}
