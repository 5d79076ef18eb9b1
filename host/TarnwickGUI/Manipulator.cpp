#include <TarnwickGUI/Manipulator.h>

#include <QPointF>

#include <cmath>

namespace Tarnwick {

Manipulator::~Manipulator() = default;

bool Manipulator::dispatch(QEvent* event, const GlView& view, double pixelRatio) {
    m_pixelRatio = pixelRatio > 0.0 ? pixelRatio : 1.0;
    return sceneEvent(event, view);
}

Eigen::Vector2d Manipulator::viewPixel(const QPointF& position) const {
    return {(std::round(position.x()) + 0.5) * m_pixelRatio, (std::round(position.y()) + 0.5) * m_pixelRatio};
}

} // namespace Tarnwick
