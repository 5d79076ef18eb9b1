#pragma once

#include <QOpenGLWidget>
#include <QPoint>

#include <Eigen/Core>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Tarnwick {

class GlView;
class GlSliceView;
class GlVolumeView;
class Manipulator;

/// A QOpenGLWidget that shows one GlView (a slice view or the volume view) and turns mouse input into
/// camera changes:
/// - slice views: the wheel moves the slice by sliceStep() millimetres per notch (Ctrl+wheel zooms),
///   a left click moves the crosshair to the clicked point, a left or middle drag pans, a right drag
///   zooms;
/// - volume view: the wheel zooms, a left drag rotates the camera, a middle drag pans.
///
/// Installed manipulators (addManipulator) see mouse, wheel and key events first, in the order they
/// were added; an event one of them consumes does not move the camera. The widget tracks the mouse
/// while manipulators are installed, so they see moves without a button held too.
///
/// GL objects of the view must be created and destroyed with this widget's context current: use
/// withContext(). While frozen, paintGL keeps the last picture instead of drawing the view (the data
/// it shows is being changed by another thread).
class GlViewWidget : public QOpenGLWidget {
    Q_OBJECT
public:
    explicit GlViewWidget(std::unique_ptr<GlView> view, QWidget* parent = nullptr);
    ~GlViewWidget() override;

    GlView& view() { return *m_view; }
    /// The view as a slice view or a volume view; null when it is the other kind.
    GlSliceView* sliceView();
    GlVolumeView* volumeView();

    /// Runs `function` with this widget's GL context current (creating the context if needed).
    void withContext(const std::function<void()>& function);

    /// Millimetres the slice moves per wheel notch (positive).
    void setSliceStep(double millimetres);
    double sliceStep() const { return m_sliceStep; }

    void setFrozen(bool frozen);
    bool isFrozen() const { return m_frozen; }

    /// World point under a widget position in a slice view (on its slice plane); nothing for the
    /// volume view.
    std::optional<Eigen::Vector3d> worldAt(const QPoint& position) const;

    /// Adds a manipulator (not owned; ignored when null or already there). Remove it before
    /// destroying it.
    void addManipulator(Manipulator* manipulator);
    void removeManipulator(Manipulator* manipulator);

Q_SIGNALS:
    /// The user moved this view's slice (wheel); the argument is the new slice position.
    void slicePositionChanged(const Eigen::Vector3d& world);
    /// The user clicked a point of a slice view.
    void crosshairRequested(const Eigen::Vector3d& world);
    /// The manipulators saw an event: what they draw or edit may have changed.
    void manipulatorsNotified();

protected:
    /// Hands mouse, wheel and key events to the manipulators before the view's own handlers; not while
    /// frozen.
    bool event(QEvent* event) override;
    /// Checks that the context offers OpenGL 4.3; without it the view stays empty and an error is
    /// logged.
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void zoom(double factor);
    void pan(const QPoint& delta);

    std::unique_ptr<GlView> m_view;
    std::vector<Manipulator*> m_manipulators;
    double m_sliceStep = 1.0;
    bool m_frozen = false;
    bool m_contextUsable = false;
    bool m_dragged = false;
    QPoint m_pressPosition;
    QPoint m_lastPosition;
    Qt::MouseButton m_button = Qt::NoButton;
};

} // namespace Tarnwick
