#pragma once

#include <TarnwickGUI/DefaultAlgorithmController.h>

namespace Tarnwick {

class IoAlgorithm;

/// The controller of an input/output algorithm (IoAlgorithm): the parameter form with a "Choose..."
/// button that picks the file ("location") in a file chooser, open or save by the algorithm's mode,
/// filtered by its extensions, and a Run button. Runs like DefaultAlgorithmController.
///
/// `showOptions`: the form shows the algorithm's other parameters too (otherwise only the location);
/// `runWhenChosen`: choosing a file starts the run at once.
class IoController : public DefaultAlgorithmController {
    Q_OBJECT
public:
    IoController(IoAlgorithm* algorithm, bool showOptions, bool runWhenChosen, QWidget* parent = nullptr);

public Q_SLOTS:
    /// Opens the file chooser; a chosen file becomes the location (and runs when asked to).
    void chooseLocation();
    /// Sets the location as if it had been chosen.
    void setChosenLocation(const QString& path);

private:
    IoAlgorithm* m_io;
    bool m_runWhenChosen;
    QPushButton* m_choose = nullptr;
};

} // namespace Tarnwick
