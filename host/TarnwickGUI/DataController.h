#pragma once

#include <TarnwickLib/Data/DataList.h>

#include <QWidget>

namespace Tarnwick {

class Data;

/// Base of the side-panel widgets that steer how data is shown (the image controller, display
/// options, the plug-ins' own controllers), for one data set or a selection of several. Does not own
/// the data; the main window destroys the controller before any of it.
class DataController : public QWidget {
    Q_OBJECT
public:
    explicit DataController(Data& data, QWidget* parent = nullptr);
    /// Controls every data set of `data`, which must not be empty.
    explicit DataController(const DataList& data, QWidget* parent = nullptr);

    /// The first data set controlled.
    Data& data() const { return *m_data[0]; }
    /// Every data set controlled, in selection order.
    const DataList& dataList() const { return m_data; }
    bool controls(const Data& data) const;

Q_SIGNALS:
    /// The controller changed how its data is drawn: the views should draw again.
    void redrawRequested();

protected:
    /// Replaces the data controlled (not empty), for controllers that follow the selection.
    void setDataList(const DataList& data) { m_data = data; }

private:
    DataList m_data;
};

} // namespace Tarnwick
