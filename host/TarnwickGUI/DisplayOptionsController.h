#pragma once

#include <TarnwickGUI/DataController.h>

namespace Tarnwick {

class Configurable;
class DisplayWidgetMulti;
class PropertiesWidget;

/// The display options of a data set (its display handler's Configurable, such as a graph's colours
/// and sizes) as a parameter form; every edit redraws the views.
class DisplayOptionsController : public DataController {
    Q_OBJECT
public:
    /// `options` belongs to `data`; both and `display` outlive the controller.
    DisplayOptionsController(Data& data, Configurable& options, DisplayWidgetMulti& display, QWidget* parent = nullptr);

    PropertiesWidget* propertiesWidget() const { return m_properties; }

private:
    PropertiesWidget* m_properties = nullptr;
};

} // namespace Tarnwick
