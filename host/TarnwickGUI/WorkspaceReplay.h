#pragma once

#include <TarnwickLib/IO/Workspace.h>

#include <QObject>

#include <cstddef>
#include <vector>

namespace Tarnwick {

class Data;
class MainWindow;

/// Replays a workspace (.tws) in the desktop application as a user would have run it: opens its data
/// files, runs its steps one after another in the window's algorithm controller (off the GUI thread,
/// with progress and Cancel), then writes its "save" files. Files, outputs and steps enter the
/// window's data model, undo stack and workspace record like the user's own. Stops at the first
/// failure with the reason in failed().
class WorkspaceReplay : public QObject {
    Q_OBJECT
public:
    WorkspaceReplay(MainWindow& window, Workspace workspace);

    /// Checks the workspace, opens its files and starts the first step. False (with failed()) when it
    /// stopped before any step ran.
    bool start();
    bool isRunning() const { return m_running; }

Q_SIGNALS:
    /// Every step ran and every file was saved.
    void finished();
    void failed(const QString& reason);

private:
    void runNextStep();
    void onStepFinished(int status, const std::vector<Data*>& added);
    bool fail(const QString& reason);

    MainWindow& m_window;
    Workspace m_workspace;
    Workspace::Bindings m_names;
    std::size_t m_next = 0;
    bool m_running = false;
};

} // namespace Tarnwick
