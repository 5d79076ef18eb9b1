#include <TarnwickGraph/Rendering/GraphFeatureLegend.h>

#include <TarnwickGL/ColorBarOverlay.h>

namespace Tarnwick {

void GraphFeatureLegend::setShown(bool shown) {
    if (shown == m_shown)
        return;
    m_shown = shown;
    signalChanged.emitSignal();
}

void GraphFeatureLegend::setLabels(double min, double max) {
    m_min = min;
    m_max = max;
    m_labels = ColorBarOverlay::labels(min, max);
    signalChanged.emitSignal();
}

bool GraphFeatureLegend::operator==(const GraphFeatureLegend& other) const {
    return m_shown == other.m_shown && m_min == other.m_min && m_max == other.m_max;
}

} // namespace Tarnwick
