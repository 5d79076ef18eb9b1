#include <TarnwickGUI/IoController.h>

#include <TarnwickGUI/PropertiesWidget.h>
#include <TarnwickLib/Algorithm/IoAlgorithm.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <QFileDialog>
#include <QFileInfo>
#include <QPushButton>
#include <QStringList>
#include <QVBoxLayout>

namespace Tarnwick {

IoController::IoController(IoAlgorithm* algorithm, bool showOptions, bool runWhenChosen, QWidget* parent)
    : DefaultAlgorithmController(algorithm, {}, false, false, parent), m_io(algorithm), m_runWhenChosen(runWhenChosen) {
    computeButton()->setText(tr("Run"));
    m_choose = new QPushButton(algorithm->ioMode() == IoAlgorithm::Load ? tr("Open File...") : tr("Save As..."), this);
    connect(m_choose, &QPushButton::clicked, this, &IoController::chooseLocation);
    if (auto* column = qobject_cast<QVBoxLayout*>(layout()))
        column->insertWidget(2, m_choose); // under the form
    if (!showOptions) {
        for (const ParameterBase* parameter : algorithm->parameters())
            if (QWidget* editor = propertiesWidget()->editor(parameter->name());
                editor && parameter->name() != "location")
                editor->setEnabled(false);
    }
}

void IoController::chooseLocation() {
    QStringList patterns;
    for (const std::string& pattern : m_io->supportedLocations())
        patterns << QString::fromStdString(pattern);
    const QString filter = tr("Files (%1);;All files (*)").arg(patterns.join(' '));
    const QString current = QString::fromStdString(m_io->location());
    const QString path =
        m_io->ioMode() == IoAlgorithm::Load
            ? QFileDialog::getOpenFileName(this, tr("Open"), QFileInfo(current).absolutePath(), filter)
            : QFileDialog::getSaveFileName(
                  this, tr("Save"), current.isEmpty() ? QString::fromStdString(m_io->suggestedSaveFileName()) : current,
                  filter);
    if (!path.isEmpty())
        setChosenLocation(path);
}

void IoController::setChosenLocation(const QString& path) {
    m_io->setLocation(path.toStdString());
    if (m_runWhenChosen)
        compute();
}

} // namespace Tarnwick
