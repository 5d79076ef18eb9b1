#include "../GlTestContext.h"
#include "ViewPicture.h"

#include <support/TestImages.h>
#include <TarnwickGL/GlImage.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickLib/Image/SharedImage.h>
#include <TarnwickLib/Image/TypedImage.h>

#include <cmath>

namespace Tarnwick {
namespace {

using Test::renderPicture;
using Test::ViewPicture;

/// A signed 16-bit image, anisotropic and obliquely placed, at -1000 everywhere but one voxel at 1000.
class GlImageTest : public Test::GlTest {
protected:
    void SetUp() override {
        GlTest::SetUp();
        auto mem =
            TypedImage<short>::create(ImageDescriptor(PixelType::Int16, {9, 7, 5}, 1, Eigen::Vector3d(0.8, 1.3, 2.1)));
        std::fill_n(static_cast<short*>(mem->data()), mem->descriptor().numValues(), short(-1000));
        mem->setValue(bright.x(), bright.y(), bright.z(), 1000);
        image = std::make_shared<SharedImage>(std::move(mem), Tarnwick::Test::obliquePlacement());
        brightWorld = image->descriptorWorld().pixelToWorld(bright.cast<double>());
    }

    /// Gray level at the pixel a world point projects to.
    static int grayAt(const ViewPicture& picture, const GlView& view, const Eigen::Vector3d& world) {
        const Eigen::Vector2d p = view.viewState().project(world);
        return picture.at(int(std::floor(p.x())), int(std::floor(p.y()))).x();
    }

    const Eigen::Vector3i bright{6, 2, 3};
    std::shared_ptr<SharedImage> image;
    Eigen::Vector3d brightWorld;
};

TEST_F(GlImageTest, SliceViewsShowTheBrightVoxelAtItsProjection) {
    GlImage glImage(image);
    for (auto orientation : {GlSliceView::Axial, GlSliceView::Coronal, GlSliceView::Sagittal}) {
        SCOPED_TRACE(orientation);
        GlSliceView view(orientation);
        view.resize(129, 129); // odd: the centre of pixel 64 is the view centre
        view.setPixelSize(0.1);
        view.setCenter(brightWorld);
        view.setSlicePosition(brightWorld);
        view.addObject(&glImage);

        glImage.setWindowLevel(2000, 0); // -1000 black, 1000 white
        ViewPicture picture = renderPicture(view);
        EXPECT_GE(grayAt(picture, view, brightWorld), 250);
        EXPECT_EQ(grayAt(picture, view, brightWorld + 3.0 * view.rightDir()), 0);
        EXPECT_EQ(grayAt(picture, view, brightWorld - 3.0 * view.upDir()), 0);

        glImage.setWindowLevel(4000, 2000); // 1000 lies a quarter into the window
        picture = renderPicture(view);
        EXPECT_NEAR(grayAt(picture, view, brightWorld), 64, 1);
    }
}

TEST_F(GlImageTest, VolumeViewShowsTheVoxelOnItsPlanesAndInTheProjection) {
    GlImage glImage(image);
    glImage.setFocusPoint(brightWorld);
    GlVolumeView view;
    view.resize(101, 81);
    view.setCamera(25, 15);
    Geometry::AlignedBox around;
    around.addPoint(brightWorld - Eigen::Vector3d::Constant(4));
    around.addPoint(brightWorld + Eigen::Vector3d::Constant(4));
    view.fitToBounds(around);
    view.addObject(&glImage);

    for (auto mode : {GlImage::Slices, GlImage::MIP}) {
        SCOPED_TRACE(mode);
        glImage.setMode(mode);
        const ViewPicture picture = renderPicture(view);
        EXPECT_GE(grayAt(picture, view, brightWorld), mode == GlImage::Slices ? 240 : 150);
        EXPECT_EQ(grayAt(picture, view, brightWorld + 3.5 * view.viewState().xDir()), 0);
    }
}

} // namespace
} // namespace Tarnwick
