#pragma once

#include <TarnwickGL/GlView.h>

namespace Tarnwick {

/// The volume view (kind 2): a perspective camera orbiting a target point, with depth testing.
///
/// The camera sits `distance` millimetres from the target in the direction given by azimuth and
/// elevation (degrees) and looks at the target with world +z (superior) up on screen. Azimuth 0,
/// elevation 0 looks from the front (anterior, -y) towards +y, the patient's left (+x) on screen right
/// as in the coronal slice view; positive azimuth moves the camera towards +x, positive elevation
/// towards +z.
class GlVolumeView : public GlView {
public:
    GlVolumeView();

    int kind() const override { return 2; }
    /// Targets the box centre and moves the camera back until the box's bounding sphere fits.
    void fitToBounds(const Geometry::AlignedBox& box) override;

    void setCamera(double azimuthDegrees, double elevationDegrees);
    double azimuth() const { return m_azimuth; }
    double elevation() const { return m_elevation; }

    const Eigen::Vector3d& target() const { return m_target; }
    void setTarget(const Eigen::Vector3d& world);
    /// Distance from the camera to the target in millimetres (positive; other values are ignored).
    double distance() const { return m_distance; }
    void setDistance(double millimetres);
    /// Radius in millimetres of the scene around the target that must lie between the near and far
    /// planes (default 100; set by fitToBounds).
    double sceneRadius() const { return m_sceneRadius; }
    void setSceneRadius(double millimetres);
    /// Vertical field of view in degrees (30).
    static constexpr double fieldOfView = 30.0;

    /// World position of the camera.
    Eigen::Vector3d eye() const;

protected:
    GL::ViewState computeViewState() const override;

private:
    Eigen::Vector3d m_target = Eigen::Vector3d::Zero();
    double m_distance = 400.0;
    double m_sceneRadius = 100.0;
    double m_azimuth = 0.0;
    double m_elevation = 0.0;
};

} // namespace Tarnwick
