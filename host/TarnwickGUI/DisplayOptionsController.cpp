#include <TarnwickGUI/DisplayOptionsController.h>

#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/PropertiesWidget.h>

#include <QVBoxLayout>

namespace Tarnwick {

DisplayOptionsController::DisplayOptionsController(Data& data, Configurable& options, DisplayWidgetMulti& display,
                                                   QWidget* parent)
    : DataController(data, parent), m_properties(new PropertiesWidget(options, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_properties);
    layout->addStretch();
    connect(m_properties, &PropertiesWidget::parameterEdited, &display, &DisplayWidgetMulti::updateViews);
}

} // namespace Tarnwick
