#pragma once

#include <QWidget>

namespace Tarnwick {

class Data;

/// Base of the side-panel widgets that steer how one data set is shown (the image controller, display
/// options, the plug-ins' own controllers). Does not own the data; the main window destroys the
/// controller before the data.
class DataController : public QWidget {
    Q_OBJECT
public:
    explicit DataController(Data& data, QWidget* parent = nullptr);

    Data& data() const { return m_data; }

private:
    Data& m_data;
};

} // namespace Tarnwick
