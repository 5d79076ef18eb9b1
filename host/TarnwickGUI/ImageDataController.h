#pragma once

#include <TarnwickGUI/DataController.h>

class QComboBox;
class QDoubleSpinBox;

namespace Tarnwick {

class DisplayWidgetMulti;
class SharedImageSet;

/// The host's controller of an image: window, level, colour map and opacity of its GlImages in every view.
class ImageDataController : public DataController {
    Q_OBJECT
public:
    /// `image` must be shown in `display` (both outlive the controller).
    ImageDataController(SharedImageSet& image, DisplayWidgetMulti& display, QWidget* parent = nullptr);

    QDoubleSpinBox* windowBox() const { return m_window; }
    QDoubleSpinBox* levelBox() const { return m_level; }
    QComboBox* colormapBox() const { return m_colormap; }
    QDoubleSpinBox* opacityBox() const { return m_opacity; }

private:
    void apply();

    DisplayWidgetMulti& m_display;
    QDoubleSpinBox* m_window = nullptr;
    QDoubleSpinBox* m_level = nullptr;
    QComboBox* m_colormap = nullptr;
    QDoubleSpinBox* m_opacity = nullptr;
};

} // namespace Tarnwick
