// The mouse editing of graphs in the main window's views, driven with real Qt events: drawing a path,
// dragging a node of an obliquely placed graph, deleting under the circle, the circle's radius, undo
// and redo of every edit, and the controller every catalogue entry opens.
#include "GraphWindowTest.h"

#include "../GraphComparison.h"

#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGraph/Algorithms/DrawGraphAlgorithm.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/GUI/DeleteNodesInteraction.h>
#include <TarnwickGraph/GUI/DrawGraphController.h>
#include <TarnwickGraph/GUI/GraphManipulator.h>
#include <TarnwickGraph/GUI/GraphNodeIndex.h>
#include <TarnwickGraph/GUI/NodesWithinRadiusInteraction.h>
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickGUI/DataListWidget.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickGUI/IoController.h>
#include <TarnwickGUI/MainWindow.h>
#include <TarnwickGUI/SurfaceFormat.h>
#include <TarnwickLib/Data/DataModel.h>
#include <TarnwickLib/Data/Line.h>
#include <TarnwickLib/Data/Mesh.h>
#include <TarnwickLib/Image/SharedImageSet.h>

#include <QApplication>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QUndoStack>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace Tarnwick {
namespace {

/// Every difference but the largest id ever used, which undoing an added node cannot lower.
std::vector<std::string> differencesButLargestId(const Graph& expected, const Graph& actual) {
    std::vector<std::string> differences = Tarnwick::Test::graphDifferences(expected, actual);
    differences.erase(std::remove_if(differences.begin(), differences.end(),
                                     [](const std::string& line) { return line.rfind("maxNodeId", 0) == 0; }),
                      differences.end());
    return differences;
}

class GraphInteractionTest : public Test::GraphWindowTest {
protected:
    GlViewWidget* axial() const { return m_window->display()->viewWidget(DisplayWidgetMulti::Axial); }
    DrawGraphController* drawController() const {
        return dynamic_cast<DrawGraphController*>(m_window->defaultController());
    }

    /// Opens "Draw or edit Graph" on the selection; with nothing selected, computes a new graph.
    Graph* openDrawing(const DataList& selection, Graph::Dimension dimension = Graph::Dim3D) {
        m_window->dataList()->setSelectedData(selection);
        EXPECT_TRUE(m_window->openAlgorithm("DrawGraphAlgorithm"));
        if (!selection.empty())
            return dynamic_cast<Graph*>(selection[0]);
        static_cast<DrawGraphAlgorithm*>(m_window->currentAlgorithm())->dimension.setValue(dimension);
        drawController()->compute();
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_window->dataModel().size() == 1; }, 5000));
        return m_window->dataModel().size() == 1 ? dynamic_cast<Graph*>(m_window->dataModel().getAll()[0]) : nullptr;
    }

    static void send(QWidget* widget, QEvent::Type type, const QPoint& at, Qt::MouseButton button,
                     Qt::MouseButtons held) {
        QMouseEvent event(type, at, widget->mapToGlobal(at), button, held, Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    }
    static void move(QWidget* widget, const QPoint& at, Qt::MouseButtons held = Qt::NoButton) {
        send(widget, QEvent::MouseMove, at, Qt::NoButton, held);
    }
    static void click(QWidget* widget, const QPoint& at, Qt::MouseButton button) {
        move(widget, at);
        send(widget, QEvent::MouseButtonPress, at, button, button);
        send(widget, QEvent::MouseButtonRelease, at, button, Qt::NoButton);
    }
    static bool wheel(QWidget* widget, int angle, Qt::KeyboardModifiers modifiers) {
        const QPoint at(widget->width() / 2, widget->height() / 2);
        QWheelEvent event(at, widget->mapToGlobal(at), QPoint(), QPoint(0, angle), Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &event);
        return event.isAccepted();
    }
    /// The widget pixel whose centre shows `world` in the view.
    static QPoint pixelOf(GlViewWidget* widget, const Eigen::Vector3d& world) {
        const Eigen::Vector2d pixel = widget->view().viewState().project(world);
        return {int(std::floor(pixel.x())), int(std::floor(pixel.y()))};
    }
};

TEST_F(GraphInteractionTest, DrawsAPathClickByClickAndUndoesEachNodeExactly) {
    Graph* graph = openDrawing({});
    ASSERT_TRUE(graph);
    ASSERT_TRUE(drawController()->manipulator());
    EXPECT_EQ(drawController()->manipulator()->activeInteractionName(), "Draw");
    const int runSteps = m_window->undoStack()->count();

    // Middle press starts drawing on the empty graph; four left clicks and a right click add five nodes.
    const std::vector<QPoint> clicks = {{60, 60}, {120, 80}, {180, 70}, {220, 140}, {160, 200}};
    std::vector<std::unique_ptr<Graph>> before;
    click(axial(), {40, 40}, Qt::MiddleButton);
    for (std::size_t i = 0; i < clicks.size(); ++i) {
        before.push_back(graph->clone());
        move(axial(), clicks[i] + QPoint(-5, 3)); // the preview node follows the mouse
        EXPECT_EQ(graph->numNodes(), i + 1) << "preview node while drawing";
        click(axial(), clicks[i], i + 1 < clicks.size() ? Qt::LeftButton : Qt::RightButton);
    }
    EXPECT_EQ(drawController()->manipulator()->activeInteraction()->state(), GraphManipulator::Interaction::Idle);
    ASSERT_EQ(graph->numNodes(), 5u);
    EXPECT_EQ(graph->numEdges(), 4u);
    std::vector<unsigned long> ids;
    graph->forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        const Eigen::Vector2d pixel = axial()->view().viewState().project(node.position);
        const QPoint& clicked = clicks[ids.size()];
        EXPECT_NEAR(pixel.x(), clicked.x() + 0.5, 1e-6);
        EXPECT_NEAR(pixel.y(), clicked.y() + 0.5, 1e-6);
        ids.push_back(id);
    });
    for (std::size_t i = 1; i < ids.size(); ++i)
        EXPECT_TRUE(graph->edge(ids[i - 1], ids[i])) << "path edge " << i;
    EXPECT_EQ(graph->degree(ids.front(), Graph::Total) + graph->degree(ids.back(), Graph::Total), 2u);

    // One undo step per node; undo brings back each earlier graph, redo the drawn one.
    ASSERT_EQ(m_window->undoStack()->count(), runSteps + 5);
    const std::unique_ptr<Graph> drawn = graph->clone();
    for (std::size_t i = clicks.size(); i-- > 0;) {
        m_window->undoStack()->undo();
        EXPECT_EQ(differencesButLargestId(*before[i], *graph), std::vector<std::string>()) << "undo of node " << i;
    }
    for (std::size_t i = 0; i < clicks.size(); ++i)
        m_window->undoStack()->redo();
    EXPECT_EQ(differencesButLargestId(*drawn, *graph), std::vector<std::string>());
}

// A new 2-D graph (the drawing's default) turns the axial view to its flat presentation, where it is drawn.
TEST_F(GraphInteractionTest, TwoDimensionalGraphIsDrawnInTheFlatAxialView) {
    ASSERT_TRUE(axial()->sliceView()->isFlat());
    Graph* graph = openDrawing({}, Graph::Dim2D);
    ASSERT_TRUE(graph);
    EXPECT_FALSE(axial()->sliceView()->isFlat());
    click(axial(), {40, 40}, Qt::MiddleButton); // starts drawing on the empty graph
    click(axial(), {60, 50}, Qt::LeftButton);
    click(axial(), {90, 60}, Qt::LeftButton);
    click(axial(), {140, 90}, Qt::RightButton);
    EXPECT_EQ(graph->numNodes(), 3u);
    EXPECT_EQ(graph->numEdges(), 2u);
}

TEST_F(GraphInteractionTest, DraggedNodeOfAnObliqueGraphFollowsTheMouseInGraphCoordinates) {
    auto owned = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    Eigen::Affine3d placement = Eigen::Translation3d(10.0, -5.0, 3.0) *
                                Eigen::AngleAxisd(0.4, Eigen::Vector3d(1, 2, 3).normalized()) *
                                Eigen::Scaling(1.5, 0.8, 1.2);
    owned->setMatrixToWorld(placement.matrix());
    const unsigned long a = owned->addNode({{0, 0, 0}, {}});
    const unsigned long b = owned->addNode({{20, 5, 4}, {}});
    const unsigned long c = owned->addNode({{-15, 10, -6}, {}});
    owned->addEdge(a, b, {});
    owned->addEdge(b, c, {});
    Graph* graph = static_cast<Graph*>(m_window->dataModel().add(std::move(owned)));
    const std::unique_ptr<Graph> original = graph->clone();
    ASSERT_EQ(openDrawing({graph}), graph);
    ASSERT_TRUE(drawController()->activateInteraction("Move Single"));

    const Eigen::Vector3d world = placement * Eigen::Vector3d(20, 5, 4);
    m_window->display()->setCrosshair(world); // the axial slice through node b
    const QPoint from = pixelOf(axial(), world), to = from + QPoint(37, -23);
    move(axial(), from);
    send(axial(), QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    move(axial(), from + QPoint(10, -5), Qt::LeftButton);
    move(axial(), to, Qt::LeftButton);
    send(axial(), QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);

    // Under the release pixel's centre, at node b's depth across the slice, mapped back into the graph.
    const GL::ViewState& state = axial()->view().viewState();
    Eigen::Vector3d target = state.unproject(Eigen::Vector2d(to.x() + 0.5, to.y() + 0.5), 0.0);
    target.z() = world.z();
    const Eigen::Vector3d expected = placement.inverse() * target;
    graph->forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
        if (id == b)
            EXPECT_LT((node.position - expected).norm(), 1e-9) << node.position.transpose();
        else
            EXPECT_EQ(node.position, id == a ? Eigen::Vector3d(0, 0, 0) : Eigen::Vector3d(-15, 10, -6));
    });
    m_window->undoStack()->undo();
    EXPECT_TRUE(Tarnwick::Test::graphsEqual(*original, *graph));
}

TEST_F(GraphInteractionTest, DeleteRemovesTheNodesUnderTheCircleAndIsConsumedWhenThereAreNone) {
    auto owned = std::make_unique<Graph>(Graph::Directed, Graph::Dim3D);
    for (double x : {-30.0, 30.0, 60.0, 120.0})
        owned->addNode({{x, 0, 0}, {x}});
    owned->addEdge(1, 2, {});
    owned->addEdge(3, 2, {});
    owned->addEdge(3, 4, {});
    Graph* graph = static_cast<Graph*>(m_window->dataModel().add(std::move(owned)));
    ASSERT_EQ(openDrawing({graph}), graph);
    ASSERT_TRUE(drawController()->activateInteraction("Delete Multiple"));
    auto* deleter = dynamic_cast<DeleteNodesInteraction*>(drawController()->manipulator()->activeInteraction());
    ASSERT_TRUE(deleter);
    m_window->dataList()->setSelectedData({graph}); // arms the window's own Delete (data sets)
    m_window->display()->setCrosshair(Eigen::Vector3d::Zero());
    axial()->sliceView()->setPixelSize(1.0); // the circle's 50 pixels are 50 mm
    axial()->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::focusWidget() == axial(); }, 2000));
    const std::unique_ptr<Graph> original = graph->clone();
    const int steps = m_window->undoStack()->count();

    move(axial(), pixelOf(axial(), {45, -200, 0}));
    EXPECT_TRUE(deleter->isMarkerVisible());
    EXPECT_TRUE(deleter->pendingNodes().empty());
    QTest::keyClick(axial(), Qt::Key_Delete);
    EXPECT_EQ(m_window->dataModel().size(), 1u) << "the key went to the window's Delete";
    EXPECT_TRUE(Tarnwick::Test::graphsEqual(*original, *graph));
    EXPECT_EQ(m_window->undoStack()->count(), steps);

    // Nodes 2 and 3 (x 30 and 60) lie within the circle around x 45, nodes 1 and 4 (75 mm away) outside.
    move(axial(), pixelOf(axial(), {45, 0, 0}));
    EXPECT_EQ(deleter->pendingNodes(), (std::vector<unsigned long>{2, 3}));
    QTest::keyClick(axial(), Qt::Key_Delete);
    EXPECT_EQ(m_window->dataModel().size(), 1u);
    EXPECT_EQ(graph->numNodes(), 2u);
    EXPECT_EQ(graph->numEdges(), 0u);
    ASSERT_EQ(m_window->undoStack()->count(), steps + 1);
    m_window->undoStack()->undo();
    EXPECT_TRUE(Tarnwick::Test::graphsEqual(*original, *graph));
    m_window->undoStack()->redo();
    EXPECT_EQ(graph->numNodes(), 2u);
}

TEST_F(GraphInteractionTest, CtrlWheelKeepsTheRadiusWithinItsRange) {
    auto owned = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    owned->addNode({});
    Graph* graph = static_cast<Graph*>(m_window->dataModel().add(std::move(owned)));
    ASSERT_EQ(openDrawing({graph}), graph);
    ASSERT_TRUE(drawController()->activateInteraction("Move Multiple"));
    auto* radius = dynamic_cast<NodesWithinRadiusInteraction*>(drawController()->manipulator()->activeInteraction());
    ASSERT_TRUE(radius);
    ASSERT_DOUBLE_EQ(radius->radius(), 50.0);
    EXPECT_TRUE(wheel(axial(), 120, Qt::ControlModifier));
    EXPECT_NEAR(radius->radius(), 50.0 + 99.0 * 0.03, 1e-12);
    const double slice = axial()->sliceView()->slicePosition().z();
    EXPECT_TRUE(wheel(axial(), -240, Qt::ControlModifier));
    EXPECT_NEAR(radius->radius(), 50.0 - 99.0 * 0.03, 1e-12);
    EXPECT_EQ(axial()->sliceView()->slicePosition().z(), slice) << "Ctrl+wheel is the radius's, not the view's";
    // Any turn, however far, in either direction.
    for (int angle : {120 * 40, -120 * 100, 120 * 7, 120 * 1000, -120 * 3, -120 * 10000, 60})
        for (int view = 0; view < DisplayWidgetMulti::viewCount; ++view) {
            wheel(m_window->display()->viewWidget(view), angle, Qt::ControlModifier);
            EXPECT_GE(radius->radius(), 1.0);
            EXPECT_LE(radius->radius(), 100.0);
        }
    wheel(axial(), 120 * 1000, Qt::ControlModifier);
    EXPECT_EQ(radius->radius(), 100.0);
    wheel(axial(), -120 * 1000, Qt::ControlModifier);
    EXPECT_EQ(radius->radius(), 1.0);
}

TEST(GraphNodeIndex, AnswersLikeASweepOverAllNodesAfterEdits) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-50.0, 50.0);
    // A 3-D cloud and a flat one (every z equal), placed obliquely; then moved, added and removed nodes.
    for (const bool flat : {false, true}) {
        Graph graph(Graph::Undirected, Graph::Dim3D);
        graph.setMatrixToWorld(
            (Eigen::Translation3d(5, 6, 7) * Eigen::AngleAxisd(0.7, Eigen::Vector3d(1, 1, 0).normalized()) *
             Eigen::Scaling(1.0, 2.0, 0.5))
                .matrix());
        for (int i = 0; i < 3000; ++i)
            graph.addNode({{coordinate(random), coordinate(random), flat ? 3.0 : coordinate(random)}, {}});
        GraphNodeIndex index;
        index.rebuild(graph);
        std::vector<unsigned long> changed;
        for (unsigned long id = 1; id <= 3000; id += 97) {
            graph.editNode(id, [&](Graph::NodeInfo& node) { node.position.x() = coordinate(random); });
            graph.removeNode(id + 1);
            changed.insert(changed.end(), {id, id + 1, graph.addNode({{coordinate(random), 0.0, 0.0}, {}})});
        }
        index.update(graph, changed);
        ASSERT_TRUE(index.isCurrentFor(graph));
        for (int query = 0; query < 200; ++query) {
            const Eigen::Vector3d origin(coordinate(random), coordinate(random), coordinate(random));
            const Eigen::Vector3d direction(coordinate(random), coordinate(random), coordinate(random));
            const double maxDistance = 1.0 + query % 20, halfLength = query % 2 ? 10.0 : GraphNodeIndex::unlimited;
            std::vector<unsigned long> expected;
            std::optional<unsigned long> nearest;
            double nearestDistance = 0.0;
            graph.forEachNode([&](unsigned long id, const Graph::NodeInfo& node) {
                const Eigen::Vector3d world = (graph.matrixToWorld() * node.position.homogeneous()).head<3>();
                const double along = (world - origin).dot(direction.normalized());
                const double distance = Geometry::Line(origin, origin + direction).distanceToPoint(world);
                if (distance >= maxDistance || std::abs(along) > halfLength)
                    return;
                expected.push_back(id);
                if (!nearest || distance < nearestDistance - 1e-12) {
                    nearest = id;
                    nearestDistance = distance;
                }
            });
            EXPECT_EQ(index.within(origin, direction, maxDistance, halfLength), expected) << "query " << query;
            EXPECT_EQ(index.nearest(origin, direction, maxDistance, halfLength), nearest) << "query " << query;
        }
    }
}

TEST_F(GraphInteractionTest, EveryCatalogueEntryOpensItsControllerInTheWindow) {
    DataModel& model = m_window->dataModel();
    auto* graph = model.add(std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D));
    auto* other = model.add(std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D));
    auto* image = model.add(std::make_unique<SharedImageSet>(
        std::make_shared<SharedImage>(std::shared_ptr<MemImage>(TypedImage<unsigned char>::zeros({4, 4, 4})))));
    auto* mesh = model.add(std::make_unique<Mesh>(std::vector<Eigen::Vector3d>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},
                                                  std::vector<Eigen::Vector3i>{{0, 1, 2}}));
    enum Kind { Plain, WithDefaults, Io, Draw };
    const struct {
        const char* id;
        DataList selection;
        Kind kind;
    } catalogue[] = {
        {"CenterlineGraphExtraction", {image}, Plain},
        {"CombineGraphs", {graph, other}, Plain},
        {"ComputeFeatures", {graph}, WithDefaults},
        {"PartitionGraphs", {graph}, Plain},
        {"GraphSmoothing", {graph}, Plain},
        {"GraphToPointCloud", {graph}, Plain}, // the window's own default controller
        {"GraphReindexing", {graph}, Plain},
        {"MinimumSpanningTree", {graph}, WithDefaults},
        {"NodeToEdgeFeature", {graph}, Plain},
        {"PruneTerminalPaths", {graph}, Plain},
        {"DrawGraphAlgorithm", {}, Draw},
        {"EvaluateGraphAtImage", {graph, image}, Plain},
        {"GraphMLIo", {}, Io},
        {"TransferGraphFeatureToMeshAlgorithm", {graph, mesh}, Plain},
        {"GraphToLabelMapAlgorithm", {graph, image}, WithDefaults},
    };
    for (const auto& entry : catalogue) {
        m_window->dataList()->setSelectedData(entry.selection);
        ASSERT_TRUE(m_window->openAlgorithm(entry.id)) << entry.id;
        DefaultAlgorithmController* controller = m_window->defaultController();
        ASSERT_TRUE(controller) << entry.id;
        EXPECT_TRUE(controller->isVisible()) << entry.id;
        EXPECT_EQ(dynamic_cast<IoController*>(controller) != nullptr, entry.kind == Io) << entry.id;
        EXPECT_EQ(dynamic_cast<DrawGraphController*>(controller) != nullptr, entry.kind == Draw) << entry.id;
        const auto buttons = controller->findChildren<QPushButton*>();
        const bool defaults = std::any_of(buttons.begin(), buttons.end(),
                                          [](const QPushButton* button) { return button->text() == "Defaults"; });
        EXPECT_EQ(defaults, entry.kind == WithDefaults) << entry.id;
    }
}

} // namespace
} // namespace Tarnwick
