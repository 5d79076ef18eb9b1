#include <TarnwickGUI/DataController.h>

namespace Tarnwick {

DataController::DataController(Data& data, QWidget* parent) : QWidget(parent), m_data(data) {}

} // namespace Tarnwick
