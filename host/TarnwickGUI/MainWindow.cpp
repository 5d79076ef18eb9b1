#include <TarnwickGUI/MainWindow.h>

#include <TarnwickCore/Log.h>
#include <TarnwickGL/DataDisplayHandlerFactory.h>
#include <TarnwickGUI/AlgorithmMenu.h>
#include <TarnwickGUI/DataControllerFactory.h>
#include <TarnwickGUI/DataListWidget.h>
#include <TarnwickGUI/DataModelCommand.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>
#include <TarnwickGUI/DisplayOptionsController.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/ImageDataController.h>
#include <TarnwickGUI/LogPanel.h>
#include <TarnwickGUI/ViewContextMenu.h>
#include <TarnwickGUI/WorkspaceRecorder.h>
#include <TarnwickGUI/WorkspaceReplay.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Data/DataModel.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/IO/DataFileIO.h>
#include <TarnwickLib/IO/Workspace.h>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>

#include <algorithm>

namespace Tarnwick {

namespace {

/// Collects the error messages logged while it exists, to tell the user why an action failed.
class ErrorCollector {
public:
    ErrorCollector() : m_sink(std::make_shared<Log::MemorySink>()) { Log::addSink(m_sink); }
    ~ErrorCollector() { Log::removeSink(m_sink); }
    QString text() const {
        QStringList lines;
        for (const std::string& message : m_sink->messages(Log::Error))
            lines << QString::fromStdString(message);
        return lines.join('\n');
    }

private:
    std::shared_ptr<Log::MemorySink> m_sink;
};

/// Whether a finished run edited its inputs: it produced no output, or it was asked to work in place.
bool editedInPlace(const Algorithm& algorithm, bool producedOutput) {
    const ParameterBase* inPlace = algorithm.parameter("inPlace");
    return !producedOutput || (inPlace && (inPlace->toString() == "true" || inPlace->toString() == "1"));
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), m_model(std::make_unique<DataModel>()), m_recorder(std::make_unique<WorkspaceRecorder>()),
      m_undoStack(new QUndoStack(this)) {
    setWindowTitle("Tarnwick");
    setAcceptDrops(true);
    m_display = new DisplayWidgetMulti(this);
    setCentralWidget(m_display);
    m_display->setUndoStack(m_undoStack); // mouse edits in the views are undone like the rest
    createDocks();
    new ViewContextMenu(*m_display, *m_model, this);
    createMenus();
    m_model->signalDataAdded.connect(this, [this](Data* data) { onDataAdded(data); });
    m_model->signalDataRemoved.connect(this, [this](Data* data) { onDataRemoved(data); });
    updateActions();
}

MainWindow::~MainWindow() {
    // A running computation is cancelled and waited for by its controller's destructor.
    m_computing = false;
    closeAlgorithm();
    m_undoStack->clear();
    // The views and the list refer to the data: let them go before the model destroys it.
    for (Data* data : m_model->getAll())
        onDataRemoved(data);
    disconnectFromAllSignals();
    m_model->clear();
}

void MainWindow::createDocks() {
    m_dataList = new DataListWidget(this);
    auto* dataDock = new QDockWidget(tr("Data"), this);
    dataDock->setObjectName("dataDock");
    dataDock->setWidget(m_dataList);
    addDockWidget(Qt::LeftDockWidgetArea, dataDock);
    connect(m_dataList, &DataListWidget::dataSelectionChanged, this, &MainWindow::updateActions);
    connect(m_dataList, &DataListWidget::dataSelectionChanged, this, &MainWindow::updateDataController);
    connect(m_dataList, &DataListWidget::visibilityToggled, this, [this](Data* data, bool visible) {
        if (visible)
            m_display->showData(*data);
        else
            m_display->hideData(*data);
    });

    m_controllerDock = new QDockWidget(tr("Algorithm"), this);
    m_controllerDock->setObjectName("algorithmDock");
    addDockWidget(Qt::RightDockWidgetArea, m_controllerDock);
    m_controllerDock->hide();
    m_dataControllerDock = new QDockWidget(tr("Display"), this);
    m_dataControllerDock->setObjectName("displayDock");
    addDockWidget(Qt::RightDockWidgetArea, m_dataControllerDock);
    m_dataControllerDock->hide();

    m_logPanel = new LogPanel(this);
    auto* logDock = new QDockWidget(tr("Log"), this);
    logDock->setObjectName("logDock");
    logDock->setWidget(m_logPanel);
    addDockWidget(Qt::BottomDockWidgetArea, logDock);
    resizeDocks({dataDock}, {320}, Qt::Horizontal);
    resizeDocks({logDock}, {140}, Qt::Vertical);
}

void MainWindow::createMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open..."), this, &MainWindow::chooseFilesToOpen, QKeySequence::Open);
    file->addAction(
        tr("&Save..."), this, [this] { chooseFileToSave(false); }, QKeySequence::Save);
    file->addAction(
        tr("&Export..."), this, [this] { chooseFileToSave(true); }, QKeySequence(tr("Ctrl+E")));
    file->addAction(tr("Save &Workspace..."), this, &MainWindow::chooseWorkspaceToSave);
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    m_undoAction = edit->addAction(
        tr("&Undo"), this,
        [this] {
            if (!m_computing)
                m_undoStack->undo();
        },
        QKeySequence::Undo);
    m_redoAction = edit->addAction(
        tr("&Redo"), this,
        [this] {
            if (!m_computing)
                m_undoStack->redo();
        },
        QKeySequence(tr("Ctrl+Shift+Z")));
    connect(m_undoStack, &QUndoStack::indexChanged, this, &MainWindow::updateActions);
    edit->addSeparator();
    m_deleteAction = edit->addAction(tr("&Delete"), this, &MainWindow::deleteSelected, QKeySequence::Delete);
    // Also on the data list's context menu.
    m_dataList->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_dataList->addAction(m_deleteAction);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    auto* layouts = new QActionGroup(this);
    const auto addLayout = [&](const QString& text, DisplayWidgetMulti::Layout layout, int mainView,
                               const QKeySequence& key) {
        QAction* action = view->addAction(
            text, this, [this, layout, mainView] { m_display->setLayoutMode(layout, mainView); }, key);
        action->setCheckable(true);
        action->setChecked(layout == DisplayWidgetMulti::TwoByTwo);
        layouts->addAction(action);
    };
    addLayout(tr("2 x 2"), DisplayWidgetMulti::TwoByTwo, 0, QKeySequence(tr("Ctrl+0")));
    addLayout(tr("Axial"), DisplayWidgetMulti::OneByOne, DisplayWidgetMulti::Axial, QKeySequence(tr("Ctrl+1")));
    addLayout(tr("Coronal"), DisplayWidgetMulti::OneByOne, DisplayWidgetMulti::Coronal, QKeySequence(tr("Ctrl+2")));
    addLayout(tr("Sagittal"), DisplayWidgetMulti::OneByOne, DisplayWidgetMulti::Sagittal, QKeySequence(tr("Ctrl+3")));
    addLayout(tr("3-D"), DisplayWidgetMulti::OneByOne, DisplayWidgetMulti::Volume, QKeySequence(tr("Ctrl+4")));
    view->addSeparator();
    QAction* crosshair = view->addAction(tr("Show &Crosshair"), m_display, &DisplayWidgetMulti::setCrosshairVisible);
    crosshair->setCheckable(true);
    crosshair->setChecked(true);
    view->addAction(tr("&Reset Views"), m_display, &DisplayWidgetMulti::fitViews);

    m_algorithmMenu = new AlgorithmMenu(this);
    menuBar()->addMenu(m_algorithmMenu);
    connect(m_algorithmMenu, &AlgorithmMenu::algorithmChosen, this,
            [this](const QString& id) { openAlgorithm(id.toStdString()); });
}

void MainWindow::onDataAdded(Data* data) {
    const bool shown = m_display->showData(*data);
    m_dataList->addData(*data, shown, int(m_model->indexOf(data)));
}

void MainWindow::onDataRemoved(Data* data) {
    if (m_dataController && m_dataController->controls(*data)) {
        m_dataControllerDock->setWidget(nullptr);
        delete m_dataController;
        m_dataController = nullptr;
    }
    if (m_algorithm && !m_algorithm->survivesDataDeletion(data))
        closeAlgorithm();
    m_recorder->forget(data);
    m_display->hideData(*data);
    m_dataList->removeData(*data);
}

bool MainWindow::openFiles(const QStringList& paths) {
    bool allLoaded = true;
    for (const QString& path : paths) {
        if (path.endsWith(".tws", Qt::CaseInsensitive))
            allLoaded = replayWorkspace(path) && allLoaded;
        else
            allLoaded = openFile(path).has_value() && allLoaded;
    }
    return allLoaded;
}

std::optional<DataList> MainWindow::openFile(const QString& path) {
    ErrorCollector errors;
    std::optional<OwningDataList> loaded = DataFileIO::load(path.toStdString());
    if (!loaded) {
        showError(tr("Cannot open file"), tr("%1 could not be opened:\n%2").arg(path, errors.text()));
        return std::nullopt;
    }
    m_lastFolder = QFileInfo(path).absolutePath();
    auto command = std::make_unique<DataModelCommand>(*m_model, tr("Open %1").arg(QFileInfo(path).fileName()));
    DataList added;
    for (std::unique_ptr<Data>& data : loaded->release()) {
        if (data->name().empty())
            data->setName(QFileInfo(path).fileName().section('.', 0, 0).toStdString());
        Data* item = m_model->add(std::move(data));
        added.add(item);
        command->addAdded(item);
    }
    m_recorder->addFile(path.toStdString(), {added.begin(), added.end()});
    if (!command->isEmpty())
        m_undoStack->push(command.release());
    return added;
}

bool MainWindow::replayWorkspace(const QString& path) {
    if (m_replay && m_replay->isRunning()) {
        showError(tr("Cannot open workspace"), tr("%1: another workspace is still being replayed.").arg(path));
        return false;
    }
    std::string error;
    std::optional<Workspace> workspace = Workspace::load(path.toStdString(), error);
    if (!workspace) {
        showError(tr("Cannot open workspace"),
                  tr("%1 could not be read:\n%2").arg(path, QString::fromStdString(error)));
        return false;
    }
    m_lastFolder = QFileInfo(path).absolutePath();
    m_replay = std::make_unique<WorkspaceReplay>(*this, std::move(*workspace));
    connect(m_replay.get(), &WorkspaceReplay::failed, this, [this, path](const QString& reason) {
        showError(tr("Workspace stopped"), tr("%1:\n%2").arg(path, reason));
    });
    return m_replay->start();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!urls.isEmpty() && std::all_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); }))
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        paths << url.toLocalFile();
    event->acceptProposedAction();
    openFiles(paths);
}

bool MainWindow::saveData(const QString& path, const DataList& data) {
    ErrorCollector errors;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool saved = DataFileIO::save(path.toStdString(), data);
    QApplication::restoreOverrideCursor();
    if (!saved)
        showError(tr("Cannot save file"), tr("%1 was not written:\n%2").arg(path, errors.text()));
    return saved;
}

bool MainWindow::openAlgorithm(const std::string& id) {
    return openAlgorithm(id, m_dataList->selectedData(), {});
}

bool MainWindow::runAlgorithm(const std::string& id, const DataList& inputs,
                              const std::vector<ParameterSettings::Setting>& settings) {
    if (!openAlgorithm(id, inputs, settings))
        return false;
    DefaultAlgorithmController* controller = defaultController();
    if (!controller) {
        showError(tr("Cannot run algorithm"),
                  tr("%1 has no Compute button to run it with.").arg(QString::fromStdString(id)));
        return false;
    }
    controller->compute();
    return true;
}

bool MainWindow::openAlgorithm(const std::string& id, const DataList& inputs,
                               const std::vector<ParameterSettings::Setting>& settings) {
    if (m_computing)
        return false;
    const std::optional<FactoryRegistry::AlgorithmInfo> info = FactoryRegistry::get().findAlgorithm(id);
    if (!info || !info->factory || !info->factory->isCompatible(id, inputs))
        return false;
    closeAlgorithm();
    m_algorithm = FactoryRegistry::get().createAlgorithm(id, inputs);
    if (!m_algorithm) {
        showError(tr("Cannot start algorithm"),
                  tr("%1 could not be created (see the log).").arg(QString::fromStdString(id)));
        return false;
    }
    if (const std::optional<std::string> error = ParameterSettings::apply(*m_algorithm, id, settings)) {
        showError(tr("Cannot start algorithm"), QString::fromStdString(*error));
        m_algorithm.reset();
        return false;
    }
    std::unique_ptr<AlgorithmController> controller = FactoryRegistry::get().createController(m_algorithm.get());
    if (auto* widget = dynamic_cast<QWidget*>(controller.get())) {
        controller.release();
        m_controller = widget;
    } else {
        m_controller = new DefaultAlgorithmController(m_algorithm.get());
    }
    if (auto* standard = qobject_cast<DefaultAlgorithmController*>(m_controller)) {
        connect(standard, &DefaultAlgorithmController::computeStarted, this, [this] {
            keepInputCopies();
            m_computing = true;
            m_display->setFrozen(true); // data edited in place is not drawn while it changes
            updateActions();
        });
        connect(standard, &DefaultAlgorithmController::computeFinished, this, &MainWindow::onComputeFinished);
        standard->setDisplay(m_display);
        standard->init();
    }
    m_controllerDock->setWidget(m_controller);
    m_controllerDock->show();
    return true;
}

DefaultAlgorithmController* MainWindow::defaultController() const {
    return qobject_cast<DefaultAlgorithmController*>(m_controller);
}

void MainWindow::closeAlgorithm() {
    if (m_computing)
        return;
    if (m_controller) {
        m_controllerDock->setWidget(nullptr);
        delete m_controller;
        m_controller = nullptr;
    }
    m_algorithm.reset();
    m_controllerDock->hide();
}

void MainWindow::onComputeFinished(int status) {
    m_computing = false;
    m_display->setFrozen(false);
    // Inputs may have been edited in place: redraw and describe them again.
    for (Data* input : m_algorithm->factoryInfo().inputs) {
        m_dataList->refresh(*input);
        m_display->refreshData(*input);
    }
    OwningDataList output = m_algorithm->takeOutput();
    // What a canceled run produced is discarded; what it edited in place can be undone like any run.
    if (status == Algorithm::Canceled)
        output = OwningDataList();
    std::vector<Data*> added;
    for (std::unique_ptr<Data>& data : output.release()) {
        if (data->name().empty())
            data->setName(m_algorithm->factoryInfo().id +
                          (added.empty() ? std::string() : std::to_string(added.size() + 1)));
        added.push_back(m_model->add(std::move(data)));
    }
    std::unique_ptr<DataModelCommand> command = runCommand(added);
    if (!command->isEmpty())
        m_undoStack->push(command.release());
    if (DefaultAlgorithmController* controller = defaultController())
        controller->postprocessOutput(added);
    if (status == Algorithm::Success)
        m_recorder->addStep(*m_algorithm, {added.begin(), added.end()});
    else if (status != Algorithm::Canceled)
        showError(tr("Algorithm failed"), tr("%1 ended with status %2; the log says why.")
                                              .arg(QString::fromStdString(m_algorithm->factoryInfo().id))
                                              .arg(status));
    updateActions();
    Q_EMIT algorithmFinished(status, added);
}

void MainWindow::keepInputCopies() {
    m_inputCopies.clear();
    for (Data* input : m_algorithm->factoryInfo().inputs)
        if (std::unique_ptr<Data> copy = FactoryRegistry::get().cloneData(input))
            m_inputCopies.emplace_back(input, std::move(copy));
}

std::unique_ptr<DataModelCommand> MainWindow::runCommand(const std::vector<Data*>& added) {
    const QString title = QString::fromStdString(m_algorithm->factoryInfo().id);
    auto command = std::make_unique<DataModelCommand>(*m_model, tr("Run %1").arg(title));
    if (editedInPlace(*m_algorithm, !added.empty())) {
        for (Data* input : m_algorithm->factoryInfo().inputs) {
            const auto copy = std::find_if(m_inputCopies.begin(), m_inputCopies.end(),
                                           [input](const auto& entry) { return entry.first == input; });
            if (copy != m_inputCopies.end())
                command->addReplaced(input, std::move(copy->second));
            else
                TW_LOG_WARN("{} may have changed {} in place, which cannot be undone", title.toStdString(),
                            input->name());
        }
    }
    m_inputCopies.clear();
    for (Data* data : added)
        command->addAdded(data);
    return command;
}

void MainWindow::deleteSelected() {
    if (m_computing)
        return;
    auto command = std::make_unique<DataModelCommand>(*m_model, tr("Delete"));
    for (Data* data : m_dataList->selectedData()) {
        const std::size_t index = m_model->indexOf(data);
        if (std::unique_ptr<Data> taken = m_model->take(data))
            command->addRemoved(std::move(taken), index);
    }
    if (!command->isEmpty())
        m_undoStack->push(command.release());
    updateActions();
}

void MainWindow::chooseFilesToOpen() {
    QStringList patterns;
    for (const std::string& extension : DataFileIO::loadableExtensions())
        patterns << "*" + QString::fromStdString(extension);
    const QStringList paths = QFileDialog::getOpenFileNames(this, tr("Open"), m_lastFolder,
                                                            tr("Data (%1);;All files (*)").arg(patterns.join(' ')));
    openFiles(paths);
}

void MainWindow::chooseFileToSave(bool exportFile) {
    DataList data = m_dataList->selectedData();
    if (data.empty() && !exportFile)
        data = m_model->getAll();
    if (data.empty()) {
        showError(tr("Nothing to save"), tr("Select the data to export in the data list."));
        return;
    }
    const QString filter = exportFile ? tr("By extension: GraphML, images, PLY, ... (*)") : tr("Tarnwick data (*.tnw)");
    QString path = QFileDialog::getSaveFileName(this, exportFile ? tr("Export") : tr("Save"), m_lastFolder, filter);
    if (path.isEmpty())
        return;
    if (!exportFile && !path.endsWith(".tnw"))
        path += ".tnw";
    m_lastFolder = QFileInfo(path).absolutePath();
    saveData(path, data);
}

bool MainWindow::saveWorkspace(const QString& path) {
    if (const std::optional<std::string> error = m_recorder->save(path.toStdString())) {
        showError(tr("Cannot save workspace"), tr("%1 was not written:\n%2").arg(path, QString::fromStdString(*error)));
        return false;
    }
    return true;
}

void MainWindow::chooseWorkspaceToSave() {
    QString path = QFileDialog::getSaveFileName(this, tr("Save Workspace"), m_lastFolder, tr("Workspaces (*.tws)"));
    if (path.isEmpty())
        return;
    if (!path.endsWith(".tws"))
        path += ".tws";
    saveWorkspace(path);
}

void MainWindow::updateDataController() {
    const DataList selection = m_dataList->selectedData();
    Data* selected = selection.size() == 1 ? selection[0] : nullptr;
    if (m_dataController && m_dataController->dataList().items() == selection.items())
        return;
    m_dataControllerDock->setWidget(nullptr);
    delete m_dataController;
    // A plug-in's controller for the selection (one or more data sets), else the host's for one.
    m_dataController = DataControllerFactory::instance().create(selection).release();
    if (m_dataController) {
        connect(m_dataController, &DataController::redrawRequested, m_display, &DisplayWidgetMulti::updateViews);
    } else if (selected && m_display->isShown(*selected)) {
        if (auto* image = dynamic_cast<SharedImageSet*>(selected)) {
            m_dataController = new ImageDataController(*image, *m_display);
        } else if (DataDisplayHandler* handler = DataDisplayHandlerFactory::instance().handlerFor(*selected)) {
            if (Configurable* options = handler->displayOptions(*selected))
                m_dataController = new DisplayOptionsController(*selected, *options, *m_display);
        }
    }
    m_dataControllerDock->setWidget(m_dataController);
    m_dataControllerDock->setVisible(m_dataController != nullptr);
}

void MainWindow::showError(const QString& title, const QString& text) {
    auto* box = new QMessageBox(QMessageBox::Warning, title, text, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::updateActions() {
    const DataList selection = m_dataList->selectedData();
    m_deleteAction->setEnabled(!selection.empty() && !m_computing);
    m_undoAction->setEnabled(m_undoStack->canUndo() && !m_computing);
    m_redoAction->setEnabled(m_undoStack->canRedo() && !m_computing);
    m_algorithmMenu->setEnabled(!m_computing);
    m_algorithmMenu->updateEnabled(selection);
}

} // namespace Tarnwick
