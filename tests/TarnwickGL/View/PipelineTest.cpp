#include "../GlTestContext.h"
#include "ViewPicture.h"

#include <TarnwickGL/GL/FixedFunctionPipeline.h>
#include <TarnwickGL/GL/VertexBuffer.h>
#include <TarnwickGL/GlCircle.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>

#include <cmath>

namespace Tarnwick {
namespace {

using PipelineTest = Test::GlTest;
using Test::renderPicture;
using Test::ViewPicture;

GL::Vertex vertex(const Eigen::Vector3d& p, const Eigen::Vector4f& c) {
    return {{float(p.x()), float(p.y()), float(p.z())}, {c[0], c[1], c[2], c[3]}};
}

// Axial view, 1 mm per pixel, centred on the origin: world (x, y) lands on pixel (32 + x, 32 + y).
struct AxialScene {
    GlSliceView view{GlSliceView::Axial};
    AxialScene() {
        view.resize(64, 64);
        view.setPixelSize(1.0);
    }
};

TEST_F(PipelineTest, PointsAndThickLinesLandOnTheirPixels) {
    AxialScene scene;
    GL::VertexBuffer point, line;
    // Pixel (37, 21) and a line along row 47 from column 12 to 52, red to green.
    point.setVertices({vertex({5.5, -10.5, 0}, {1, 0, 0, 1})});
    line.setVertices({vertex({-20, 15.5, 0}, {1, 0, 0, 1}), vertex({20, 15.5, 0}, {0, 1, 0, 1})});
    const ViewPicture picture = renderPicture(scene.view, [&] {
        GL::FixedFunctionPipeline& pipeline = scene.view.pipeline();
        pipeline.enable(scene.view);
        pipeline.setPointSize(9.0f);
        pipeline.draw(point, GL_POINTS);
        pipeline.setLineWidth(5.0f);
        pipeline.draw(line, GL_LINES);
        pipeline.disable();
    });

    // A square point of 9 pixels: columns 33..41, rows 17..25.
    for (int x = 31; x <= 43; ++x)
        EXPECT_EQ(picture.at(x, 21),
                  (x >= 33 && x <= 41 ? Eigen::Vector4i(255, 0, 0, 255) : Eigen::Vector4i(0, 0, 0, 255)))
            << x;
    for (int y = 15; y <= 27; ++y)
        EXPECT_EQ(picture.isBlack(37, y), y < 17 || y > 25) << y;

    // The line is 5 pixels wide (rows 45..49) and blends from red to green along its length.
    for (int y = 42; y <= 52; ++y)
        EXPECT_EQ(picture.isBlack(32, y), y < 45 || y > 49) << y;
    const Eigen::Vector4i left = picture.at(13, 47), middle = picture.at(32, 47), right = picture.at(51, 47);
    EXPECT_GT(left.x(), 240);
    EXPECT_LT(left.y(), 15);
    EXPECT_NEAR(middle.x(), 128, 4);
    EXPECT_NEAR(middle.y(), 128, 4);
    EXPECT_GT(right.y(), 240);
    EXPECT_LT(right.x(), 15);
    EXPECT_TRUE(picture.isBlack(10, 47));
    EXPECT_TRUE(picture.isBlack(54, 47));
}

TEST_F(PipelineTest, SmoothPointsAreRoundAndDefaultColourReplacesVertexColours) {
    AxialScene scene;
    GL::VertexBuffer point;
    point.setVertices({vertex({0.5, 0.5, 0}, {1, 0, 0, 1})}); // pixel (32, 32)
    const ViewPicture picture = renderPicture(scene.view, [&] {
        GL::FixedFunctionPipeline& pipeline = scene.view.pipeline();
        pipeline.enable(scene.view);
        pipeline.setPointSize(15.0f);
        pipeline.setPointSmooth(true);
        pipeline.setVertexColorEnabled(false);
        pipeline.setDefaultColor({0, 0, 1, 1});
        pipeline.draw(point, GL_POINTS);
        pipeline.disable();
    });
    EXPECT_EQ(picture.at(32, 32), Eigen::Vector4i(0, 0, 255, 255));
    EXPECT_EQ(picture.at(32 + 6, 32), Eigen::Vector4i(0, 0, 255, 255)); // inside the radius of 7.5
    EXPECT_TRUE(picture.isBlack(32 + 6, 32 + 6));                       // corner of the sprite, outside the disc
    EXPECT_TRUE(picture.isBlack(32 + 9, 32));
}

TEST_F(PipelineTest, VolumeViewDrawsWorldPointsAtTheirProjectionWithDepthTest) {
    GlVolumeView view;
    view.resize(80, 60);
    view.fitToBounds(Geometry::AlignedBox({-10, -10, -10}, {10, 10, 10}));
    view.setCamera(30, 20);
    // Two points on one viewing ray: the nearer (green) hides the farther (red), drawn after it.
    const Eigen::Vector3d p(3, -4, 5);
    const Eigen::Vector3d nearer = p - 5 * view.viewState().zDir();
    GL::VertexBuffer near, far;
    near.setVertices({vertex(nearer, {0, 1, 0, 1})});
    far.setVertices({vertex(p, {1, 0, 0, 1})});
    const ViewPicture picture = renderPicture(view, [&] {
        GL::FixedFunctionPipeline& pipeline = view.pipeline();
        pipeline.enable(view);
        pipeline.setPointSize(3.0f);
        pipeline.draw(near, GL_POINTS);
        pipeline.setPointSize(7.0f);
        pipeline.draw(far, GL_POINTS);
        pipeline.disable();
    });
    const Eigen::Vector2d pixel = view.viewState().project(p);
    const int x = int(std::floor(pixel.x())), y = int(std::floor(pixel.y()));
    EXPECT_EQ(picture.at(x, y), Eigen::Vector4i(0, 255, 0, 255));
    EXPECT_EQ(picture.at(x + 3, y), Eigen::Vector4i(255, 0, 0, 255));
    EXPECT_TRUE(picture.isBlack(x + 5, y));
}

TEST_F(PipelineTest, CircleOutlineHasItsRadius) {
    AxialScene scene;
    const double radius = 20.0;
    GlCircle circle(GlCircle::circleMatrix({0.5, 0.5, 0}, {0, 0, 1}, radius), {1, 1, 0, 1}, 3.0f);
    scene.view.addObject(&circle);
    const ViewPicture picture = renderPicture(scene.view);
    // Midpoints of segments all around: on the 3-pixel outline, nothing 3 pixels inside or outside.
    for (int k = 0; k < GlCircle::segments; k += 7) {
        const double angle = (k + 0.5) * 2 * M_PI / GlCircle::segments;
        const Eigen::Vector2d direction(std::cos(angle), std::sin(angle));
        auto pixelAt = [&](double r) { return (Eigen::Vector2d(32.5, 32.5) + r * direction).cast<int>().eval(); };
        const Eigen::Vector2i on = pixelAt(radius * std::cos(M_PI / GlCircle::segments));
        const Eigen::Vector2i outside = pixelAt(radius + 3), inside = pixelAt(radius - 3);
        EXPECT_EQ(picture.at(on.x(), on.y()), Eigen::Vector4i(255, 255, 0, 255)) << k;
        EXPECT_TRUE(picture.isBlack(outside.x(), outside.y())) << k;
        EXPECT_TRUE(picture.isBlack(inside.x(), inside.y())) << k;
    }
    EXPECT_TRUE(picture.isBlack(32, 32));
}

} // namespace
} // namespace Tarnwick
