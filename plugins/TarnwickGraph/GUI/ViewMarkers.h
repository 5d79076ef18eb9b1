#pragma once

#include <TarnwickGL/GlView.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>

#include <QPointer>

#include <array>
#include <memory>

namespace Tarnwick {

/// One marker object of type T (a GlObject) in each view of a display, hidden at first and drawn over
/// the data shown before it. One object per view because GL buffers belong to the context of the view
/// that draws them; each is destroyed with its view's context current.
template <class T>
class ViewMarkers {
public:
    explicit ViewMarkers(DisplayWidgetMulti& display) {
        for (int i = 0; i < DisplayWidgetMulti::viewCount; ++i) {
            m_views[i] = display.viewWidget(i);
            m_markers[i] = std::make_unique<T>();
            m_markers[i]->setVisible(false);
            m_views[i]->view().addObject(m_markers[i].get());
        }
    }
    ~ViewMarkers() {
        for (int i = 0; i < DisplayWidgetMulti::viewCount; ++i) {
            if (!m_views[i]) {
                // The view and its context are gone: the marker's GL names went with them.
                static_cast<void>(m_markers[i].release());
                continue;
            }
            m_views[i]->withContext([&] {
                m_views[i]->view().removeObject(m_markers[i].get());
                m_markers[i].reset();
            });
        }
    }
    ViewMarkers(const ViewMarkers&) = delete;
    ViewMarkers& operator=(const ViewMarkers&) = delete;

    /// Calls fn(marker, view) for every view still alive.
    template <typename Fn>
    void forEach(Fn&& fn) {
        for (int i = 0; i < DisplayWidgetMulti::viewCount; ++i)
            if (m_views[i])
                fn(*m_markers[i], m_views[i]->view());
    }
    void hide() {
        forEach([](T& marker, GlView&) { marker.setVisible(false); });
    }
    /// Whether any view shows its marker.
    bool isVisible() {
        bool visible = false;
        forEach([&](T& marker, GlView&) { visible = visible || marker.isVisible(); });
        return visible;
    }

private:
    std::array<QPointer<GlViewWidget>, DisplayWidgetMulti::viewCount> m_views;
    std::array<std::unique_ptr<T>, DisplayWidgetMulti::viewCount> m_markers;
};

} // namespace Tarnwick
