#pragma once

#include <TarnwickLib/Algorithm/AlgorithmController.h>

#include <QElapsedTimer>
#include <QWidget>

#include <QPointer>

#include <memory>
#include <vector>

class QLabel;
class QProgressBar;
class QPushButton;
class QThread;

namespace Tarnwick {

class Algorithm;
class Data;
class DisplayWidgetMulti;
class ProgressBridge;
class PropertiesWidget;

/// The host's generic controller of an algorithm: a title, the parameter form (PropertiesWidget), a
/// Compute button, and a progress bar with Cancel while it computes.
///
/// compute() runs Algorithm::compute() on a thread of its own so that the window stays responsive;
/// the form and the Compute button are disabled meanwhile, the algorithm's Progress drives the bar,
/// and computeFinished(status) arrives on the GUI thread afterwards, where the caller takes the
/// output. The controller does not own the algorithm; destroying it during a computation cancels the
/// computation and waits for it.
///
/// `showDefaultsButton` adds a button that resets every parameter to its default;
/// `hideComputeButton` leaves the button out, for controllers that start computations themselves.
///
/// The application calls setDisplay() and then init() once the controller is created, and
/// postprocessOutput() with the data a finished run added to the data model; subclasses that work in
/// the views (installing manipulators, for example) override these.
class DefaultAlgorithmController : public QWidget, public AlgorithmController {
    Q_OBJECT
public:
    explicit DefaultAlgorithmController(Algorithm* algorithm, const QString& title = {},
                                        bool showDefaultsButton = false, bool hideComputeButton = false,
                                        QWidget* parent = nullptr);
    ~DefaultAlgorithmController() override;

    Algorithm* algorithm() const { return m_algorithm; }
    PropertiesWidget* propertiesWidget() const { return m_properties; }
    QPushButton* computeButton() const { return m_compute; }
    bool isComputing() const { return m_thread != nullptr; }

    /// The views of the application, for controllers that work in them; may stay null (no views).
    void setDisplay(DisplayWidgetMulti* display);
    DisplayWidgetMulti* display() const;
    /// Called once after setDisplay(); nothing by default.
    virtual void init() {}
    /// The data the finished run added to the data model, in output order; nothing by default.
    virtual void postprocessOutput(const std::vector<Data*>& added) {}

public Q_SLOTS:
    /// Starts a computation unless one runs.
    void compute();
    /// Asks the running computation to stop at its next progress check; it then ends with the status
    /// Algorithm::Canceled.
    void cancel();

Q_SIGNALS:
    void computeStarted();
    /// The computation ended with this status (Algorithm::Status); the output is ready to take.
    void computeFinished(int status);

private:
    void onThreadFinished();
    void setComputing(bool computing);

    Algorithm* m_algorithm;
    QPointer<DisplayWidgetMulti> m_display;
    PropertiesWidget* m_properties = nullptr;
    QPushButton* m_compute = nullptr;
    QPushButton* m_cancel = nullptr;
    QProgressBar* m_progressBar = nullptr;
    QLabel* m_statusLabel = nullptr;
    QThread* m_thread = nullptr;
    std::unique_ptr<ProgressBridge> m_progress;
    QElapsedTimer m_timer;
};

} // namespace Tarnwick
