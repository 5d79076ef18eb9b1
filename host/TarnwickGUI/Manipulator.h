#pragma once

#include <Eigen/Core>

class QEvent;
class QPointF;

namespace Tarnwick {

class GlView;

/// A mouse and keyboard handler installed in views (GlViewWidget::addManipulator): it sees the view's
/// events before the view's own navigation does.
///
/// Events passed to sceneEvent(): mouse press, release, double click and move (moves also without a
/// button held), wheel, key press and release, and shortcut override. Positions are the event's local
/// position in widget pixels; viewPixel() turns them into the view's pixels. Returning true consumes
/// the event: the view skips its own navigation, and a consumed shortcut override makes the key
/// arrive as a key press instead of triggering a window shortcut (Delete, for example).
class Manipulator {
public:
    Manipulator() = default;
    virtual ~Manipulator();
    Manipulator(const Manipulator&) = delete;
    Manipulator& operator=(const Manipulator&) = delete;

    /// Handles one event of `view`; true when consumed.
    virtual bool sceneEvent(QEvent* event, const GlView& view) = 0;

    /// Calls sceneEvent() with the ratio of view pixels to widget pixels of the widget showing `view`.
    bool dispatch(QEvent* event, const GlView& view, double pixelRatio);
    /// View pixels per widget pixel during the current dispatch (1 by default).
    double pixelRatio() const { return m_pixelRatio; }
    /// Centre, in view pixels (origin top-left), of the pixel under a widget position rounded to whole
    /// widget pixels.
    Eigen::Vector2d viewPixel(const QPointF& position) const;

private:
    double m_pixelRatio = 1.0;
};

} // namespace Tarnwick
