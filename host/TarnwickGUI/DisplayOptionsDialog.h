#pragma once

#include <TarnwickCore/Signal.h>

#include <QDialog>

namespace Tarnwick {

class Configurable;
class Data;
class DisplayWidgetMulti;

/// A non-modal dialog around the display options panel of one data set, titled after it. Deletes
/// itself when closed and closes when the data set is deleted. While open, every change of the
/// data's display settings (`options`, may be null) and every redraw request of a DataController
/// panel redraws the views.
class DisplayOptionsDialog : public QDialog, public SignalReceiver {
    Q_OBJECT
public:
    /// Takes `panel` as its child; `data`, `options` and `display` must outlive the dialog's
    /// connections (the dialog closes when `data` goes).
    DisplayOptionsDialog(Data& data, QWidget* panel, Configurable* options, DisplayWidgetMulti& display,
                         QWidget* parent = nullptr);

    QWidget* panel() const { return m_panel; }

private:
    QWidget* m_panel = nullptr;
};

} // namespace Tarnwick
