// The main window as a user drives it: files opened as from the command line or dropped, the data list and the
// linked views, the Algorithms menu following the selection, and the centerline extraction run from
// its parameter form, whose graph must be drawn over the mask it came from.
#include "support/TempDir.h"
#include "support/TubeImages.h"

#include <TarnwickGL/GlImage.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGUI/AlgorithmMenu.h>
#include <TarnwickGUI/DataListWidget.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>
#include <TarnwickGUI/DataController.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickGUI/ImageDataController.h>
#include <TarnwickGUI/LogPanel.h>
#include <TarnwickGUI/MainWindow.h>
#include <TarnwickGUI/PropertiesWidget.h>
#include <TarnwickGUI/SurfaceFormat.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>
#include <TarnwickLib/Data/DataModel.h>
#include <TarnwickLib/Image/SharedImageSet.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/IO/DataFileIO.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <QApplication>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <Eigen/Geometry>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

namespace Tarnwick {
namespace {

constexpr const char* extractionId = "CenterlineGraphExtraction";

/// A T of vessels around the volume's centre (radius 4 mm along world x, a 3 mm branch towards +y) on a
/// 48 x 40 x 32 grid with anisotropic spacing placed in the world by `placement`, as a uint8 mask, and a
/// float "scan" of the same grid (distance to the vessel's wall inside it).
struct VesselFiles {
    std::string scan;
    std::string mask;
    Eigen::Vector3d spacing{1.0, 1.0, 1.5};
};

VesselFiles writeVesselFiles(const Test::TempDir& folder, const Eigen::Matrix4d& placement) {
    VesselFiles files;
    const Eigen::Vector3d centre = placement.topRightCorner<3, 1>();
    const std::vector<Test::TubeSegment> vessel = {
        {centre + Eigen::Vector3d(-15.0, 0.0, 0.0), centre + Eigen::Vector3d(15.0, 0.0, 0.0), 4.0},
        {centre, centre + Eigen::Vector3d(0.0, 12.0, 0.0), 3.0}};
    ImageDescriptor mask(PixelType::UInt8, Eigen::Vector3i(48, 40, 32), 1, files.spacing);
    ImageDescriptor scan(PixelType::Float, mask.dimensions, 1, files.spacing);
    files.mask = folder.file("vessels.nii.gz");
    files.scan = folder.file("scan.nii.gz");
    SharedImageSet maskSet(Test::tubeLabelImage(vessel, {mask, placement}), "vessels");
    SharedImageSet scanSet(Test::tubeDistanceImage(vessel, {scan, placement}), "scan");
    EXPECT_TRUE(DataFileIO::save(files.mask, {&maskSet}));
    EXPECT_TRUE(DataFileIO::save(files.scan, {&scanSet}));
    return files;
}

bool isMaskColour(QRgb pixel) { // label 1 is drawn orange
    return qRed(pixel) > 200 && qGreen(pixel) > 90 && qGreen(pixel) < 170 && qBlue(pixel) < 60;
}

/// Half-transparent orange over grey: red above green above blue.
bool isOverMask(QRgb pixel) {
    return qRed(pixel) > qGreen(pixel) + 30 && qGreen(pixel) > qBlue(pixel) + 30;
}

class MainWindowTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char name[] = "TarnwickGuiTests";
        static char* argv[] = {name, nullptr};
        setDefaultSurfaceFormat();
        s_application = std::make_unique<QApplication>(argc, argv);
        registerHostAlgorithms();
        s_plugins = std::make_unique<PluginManager>();
        s_plugins->loadLibraries({GRAPH_PLUGIN_PATH});
        ASSERT_EQ(s_plugins->loadedPlugins().size(), 1u);
    }
    // Before static destruction, which Qt's clean-up does not survive.
    static void TearDownTestSuite() {
        s_plugins.reset();
        s_application.reset();
    }

    void SetUp() override {
        m_files = writeVesselFiles(m_folder, Eigen::Matrix4d::Identity());
        m_window = std::make_unique<MainWindow>();
        m_window->resize(1100, 800);
        m_window->show();
        QApplication::setActiveWindow(m_window.get()); // no window manager gives the focus under Xvfb
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
    }

    /// Opens the scan and the mask the way the command line does.
    void openBoth() {
        ASSERT_TRUE(m_window->openFiles({QString::fromStdString(m_files.scan), QString::fromStdString(m_files.mask)}));
        ASSERT_EQ(m_window->dataModel().size(), 2u);
        m_scan = m_window->dataModel().getAll()[0];
        m_mask = m_window->dataModel().getAll()[1];
    }

    /// Selects one row of the data list with a mouse click.
    void clickRow(const Data& data) {
        DataListWidget* list = m_window->dataList();
        const QRect rect = list->visualItemRect(list->item(data));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    }

    GlViewWidget* view(int index) const { return m_window->display()->viewWidget(index); }

    /// Selects the mask, opens the extraction from the Algorithms menu and returns its controller.
    DefaultAlgorithmController* openExtraction() {
        clickRow(*m_mask);
        m_window->algorithmMenu()->action(extractionId)->trigger();
        return m_window->defaultController();
    }

    /// Types `text` into a line edit of the form and presses Return.
    static void type(QLineEdit& edit, const char* text) {
        edit.setFocus();
        edit.selectAll();
        QTest::keyClicks(&edit, text);
        QTest::keyClick(&edit, Qt::Key_Return);
    }

    /// Clicks Compute and waits for the output; returns the new data set (null on failure).
    Data* computeWith(DefaultAlgorithmController& controller) {
        const std::size_t before = m_window->dataModel().size();
        QTest::mouseClick(controller.computeButton(), Qt::LeftButton);
        if (!QTest::qWaitFor([&] { return !controller.isComputing(); }, 60000))
            return nullptr;
        EXPECT_EQ(controller.algorithm()->status(), Algorithm::Success);
        return m_window->dataModel().size() == before + 1 ? m_window->dataModel().getAll()[before] : nullptr;
    }

    std::string exportGraphML(Data& graph, const std::string& name) {
        const std::string path = m_folder.file(name);
        EXPECT_TRUE(m_window->saveData(QString::fromStdString(path), {&graph}));
        return readText(path);
    }

    static std::string readText(const std::string& path) {
        std::ifstream in(path);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    static inline std::unique_ptr<QApplication> s_application;
    static inline std::unique_ptr<PluginManager> s_plugins;
    Tarnwick::Test::TempDir m_folder;
    VesselFiles m_files;
    std::unique_ptr<MainWindow> m_window;
    Data* m_scan = nullptr;
    Data* m_mask = nullptr;
};

TEST_F(MainWindowTest, OpenedImagesAreListedAndShownInLinkedViews) {
    // The scan as from the command line, the mask dropped on the window.
    ASSERT_TRUE(m_window->openFiles({QString::fromStdString(m_files.scan)}));
    QMimeData dragged;
    dragged.setUrls({QUrl::fromLocalFile(QString::fromStdString(m_files.mask))});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(m_window.get(), &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(m_window.get(), &drop);
    ASSERT_EQ(m_window->dataModel().size(), 2u);
    m_scan = m_window->dataModel().getAll()[0];
    m_mask = m_window->dataModel().getAll()[1];
    DataListWidget* list = m_window->dataList();
    ASSERT_EQ(list->topLevelItemCount(), 2);
    const QStringList expected[] = {{"scan", "Image", "48 x 40 x 32, float"},
                                    {"vessels", "Image", "48 x 40 x 32, uint8"}};
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 3; ++column)
            EXPECT_EQ(list->topLevelItem(row)->text(column), expected[row][column]) << row << "," << column;

    // Both images are in all four views; the mask in its label colour over the scan.
    for (int v = 0; v < DisplayWidgetMulti::viewCount; ++v) {
        ASSERT_NE(m_window->display()->imageObject(*m_scan, v), nullptr) << v;
        ASSERT_NE(m_window->display()->imageObject(*m_mask, v), nullptr) << v;
    }
    GlSliceView* axial = view(DisplayWidgetMulti::Axial)->sliceView();
    // A point inside the vessel, off the crosshair lines (which pass through the vessel's axis).
    const Eigen::Vector2d vesselCentre = axial->viewState().project(Eigen::Vector3d(5.0, 2.0, 0.0));
    // As the window shows it: the window composes the view's pixels with their alpha.
    const auto pixelAt = [&](const Eigen::Vector2d& at) {
        const QPoint inWindow =
            view(DisplayWidgetMulti::Axial)->mapTo(m_window.get(), QPoint(int(at.x()), int(at.y())));
        return m_window->grab().toImage().pixel(inWindow);
    };
    const auto pixelAtVessel = [&] { return pixelAt(vesselCentre); };
    const QRgb blended = pixelAtVessel();
    // Unticking the mask in the list uncovers the grey scan, neither black nor white there.
    list->item(*m_mask)->setCheckState(DataListWidget::NameColumn, Qt::Unchecked);
    EXPECT_FALSE(m_window->display()->isShown(*m_mask));
    const QRgb scanPixel = pixelAtVessel();
    EXPECT_GT(qRed(scanPixel), 60);
    EXPECT_LT(qRed(scanPixel), 220);
    EXPECT_EQ(qRed(scanPixel), qGreen(scanPixel));
    EXPECT_EQ(qGreen(scanPixel), qBlue(scanPixel));
    // The mask was half the label colour over half the scan.
    const auto unblended = [&](int mixed, int scan) { return std::clamp(2 * mixed - scan, 0, 255); };
    const QRgb label = qRgb(unblended(qRed(blended), qRed(scanPixel)), unblended(qGreen(blended), qGreen(scanPixel)),
                            unblended(qBlue(blended), qBlue(scanPixel)));
    EXPECT_TRUE(isMaskColour(label)) << std::hex << blended << " over " << scanPixel;

    // Selecting the scan opens its image controller; a level above every value turns the scan black.
    clickRow(*m_scan);
    auto* imageController = qobject_cast<ImageDataController*>(m_window->dataController());
    ASSERT_NE(imageController, nullptr);
    imageController->levelBox()->setFocus();
    imageController->levelBox()->selectAll();
    QTest::keyClicks(imageController->levelBox(), "8"); // the scan goes from 0 to about 3
    QTest::keyClick(imageController->levelBox(), Qt::Key_Return);
    EXPECT_EQ(qRed(pixelAtVessel()), 0);
    // With value 0 mid-grey, the scan shows around the vessels through the mask's label 0.
    imageController->levelBox()->selectAll();
    QTest::keyClicks(imageController->levelBox(), "0");
    QTest::keyClick(imageController->levelBox(), Qt::Key_Return);
    list->item(*m_mask)->setCheckState(DataListWidget::NameColumn, Qt::Checked);
    const Eigen::Vector2d outside = axial->viewState().project(Eigen::Vector3d(5.0, -10.0, 0.0));
    const QRgb outsidePixel = pixelAt(outside);
    EXPECT_GT(qRed(outsidePixel), 100) << std::hex << outsidePixel;
    EXPECT_EQ(qRed(outsidePixel), qGreen(outsidePixel));
    EXPECT_EQ(qGreen(outsidePixel), qBlue(outsidePixel));
    // The mask's own controller makes it opaque: the label colour alone over the vessel.
    clickRow(*m_mask);
    auto* maskController = qobject_cast<ImageDataController*>(m_window->dataController());
    ASSERT_NE(maskController, nullptr);
    maskController->opacityBox()->setFocus();
    maskController->opacityBox()->selectAll();
    QTest::keyClicks(maskController->opacityBox(), "1");
    QTest::keyClick(maskController->opacityBox(), Qt::Key_Return);
    EXPECT_TRUE(isMaskColour(pixelAtVessel())) << std::hex << pixelAtVessel();

    // A click in the axial view moves the crosshair there, and the other views' slices with it.
    GlViewWidget* axialWidget = view(DisplayWidgetMulti::Axial);
    const QPoint click(axialWidget->width() / 2 + 40, axialWidget->height() / 2 - 30);
    const Eigen::Vector3d clicked = *axialWidget->worldAt(click);
    QTest::mouseClick(axialWidget, Qt::LeftButton, {}, click);
    EXPECT_TRUE(m_window->display()->crosshair().isApprox(clicked));
    EXPECT_NEAR(view(DisplayWidgetMulti::Coronal)->sliceView()->slicePosition().y(), clicked.y(), 1e-9);
    EXPECT_NEAR(view(DisplayWidgetMulti::Sagittal)->sliceView()->slicePosition().x(), clicked.x(), 1e-9);
    // One wheel notch moves the axial slice by one voxel (1.5 mm), and the crosshair with it.
    QWheelEvent wheel(QPointF(click), axialWidget->mapToGlobal(click), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(axialWidget, &wheel);
    const double movedZ = m_window->display()->crosshair().z();
    EXPECT_NEAR(std::abs(movedZ - clicked.z()), m_files.spacing.z(), 1e-9);
    EXPECT_NEAR(view(DisplayWidgetMulti::Coronal)->sliceView()->slicePosition().z(), movedZ, 1e-9);
}

TEST_F(MainWindowTest, AlgorithmEntryIsEnabledOnlyForASelectionItAccepts) {
    openBoth();
    QAction* entry = m_window->algorithmMenu()->action(extractionId);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->text(), "Centerline Graph Extraction");
    EXPECT_FALSE(entry->isEnabled());
    entry->trigger(); // a disabled entry starts nothing
    EXPECT_EQ(m_window->currentAlgorithm(), nullptr);

    clickRow(*m_mask);
    EXPECT_TRUE(entry->isEnabled());
    entry->trigger();
    ASSERT_NE(m_window->currentAlgorithm(), nullptr);
    EXPECT_EQ(m_window->currentAlgorithm()->factoryInfo().id, extractionId);
}

/// Image placements: axis-aligned, and turned about z (so the vessels stay in the axial plane) and moved.
Eigen::Matrix4d placement(bool oblique) {
    Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
    if (oblique) {
        matrix.topLeftCorner<3, 3>() = Eigen::AngleAxisd(0.5, Eigen::Vector3d::UnitZ()).toRotationMatrix();
        matrix.topRightCorner<3, 1>() = Eigen::Vector3d(12.5, -40.25, 3.0);
    }
    return matrix;
}

class ExtractionTest : public MainWindowTest, public testing::WithParamInterface<bool> {};

TEST_P(ExtractionTest, RunFromTheFormDrawsTheGraphOverTheMask) {
    m_files = writeVesselFiles(m_folder, placement(GetParam()));
    openBoth();
    DefaultAlgorithmController* controller = openExtraction();
    ASSERT_NE(controller, nullptr);
    Algorithm* algorithm = m_window->currentAlgorithm();

    // Typed values reach the algorithm's parameters; a refused text leaves the value as it was.
    auto* smoothing = qobject_cast<QLineEdit*>(controller->propertiesWidget()->editor("graphSmoothing"));
    ASSERT_NE(smoothing, nullptr);
    const struct {
        const char* typed;
        const char* value;
    } edits[] = {{"0.5", "0.5"}, {"abc", "0.5"}, {"1", "1"}};
    for (const auto& edit : edits) {
        type(*smoothing, edit.typed);
        EXPECT_EQ(algorithm->parameter("graphSmoothing")->toString(), edit.value) << edit.typed;
    }

    // The axial view alone, without the crosshair lines, as the user sets it up with the View menu.
    QTest::keyClick(m_window.get(), Qt::Key_1, Qt::ControlModifier);
    ASSERT_EQ(m_window->display()->layoutMode(), DisplayWidgetMulti::OneByOne);
    for (QAction* action : m_window->menuBar()->findChildren<QAction*>())
        if (action->text() == "Show &Crosshair")
            action->trigger();
    QTest::qWait(50);
    GlViewWidget* axial = view(DisplayWidgetMulti::Axial);
    const QImage before = axial->grabFramebuffer();

    Data* graph = computeWith(*controller);
    ASSERT_NE(graph, nullptr);
    EXPECT_EQ(m_window->dataList()->item(*graph)->text(DataListWidget::KindColumn), "Graph");

    // Node positions through the Export path (GraphML by extension).
    const std::string text = exportGraphML(*graph, "graph.graphml");
    const std::regex node(
        R"(<data key="x">([^<]+)</data>\s*<data key="y">([^<]+)</data>\s*<data key="z">([^<]+)</data>)");

    const QImage after = axial->grabFramebuffer();
    GlSliceView* slice = axial->sliceView();
    int inSlab = 0, overMask = 0, drawn = 0;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), node); it != std::sregex_iterator(); ++it) {
        const Eigen::Vector3d position(std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3]));
        const Eigen::Vector3d world = (graph->matrixToWorld() * position.homogeneous()).head<3>();
        if (std::abs(world.z() - slice->slicePosition().z()) > 0.4 * slice->slabThickness())
            continue;
        ++inSlab;
        const Eigen::Vector2d pixel = slice->viewState().project(world);
        const QPoint at(int(pixel.x()), int(pixel.y()));
        overMask += isOverMask(before.pixel(at));
        drawn += before.pixel(at) != after.pixel(at) && !isOverMask(after.pixel(at));
    }
    EXPECT_GE(inSlab, 10);
    EXPECT_EQ(overMask, inSlab);
    EXPECT_EQ(drawn, inSlab);

    clickRow(*graph); // graphs get the plug-in's data controller
    DataController* panel = m_window->dataController();
    ASSERT_NE(panel, nullptr);
    EXPECT_STREQ(panel->metaObject()->className(), "Tarnwick::GraphDataController");
    EXPECT_EQ(&panel->data(), graph);
}

INSTANTIATE_TEST_SUITE_P(Placements, ExtractionTest, testing::Bool(), [](const testing::TestParamInfo<bool>& info) {
    return info.param ? "Oblique" : "AxisAligned";
});

// Ctrl+Z and Ctrl+Shift+Z undo and redo an extraction's graph, an in-place smoothing of it (the graph as it
// was comes back) and a deletion (the data set returns to its row).
TEST_F(MainWindowTest, UndoRedoRestoresAddedEditedAndDeletedData) {
    openBoth();
    DefaultAlgorithmController* controller = openExtraction();
    ASSERT_NE(controller, nullptr);
    Data* graph = computeWith(*controller);
    ASSERT_NE(graph, nullptr);
    const std::string extracted = exportGraphML(*graph, "extracted.graphml");
    DataModel& model = m_window->dataModel();
    DataListWidget* list = m_window->dataList();
    const auto undo = [&] { QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier); };
    const auto redo = [&] { QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier); };
    const auto listedAndShown = [&](const Data& data, int row) {
        return model.indexOf(&data) == std::size_t(row) && list->topLevelItem(row) == list->item(data) &&
               m_window->display()->isShown(data);
    };

    undo();
    EXPECT_FALSE(model.contains(graph));
    EXPECT_EQ(list->item(*graph), nullptr);
    EXPECT_FALSE(m_window->display()->isShown(*graph));
    redo();
    EXPECT_TRUE(listedAndShown(*graph, 2));

    clickRow(*graph);
    m_window->algorithmMenu()->action("GraphSmoothing")->trigger();
    controller = m_window->defaultController();
    ASSERT_NE(controller, nullptr);
    ASSERT_EQ(computeWith(*controller), nullptr); // in place: no new data set
    const std::string smoothed = exportGraphML(*graph, "smoothed.graphml");
    ASSERT_NE(smoothed, extracted);
    undo();
    ASSERT_EQ(model.size(), 3u);
    Data* restored = model.getAll()[2];
    EXPECT_TRUE(listedAndShown(*restored, 2));
    EXPECT_EQ(exportGraphML(*restored, "restored.graphml"), extracted);
    redo();
    EXPECT_EQ(exportGraphML(*model.getAll()[2], "redone.graphml"), smoothed);

    clickRow(*m_scan);
    QTest::keyClick(list, Qt::Key_Delete);
    EXPECT_FALSE(model.contains(m_scan));
    undo();
    EXPECT_TRUE(listedAndShown(*m_scan, 0));
}

// The session saved as a workspace and run by tarnwick-cli gives the same graph, parameters included.
TEST_F(MainWindowTest, SavedWorkspaceRepeatsTheSessionOnTheCommandLine) {
    openBoth();
    DefaultAlgorithmController* controller = openExtraction();
    ASSERT_NE(controller, nullptr);
    type(*qobject_cast<QLineEdit*>(controller->propertiesWidget()->editor("graphSmoothing")), "0.5");
    Data* graph = computeWith(*controller);
    ASSERT_NE(graph, nullptr);
    const std::string desktopGraph = exportGraphML(*graph, "desktop.graphml");

    const std::string workspacePath = m_folder.file("session.tws");
    ASSERT_TRUE(m_window->saveWorkspace(QString::fromStdString(workspacePath)));
    nlohmann::json workspace = nlohmann::json::parse(readText(workspacePath));
    ASSERT_EQ(workspace["steps"].size(), 1u);
    EXPECT_EQ(workspace["steps"][0]["parameters"]["graphSmoothing"], "0.5");
    const std::string cliGraphPath = m_folder.file("cli.graphml");
    workspace["save"] = {{{"name", workspace["steps"][0]["outputs"][0]}, {"file", cliGraphPath}}};
    std::ofstream(workspacePath) << workspace.dump();

    QProcess cli;
    cli.start(TARNWICK_CLI, {"run", QString::fromStdString(workspacePath)});
    ASSERT_TRUE(cli.waitForFinished(60000));
    ASSERT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();
    EXPECT_EQ(readText(cliGraphPath), desktopGraph);

    // Opened in a new window, the workspace replays: the same files, step and saved graph.
    std::filesystem::remove(cliGraphPath);
    m_window = std::make_unique<MainWindow>();
    m_window->show();
    int runs = 0;
    QObject::connect(m_window.get(), &MainWindow::algorithmFinished, [&runs] { ++runs; });
    ASSERT_TRUE(m_window->openFiles({QString::fromStdString(workspacePath)}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(cliGraphPath); }, 60000));
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(m_window->dataModel().size(), 3u);
    EXPECT_EQ(readText(cliGraphPath), desktopGraph);
}

// Cancel during a run: the window stays usable, nothing is added and no failure is reported.
TEST_F(MainWindowTest, CanceledRunAddsNothing) {
    openBoth();
    DefaultAlgorithmController* controller = openExtraction();
    ASSERT_NE(controller, nullptr);
    QPushButton* cancel = nullptr;
    for (QPushButton* button : controller->findChildren<QPushButton*>())
        if (button->text() == "Cancel")
            cancel = button;
    ASSERT_NE(cancel, nullptr);
    QTest::mouseClick(controller->computeButton(), Qt::LeftButton);
    ASSERT_TRUE(controller->isComputing());
    ASSERT_TRUE(cancel->isVisible() && cancel->isEnabled());
    QTest::mouseClick(cancel, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller->isComputing(); }, 60000));
    EXPECT_EQ(controller->algorithm()->status(), Algorithm::Canceled);
    EXPECT_EQ(m_window->dataModel().size(), 2u);
    EXPECT_EQ(m_window->findChild<QMessageBox*>(), nullptr);
    EXPECT_TRUE(m_window->algorithmMenu()->isEnabled());
}

TEST_F(MainWindowTest, FailedSaveSaysWhyInAMessageBoxAndTheLog) {
    openBoth();
    const QString target = QString::fromStdString(m_folder.file("missing-folder/out.tnw"));
    EXPECT_FALSE(m_window->saveData(target, {m_mask}));
    QMessageBox* box = m_window->findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isVisible());
    EXPECT_TRUE(box->text().contains(target)) << box->text().toStdString();
    EXPECT_FALSE(box->text().section('\n', 1).trimmed().isEmpty()) << "the reason follows the file name";
    // The log panel shows the error too, unless its level filter is above errors.
    QCoreApplication::processEvents();
    EXPECT_TRUE(m_window->logPanel()->text().contains("[ERROR] TarnwickFile: Cannot save"))
        << m_window->logPanel()->text().toStdString();
    m_window->logPanel()->setMinimumLevel(Log::Fatal);
    EXPECT_FALSE(m_window->logPanel()->text().contains("TarnwickFile"));
}

} // namespace
} // namespace Tarnwick
