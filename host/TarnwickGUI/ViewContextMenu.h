#pragma once

#include <QObject>
#include <QPoint>

#include <memory>
#include <vector>

class QDialog;
class QMenu;

namespace Tarnwick {

class Data;
class DataModel;
class DisplayWidgetMulti;

/// The context menu of the views of a DisplayWidgetMulti. A right click in a view (pressed and
/// released without dragging, so right drags still zoom; or the keyboard's menu key) lists the data
/// shown in that view, each with "Display Options…", which opens that data's options panel in a
/// DisplayOptionsDialog: the panel its display handler builds for the view, else a form over the
/// handler's display options; for images the image controller. Watches the view widgets from outside
/// through an event filter. The display and the model must outlive it.
class ViewContextMenu : public QObject {
    Q_OBJECT
public:
    ViewContextMenu(DisplayWidgetMulti& display, DataModel& model, QObject* parent = nullptr);

    /// The data shown in view `view` (a DisplayWidgetMulti::ViewIndex), in model order.
    std::vector<Data*> dataShownIn(int view) const;
    /// The menu of view `view`: one submenu per data set shown, named after it; null when none is.
    std::unique_ptr<QMenu> createMenu(int view);
    /// Opens the options panel of `data` as shown in view `view`; null when it has none.
    QDialog* openDisplayOptions(Data& data, int view);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int viewIndex(QObject* widget) const;
    void popUp(int view, const QPoint& globalPosition);

    DisplayWidgetMulti& m_display;
    DataModel& m_model;
    QPoint m_pressPosition;
};

} // namespace Tarnwick
