#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>

#include <gtest/gtest.h>

#include <cmath>

namespace Tarnwick {
namespace {

struct SliceCase {
    GlSliceView::Orientation orientation;
    Eigen::Vector3d offset;        ///< world offset from the view centre, millimetres
    Eigen::Vector2d pixelOffset;   ///< expected offset from the viewport centre, pixels (y down)
    Eigen::Vector3d viewDirection; ///< expected zDir
};

// LPS world read radiologically: axial with anterior (-y) up, coronal and sagittal with superior (+z) up,
// the patient's left (+x) on the right in axial and coronal, posterior (+y) on the right in sagittal.
const SliceCase sliceCases[] = {
    {GlSliceView::Axial, {5, 3, 0}, {10, 6}, {0, 0, 1}},
    {GlSliceView::Coronal, {5, 0, 3}, {10, -6}, {0, 1, 0}},
    {GlSliceView::Sagittal, {0, 5, 3}, {10, -6}, {-1, 0, 0}},
};

TEST(ViewStateTest, SliceViewsProjectWorldPointsToTheirPixels) {
    const Eigen::Vector3d center(10, 20, 30);
    for (const auto& c : sliceCases) {
        SCOPED_TRACE(c.orientation);
        GlSliceView view(c.orientation);
        view.resize(200, 100);
        view.setPixelSize(0.5);
        view.setCenter(center);
        view.setSlicePosition(center);
        const GL::ViewState& state = view.viewState();
        EXPECT_LT((state.project(center + c.offset) - Eigen::Vector2d(100, 50) - c.pixelOffset).norm(), 1e-9);
        EXPECT_LT((state.zDir() - c.viewDirection).norm(), 1e-12);
        EXPECT_NEAR(state.pixelSizeAt(center), 0.5, 1e-12);

        // Off the plane by more than half the slab: clipped in the spatial mode (kind 1), kept when flat (kind 0).
        const Eigen::Vector3d offPlane = center + c.viewDirection * 1.5;
        EXPECT_EQ(view.kind(), 1);
        EXPECT_FALSE(state.isInDepthRange(offPlane));
        EXPECT_TRUE(state.isInDepthRange(center + c.viewDirection * 0.9));
        view.setFlat(false);
        EXPECT_EQ(view.kind(), 0);
        EXPECT_TRUE(view.viewState().isInDepthRange(offPlane));
        EXPECT_LT((view.viewState().project(offPlane) - Eigen::Vector2d(100, 50)).norm(), 1e-9);
    }
}

TEST(ViewStateTest, SliceViewFitsBoxAcrossTheView) {
    GlSliceView view(GlSliceView::Coronal);
    view.resize(200, 100);
    view.fitToBounds(Geometry::AlignedBox({0, 0, 0}, {40, 1000, 10}));
    // x spans 40 mm over 200 px, z 10 mm over 100 px: x decides; the depth extent (y) does not count.
    EXPECT_NEAR(view.pixelSize(), 40.0 / 200 * 1.1, 1e-12);
    EXPECT_LT((view.viewState().project({20, 0, 5}) - Eigen::Vector2d(100, 50)).norm(), 1e-9);
}

TEST(ViewStateTest, VolumeViewProjectsThroughItsOrbitCamera) {
    GlVolumeView view;
    view.resize(300, 200);
    view.fitToBounds(Geometry::AlignedBox({-10, 0, 0}, {10, 20, 40}));
    const Eigen::Vector3d target(0, 10, 20);
    const double f = 1.0 / std::tan(GlVolumeView::fieldOfView / 2 * M_PI / 180);
    // A point d mm off the target across the view lands f * (h / 2) * d / distance pixels from the centre.
    const double shift = f * 100 * 5 / view.distance();

    struct OrbitCase {
        double azimuth, elevation;
        Eigen::Vector3d right, up, viewDirection;
    };
    const OrbitCase cases[] = {
        {0, 0, {1, 0, 0}, {0, 0, 1}, {0, 1, 0}},   // from the front
        {90, 0, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}}, // from the patient's left
        {0, 90, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}}, // from above
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.azimuth << "," << c.elevation);
        view.setCamera(c.azimuth, c.elevation);
        const GL::ViewState& state = view.viewState();
        EXPECT_LT((state.project(target) - Eigen::Vector2d(150, 100)).norm(), 1e-9);
        EXPECT_LT((state.project(target + 5 * c.right) - Eigen::Vector2d(150 + shift, 100)).norm(), 1e-9);
        EXPECT_LT((state.project(target + 5 * c.up) - Eigen::Vector2d(150, 100 - shift)).norm(), 1e-9);
        EXPECT_LT((state.zDir() - c.viewDirection).norm(), 1e-12);
        EXPECT_LT((view.eye() - (target - view.distance() * c.viewDirection)).norm(), 1e-9);
    }
    // Every corner of the fitted box is in view and between the clipping planes.
    for (int corner = 0; corner < 8; ++corner) {
        const Eigen::Vector3d p(corner & 1 ? 10 : -10, corner & 2 ? 20 : 0, corner & 4 ? 40 : 0);
        const Eigen::Vector3d ndc = view.viewState().toNdc(p);
        EXPECT_TRUE((ndc.array().abs() < 1.0).all()) << ndc.transpose();
    }
}

} // namespace
} // namespace Tarnwick
