#pragma once

#include <TarnwickCore/Progress.h>

#include <QObject>

namespace Tarnwick {

/// A Progress that an algorithm reports to from its computing thread and that a progress bar shows on
/// the GUI thread: progressChanged and taskChanged arrive through the event loop (queued). cancel()
/// (from the GUI) asks the algorithm to stop at its next check.
class ProgressBridge : public QObject, public Progress {
    Q_OBJECT
public:
    explicit ProgressBridge(QObject* parent = nullptr) : QObject(parent) {}

Q_SIGNALS:
    /// Whole percentage of the innermost task, or -1 when its length is unknown.
    void progressChanged(int percent);
    void taskChanged(const QString& description);

protected:
    void taskStarted(const Task& task, int depth) override;
    void percentChanged(const Task& task, int depth, int percent) override;
};

} // namespace Tarnwick
