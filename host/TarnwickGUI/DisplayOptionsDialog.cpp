#include <TarnwickGUI/DisplayOptionsDialog.h>

#include <TarnwickGUI/DataController.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Data/Data.h>

#include <QDialogButtonBox>
#include <QVBoxLayout>

namespace Tarnwick {

DisplayOptionsDialog::DisplayOptionsDialog(Data& data, QWidget* panel, Configurable* options,
                                           DisplayWidgetMulti& display, QWidget* parent)
    : QDialog(parent), m_panel(panel) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Display Options: %1").arg(QString::fromStdString(data.name())));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(panel);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addWidget(buttons);

    data.signalDeleted.connect(this, [this](const Data*) {
        disconnectFromAllSignals(); // the options go with the data
        close();
    });
    if (options)
        options->signalParameterChanged.connect(this, [&display](const ParameterBase*) { display.updateViews(); });
    if (auto* controller = qobject_cast<DataController*>(panel))
        connect(controller, &DataController::redrawRequested, &display, &DisplayWidgetMulti::updateViews);
}

} // namespace Tarnwick
