#include <TarnwickGUI/DataController.h>

#include <algorithm>

namespace Tarnwick {

DataController::DataController(Data& data, QWidget* parent) : QWidget(parent), m_data({&data}) {}

DataController::DataController(const DataList& data, QWidget* parent) : QWidget(parent), m_data(data) {}

bool DataController::controls(const Data& data) const {
    return std::find(m_data.begin(), m_data.end(), &data) != m_data.end();
}

} // namespace Tarnwick
