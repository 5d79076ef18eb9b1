#include <TarnwickGUI/GlViewWidget.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGL/GlVolumeView.h>
#include <TarnwickGUI/Manipulator.h>

#include <QMouseEvent>
#include <QOpenGLContext>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Tarnwick {

namespace {
constexpr double zoomPerNotch = 1.15;
constexpr double degreesPerPixel = 0.5;

bool isManipulatorEvent(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
        return true;
    default:
        return false;
    }
}
} // namespace

GlViewWidget::GlViewWidget(std::unique_ptr<GlView> view, QWidget* parent)
    : QOpenGLWidget(parent), m_view(std::move(view)) {
    setMinimumSize(64, 64);
    setFocusPolicy(Qt::ClickFocus);
}

GlViewWidget::~GlViewWidget() {
    // The view's pipeline and text renderer hold GL resources of this widget's context.
    makeCurrent();
    m_view.reset();
    doneCurrent();
}

GlSliceView* GlViewWidget::sliceView() {
    return dynamic_cast<GlSliceView*>(m_view.get());
}

GlVolumeView* GlViewWidget::volumeView() {
    return dynamic_cast<GlVolumeView*>(m_view.get());
}

void GlViewWidget::withContext(const std::function<void()>& function) {
    makeCurrent();
    function();
    doneCurrent();
}

void GlViewWidget::setSliceStep(double millimetres) {
    if (millimetres > 0.0)
        m_sliceStep = millimetres;
}

void GlViewWidget::setFrozen(bool frozen) {
    m_frozen = frozen;
    if (!frozen)
        update();
}

std::optional<Eigen::Vector3d> GlViewWidget::worldAt(const QPoint& position) const {
    const auto* slice = dynamic_cast<const GlSliceView*>(m_view.get());
    if (!slice)
        return std::nullopt;
    const double scale = devicePixelRatioF();
    const Eigen::Vector2d pixel((position.x() + 0.5) * scale, (position.y() + 0.5) * scale);
    const Eigen::Vector3d onRay = slice->viewState().unproject(pixel, 0.0);
    const Eigen::Vector3d normal = slice->normal();
    return Eigen::Vector3d(onRay - normal * normal.dot(onRay - slice->slicePosition()));
}

void GlViewWidget::addManipulator(Manipulator* manipulator) {
    if (!manipulator || std::find(m_manipulators.begin(), m_manipulators.end(), manipulator) != m_manipulators.end())
        return;
    m_manipulators.push_back(manipulator);
    setMouseTracking(true);
}

void GlViewWidget::removeManipulator(Manipulator* manipulator) {
    m_manipulators.erase(std::remove(m_manipulators.begin(), m_manipulators.end(), manipulator), m_manipulators.end());
    setMouseTracking(!m_manipulators.empty());
}

bool GlViewWidget::event(QEvent* event) {
    if (m_manipulators.empty() || m_frozen || !isManipulatorEvent(event->type()))
        return QOpenGLWidget::event(event);
    bool consumed = false;
    // A manipulator may remove itself while handling the event: iterate over a copy.
    const std::vector<Manipulator*> manipulators = m_manipulators;
    for (Manipulator* manipulator : manipulators) {
        if (manipulator->dispatch(event, *m_view, devicePixelRatioF())) {
            consumed = true;
            break;
        }
    }
    Q_EMIT manipulatorsNotified();
    update();
    if (consumed) {
        event->accept();
        // The button was taken by a manipulator: a later move must not continue a camera drag.
        if (event->type() == QEvent::MouseButtonPress)
            m_button = Qt::NoButton;
        return true;
    }
    return QOpenGLWidget::event(event);
}

void GlViewWidget::initializeGL() {
    const QSurfaceFormat format = context()->format();
    m_contextUsable = format.version() >= qMakePair(4, 3);
    if (!m_contextUsable)
        TW_LOG_ERROR("The views need OpenGL 4.3; this display offers {}.{}: nothing is drawn", format.majorVersion(),
                     format.minorVersion());
}

void GlViewWidget::resizeGL(int width, int height) {
    const double scale = devicePixelRatioF();
    m_view->resize(std::max(1, int(std::lround(width * scale))), std::max(1, int(std::lround(height * scale))));
}

void GlViewWidget::paintGL() {
    if (m_frozen || !m_contextUsable)
        return; // the framebuffer keeps the last picture
    m_view->render();
}

void GlViewWidget::mousePressEvent(QMouseEvent* event) {
    m_button = event->button();
    m_pressPosition = m_lastPosition = event->pos();
    m_dragged = false;
}

void GlViewWidget::mouseMoveEvent(QMouseEvent* event) {
    if (m_button == Qt::NoButton)
        return;
    const QPoint delta = event->pos() - m_lastPosition;
    m_lastPosition = event->pos();
    if (!m_dragged && (event->pos() - m_pressPosition).manhattanLength() < 3)
        return;
    m_dragged = true;
    if (GlVolumeView* volume = volumeView(); volume && m_button == Qt::LeftButton)
        volume->setCamera(volume->azimuth() - delta.x() * degreesPerPixel,
                          std::clamp(volume->elevation() + delta.y() * degreesPerPixel, -89.0, 89.0));
    else if (m_button == Qt::RightButton && sliceView())
        zoom(std::pow(1.01, delta.y()));
    else
        pan(delta);
    update();
}

void GlViewWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (!m_dragged && m_button == Qt::LeftButton)
        if (const auto world = worldAt(event->pos()))
            Q_EMIT crosshairRequested(*world);
    m_button = Qt::NoButton;
}

void GlViewWidget::wheelEvent(QWheelEvent* event) {
    const double notches = event->angleDelta().y() / 120.0;
    if (notches == 0.0)
        return;
    GlSliceView* slice = sliceView();
    if (slice && !(event->modifiers() & Qt::ControlModifier)) {
        const Eigen::Vector3d position = slice->slicePosition() + slice->normal() * (notches * m_sliceStep);
        slice->setSlicePosition(position);
        Q_EMIT slicePositionChanged(position);
    } else {
        zoom(std::pow(zoomPerNotch, -notches));
    }
    update();
    event->accept();
}

void GlViewWidget::zoom(double factor) {
    if (GlSliceView* slice = sliceView())
        slice->setPixelSize(slice->pixelSize() * factor);
    else if (GlVolumeView* volume = volumeView())
        volume->setDistance(volume->distance() * factor);
}

void GlViewWidget::pan(const QPoint& delta) {
    const double scale = devicePixelRatioF();
    const Eigen::Vector2d d(delta.x() * scale, delta.y() * scale);
    if (GlSliceView* slice = sliceView()) {
        const double size = slice->pixelSize();
        slice->setCenter(slice->center() - slice->rightDir() * (d.x() * size) + slice->upDir() * (d.y() * size));
    } else if (GlVolumeView* volume = volumeView()) {
        const GL::ViewState& state = volume->viewState();
        const double size = state.pixelSizeAt(volume->target());
        volume->setTarget(volume->target() - state.xDir() * (d.x() * size) + state.yDir() * (d.y() * size));
    }
}

} // namespace Tarnwick
