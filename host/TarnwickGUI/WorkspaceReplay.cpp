#include <TarnwickGUI/WorkspaceReplay.h>

#include <TarnwickGUI/MainWindow.h>
#include <TarnwickLib/Algorithm/Algorithm.h>

#include <QTimer>

namespace Tarnwick {

WorkspaceReplay::WorkspaceReplay(MainWindow& window, Workspace workspace)
    : QObject(&window), m_window(window), m_workspace(std::move(workspace)) {}

bool WorkspaceReplay::start() {
    if (const std::optional<std::string> reason = m_workspace.prepare())
        return fail(QString::fromStdString(*reason));
    for (const Workspace::DataFile& file : m_workspace.data) {
        const std::optional<DataList> loaded = m_window.openFile(QString::fromStdString(file.path));
        if (!loaded)
            return fail(tr("%1 could not be opened").arg(QString::fromStdString(file.path)));
        m_names.bind(file.name, *loaded);
    }
    m_running = true;
    connect(&m_window, &MainWindow::algorithmFinished, this, &WorkspaceReplay::onStepFinished);
    runNextStep();
    return true;
}

void WorkspaceReplay::runNextStep() {
    if (m_next < m_workspace.steps.size()) {
        const Workspace::Step& step = m_workspace.steps[m_next];
        if (!m_window.runAlgorithm(step.algorithm, m_names.resolve(step.inputs), step.parameters))
            fail(tr("step %1 (%2) could not start").arg(m_next + 1).arg(QString::fromStdString(step.algorithm)));
        return;
    }
    for (const Workspace::DataFile& target : m_workspace.save)
        if (!m_window.saveData(QString::fromStdString(target.path), m_names.resolve({target.name}))) {
            fail(tr("%1 was not written").arg(QString::fromStdString(target.path)));
            return;
        }
    m_running = false;
    disconnect(&m_window, nullptr, this, nullptr);
    Q_EMIT finished();
}

void WorkspaceReplay::onStepFinished(int status, const std::vector<Data*>& added) {
    const Workspace::Step& step = m_workspace.steps[m_next];
    if (status != Algorithm::Success) {
        fail(tr("step %1 (%2) ended with status %3 (%4)")
                 .arg(m_next + 1)
                 .arg(QString::fromStdString(step.algorithm))
                 .arg(status)
                 .arg(QString::fromUtf8(Algorithm::statusText(status))));
        return;
    }
    if (const std::optional<std::string> reason = m_names.bindOutputs(step, added)) {
        fail(QString::fromStdString(*reason));
        return;
    }
    ++m_next;
    // Outside the window's finishing handler, which must complete before the next run opens.
    QTimer::singleShot(0, this, &WorkspaceReplay::runNextStep);
}

bool WorkspaceReplay::fail(const QString& reason) {
    m_running = false;
    disconnect(&m_window, nullptr, this, nullptr);
    Q_EMIT failed(reason);
    return false;
}

} // namespace Tarnwick
