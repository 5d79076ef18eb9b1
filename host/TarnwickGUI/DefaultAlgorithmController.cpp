#include <TarnwickGUI/DefaultAlgorithmController.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/ProgressBridge.h>
#include <TarnwickGUI/PropertiesWidget.h>
#include <TarnwickLib/Algorithm/Algorithm.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>

#include <exception>

namespace Tarnwick {

namespace {

/// The title part of a menu name ("Graph;Centerline Graph Extraction" gives the second part).
QString menuTitle(const Algorithm& algorithm) {
    const QString menuName = QString::fromStdString(algorithm.factoryInfo().menuName);
    const QString title = menuName.section(';', -1);
    return title.isEmpty() ? QString::fromStdString(algorithm.factoryInfo().id) : title;
}

} // namespace

DefaultAlgorithmController::DefaultAlgorithmController(Algorithm* algorithm, const QString& title,
                                                       bool showDefaultsButton, bool hideComputeButton, QWidget* parent)
    : QWidget(parent), m_algorithm(algorithm) {
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(title.isEmpty() ? menuTitle(*algorithm) : title, this);
    heading->setStyleSheet("font-weight: bold");
    layout->addWidget(heading);
    m_properties = new PropertiesWidget(*algorithm, this);
    layout->addWidget(m_properties);

    auto* buttons = new QHBoxLayout;
    if (showDefaultsButton) {
        auto* defaults = new QPushButton(tr("Defaults"), this);
        connect(defaults, &QPushButton::clicked, this, [this] { m_algorithm->configureDefaults(); });
        buttons->addWidget(defaults);
    }
    buttons->addStretch();
    m_compute = new QPushButton(tr("Compute"), this);
    m_compute->setVisible(!hideComputeButton);
    connect(m_compute, &QPushButton::clicked, this, &DefaultAlgorithmController::compute);
    buttons->addWidget(m_compute);
    layout->addLayout(buttons);

    auto* progressRow = new QHBoxLayout;
    m_progressBar = new QProgressBar(this);
    m_cancel = new QPushButton(tr("Cancel"), this);
    connect(m_cancel, &QPushButton::clicked, this, &DefaultAlgorithmController::cancel);
    progressRow->addWidget(m_progressBar);
    progressRow->addWidget(m_cancel);
    layout->addLayout(progressRow);
    m_statusLabel = new QLabel(this);
    m_statusLabel->setWordWrap(true);
    layout->addWidget(m_statusLabel);
    layout->addStretch();
    setComputing(false);
}

DefaultAlgorithmController::~DefaultAlgorithmController() {
    if (m_thread) {
        m_progress->cancel();
        m_thread->wait();
    }
}

void DefaultAlgorithmController::setDisplay(DisplayWidgetMulti* display) {
    m_display = display;
}

DisplayWidgetMulti* DefaultAlgorithmController::display() const {
    return m_display;
}

void DefaultAlgorithmController::compute() {
    if (m_thread)
        return;
    // A Progress stays cancelled once cancelled: each computation gets a new one.
    m_progress = std::make_unique<ProgressBridge>();
    connect(m_progress.get(), &ProgressBridge::progressChanged, m_progressBar, [this](int percent) {
        m_progressBar->setRange(0, percent < 0 ? 0 : 100); // a busy bar for tasks of unknown length
        if (percent >= 0)
            m_progressBar->setValue(percent);
    });
    connect(m_progress.get(), &ProgressBridge::taskChanged, m_statusLabel, &QLabel::setText);
    m_algorithm->setProgress(m_progress.get());

    Algorithm* algorithm = m_algorithm;
    m_thread = QThread::create([algorithm] {
        try {
            algorithm->compute();
        } catch (const std::exception& error) {
            TW_LOG_ERROR("{} failed: {}", algorithm->factoryInfo().id, error.what());
            algorithm->setStatus(Algorithm::Error);
        }
    });
    connect(m_thread, &QThread::finished, this, &DefaultAlgorithmController::onThreadFinished);
    setComputing(true);
    m_statusLabel->setText(tr("Computing..."));
    m_timer.start();
    Q_EMIT computeStarted();
    m_thread->start();
}

void DefaultAlgorithmController::cancel() {
    if (m_progress)
        m_progress->cancel();
}

void DefaultAlgorithmController::onThreadFinished() {
    m_thread->deleteLater();
    m_thread = nullptr;
    m_algorithm->setProgress(nullptr);
    // A run the user canceled counts as canceled even when it finished before it noticed.
    if (m_progress->wasCanceled())
        m_algorithm->setStatus(Algorithm::Canceled);
    const int status = m_algorithm->status();
    const double seconds = m_timer.elapsed() / 1000.0;
    if (status == Algorithm::Success)
        m_statusLabel->setText(tr("Finished in %1 s").arg(seconds, 0, 'f', 2));
    else if (status == Algorithm::Canceled)
        m_statusLabel->setText(tr("Canceled after %1 s").arg(seconds, 0, 'f', 2));
    else
        m_statusLabel->setText(
            tr("Failed with status %1 after %2 s (see the log)").arg(status).arg(seconds, 0, 'f', 2));
    setComputing(false);
    Q_EMIT computeFinished(status);
}

void DefaultAlgorithmController::setComputing(bool computing) {
    m_properties->setEnabled(!computing);
    m_compute->setEnabled(!computing);
    m_cancel->setEnabled(computing);
    m_progressBar->setVisible(computing);
    m_cancel->setVisible(computing);
    if (computing) {
        m_progressBar->setRange(0, 0);
        m_progressBar->setValue(0);
    }
}

} // namespace Tarnwick
