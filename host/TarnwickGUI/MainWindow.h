#pragma once

#include <TarnwickCore/Signal.h>
#include <TarnwickLib/Algorithm/ParameterSettings.h>
#include <TarnwickLib/Data/DataList.h>

#include <QMainWindow>
#include <QStringList>
#include <QUndoStack>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

class Algorithm;
class AlgorithmMenu;
class DataListWidget;
class DataController;
class DataModel;
class DefaultAlgorithmController;
class DisplayWidgetMulti;
class LogPanel;
class WorkspaceRecorder;

/// The desktop application's window: the views (DisplayWidgetMulti) in the centre, the data list on
/// the left, the controller of the open algorithm and that of
/// the selected data (window/level of images, display options of other data) on the right and the log at the bottom;
/// menus File (open, also by dropping files on the window; save as .tnw; export by extension; save the session as a
/// workspace), Edit (undo, redo, delete), View (layouts, crosshair) and Algorithms (the catalogue, enabled by the data
/// list's selection).
///
/// The window owns the data model. Every data set added to it is listed and shown in the views;
/// algorithms run on the selection through their controller (the plug-in's controller factory, else
/// DefaultAlgorithmController), and their outputs are added to the model when they finish. File and
/// algorithm failures are reported in a message box (window-modal, not blocking) and in the log.
///
/// Changes of the data model go on an undo stack, one command each: the outputs an algorithm run
/// added, the data deleted, and the inputs a run edited in place (those of a run that produced no
/// output or whose "inPlace" parameter is on), restored from copies the host's data clone takes before
/// every run. Undo and redo are refused while a computation runs.
class MainWindow : public QMainWindow, public SignalReceiver {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    DataModel& dataModel() { return *m_model; }
    DataListWidget* dataList() const { return m_dataList; }
    DisplayWidgetMulti* display() const { return m_display; }
    AlgorithmMenu* algorithmMenu() const { return m_algorithmMenu; }
    LogPanel* logPanel() const { return m_logPanel; }
    /// The algorithm whose controller is open, and that controller when it is the default one.
    Algorithm* currentAlgorithm() const { return m_algorithm.get(); }
    DefaultAlgorithmController* defaultController() const;
    /// The controller of the selection (a plug-in's for its data types, else the host's for one data
    /// set), or null.
    DataController* dataController() const { return m_dataController; }
    QUndoStack* undoStack() const { return m_undoStack; }

    /// Loads each file by its extension and adds its data, one undoable step per file; a file that
    /// fails is reported and the others are still loaded. A workspace (.tws) is replayed
    /// (WorkspaceReplay). True when every file loaded and every replay started.
    bool openFiles(const QStringList& paths);
    /// Loads one data file; its data sets, or nothing when it failed (reported).
    std::optional<DataList> openFile(const QString& path);
    /// Writes `data` to `path` by its extension; on failure reports why (the old file stays).
    bool saveData(const QString& path, const DataList& data);
    /// Writes the files opened and the algorithm steps run so far as a workspace (.tws); on failure
    /// reports why.
    bool saveWorkspace(const QString& path);
    /// Creates catalogue algorithm `id` on the current selection and opens its controller, replacing
    /// the open one. False when the selection does not fit or a computation is running.
    bool openAlgorithm(const std::string& id);
    /// Creates catalogue algorithm `id` on `inputs` with parameters set from text, opens it in the
    /// host's default controller and starts computing; algorithmFinished follows. False, reported, when
    /// it cannot start.
    bool runAlgorithm(const std::string& id, const DataList& inputs,
                      const std::vector<ParameterSettings::Setting>& settings);
    void closeAlgorithm();

Q_SIGNALS:
    /// An algorithm run ended with `status` and its outputs (in output order) were added to the model.
    void algorithmFinished(int status, const std::vector<Data*>& added);

protected:
    /// Files dropped on the window are opened like File > Open.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    bool openAlgorithm(const std::string& id, const DataList& inputs,
                       const std::vector<ParameterSettings::Setting>& settings);
    bool replayWorkspace(const QString& path);
    void createMenus();
    void createDocks();
    void onDataAdded(Data* data);
    void onDataRemoved(Data* data);
    void onComputeFinished(int status);
    void deleteSelected();
    /// Copies of the open algorithm's inputs that the host can clone, taken before it runs.
    void keepInputCopies();
    /// The command recording what the finished run changed in the model.
    std::unique_ptr<class DataModelCommand> runCommand(const std::vector<Data*>& added);
    void chooseFilesToOpen();
    void chooseFileToSave(bool exportFile);
    void chooseWorkspaceToSave();
    void showError(const QString& title, const QString& text);
    void updateActions();
    /// Shows the plug-ins' controller of the selection, else the host's when exactly one is selected.
    void updateDataController();

    std::unique_ptr<DataModel> m_model;
    std::unique_ptr<WorkspaceRecorder> m_recorder;
    std::unique_ptr<class WorkspaceReplay> m_replay;
    DisplayWidgetMulti* m_display = nullptr;
    DataListWidget* m_dataList = nullptr;
    AlgorithmMenu* m_algorithmMenu = nullptr;
    LogPanel* m_logPanel = nullptr;
    class QDockWidget* m_controllerDock = nullptr;
    class QDockWidget* m_dataControllerDock = nullptr;
    DataController* m_dataController = nullptr; ///< owned by its dock
    class QAction* m_deleteAction = nullptr;
    class QAction* m_undoAction = nullptr;
    class QAction* m_redoAction = nullptr;
    QUndoStack* m_undoStack = nullptr;
    /// Inputs of the running algorithm and their copies from before the run.
    std::vector<std::pair<Data*, std::unique_ptr<Data>>> m_inputCopies;
    std::unique_ptr<Algorithm> m_algorithm;
    QWidget* m_controller = nullptr; ///< owned by the controller dock
    bool m_computing = false;
    QString m_lastFolder;
};

} // namespace Tarnwick
