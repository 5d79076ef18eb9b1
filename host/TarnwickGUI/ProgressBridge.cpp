#include <TarnwickGUI/ProgressBridge.h>

namespace Tarnwick {

// Signals of an object living on the GUI thread, emitted from another thread, reach GUI receivers
// through the event loop (automatic connections become queued ones).
void ProgressBridge::taskStarted(const Task& task, int) {
    Q_EMIT taskChanged(QString::fromStdString(task.description));
    Q_EMIT progressChanged(percentOf(task));
}

void ProgressBridge::percentChanged(const Task&, int, int percent) {
    Q_EMIT progressChanged(percent);
}

} // namespace Tarnwick
