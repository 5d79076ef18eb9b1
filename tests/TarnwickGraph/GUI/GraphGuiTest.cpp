// The graph data controller, the graph display options panel and the views' context menu, driven
// through their widgets in a main window with the plug-in initialised.
#include "GraphWindowTest.h"

#include <TarnwickGL/ColorBarOverlay.h>
#include <TarnwickGL/GlSliceView.h>
#include <TarnwickGraph/Graph/Graph.h>
#include <TarnwickGraph/Graph/GraphDisplayOptions.h>
#include <TarnwickGraph/GUI/GlGraphDisplayOptionsWidget.h>
#include <TarnwickGraph/GUI/GraphDataController.h>
#include <TarnwickGraph/GUI/RangeInputDialog.h>
#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickGUI/DataListWidget.h>
#include <TarnwickGUI/DisplayOptionsDialog.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickGUI/MainWindow.h>
#include <TarnwickGUI/PropertiesWidget.h>
#include <TarnwickGUI/SurfaceFormat.h>
#include <TarnwickGUI/ViewContextMenu.h>
#include <TarnwickLib/Data/DataModel.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

using namespace Tarnwick;

namespace {

struct Edge {
    Eigen::Vector3d from, to;
    double diameter;
    Eigen::Vector3d middle() const { return 0.5 * (from + to); }
};

/// Two separate 20 mm edges along x at height y, with these diameters.
std::unique_ptr<Graph> twoEdges(const std::string& name, double y, double first, double second,
                                std::vector<Edge>& edges) {
    auto graph = std::make_unique<Graph>(Graph::Undirected, Graph::Dim3D);
    graph->setName(name);
    const int diameter = *graph->getEdgeFeatureIdx("diameter");
    for (const auto& [x, value] : {std::make_pair(-30.0, first), std::make_pair(10.0, second)}) {
        const Edge edge{{x, y, 0.0}, {x + 20.0, y, 0.0}, value};
        const auto a = graph->addNode(Graph::NodeInfo(edge.from, {}));
        const auto b = graph->addNode(Graph::NodeInfo(edge.to, {}));
        std::vector<double> features(graph->edgeFeatureDescriptors().size(), 0.0);
        features[diameter] = value;
        graph->addEdge(a, b, Graph::EdgeInfo(features));
        edges.push_back(edge);
    }
    return graph;
}

QStringList texts(const QComboBox& box) {
    QStringList items;
    for (int i = 0; i < box.count(); ++i)
        items << box.itemText(i);
    return items;
}

/// Largest channel difference between `expected` and the closest pixel of the 3 x 3 block around `at`
/// (lines are smoothed at their borders).
int colourDistance(const QImage& image, const QPoint& at, const Eigen::Vector4f& expected) {
    int best = 255;
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            const QRgb pixel = image.pixel(at + QPoint(dx, dy));
            const int distance = std::max({std::abs(qRed(pixel) - int(std::lround(expected[0] * 255))),
                                           std::abs(qGreen(pixel) - int(std::lround(expected[1] * 255))),
                                           std::abs(qBlue(pixel) - int(std::lround(expected[2] * 255)))});
            best = std::min(best, distance);
        }
    }
    return best;
}

class GraphGuiTest : public Test::GraphWindowTest {
protected:
    void SetUp() override {
        GraphWindowTest::SetUp();
        m_a = m_window->dataModel().add(twoEdges("A", -10.0, 1.0, 2.0, m_edges));
        auto b = twoEdges("B", 10.0, 3.0, 5.0, m_edges);
        b->getOrCreateNodeFeatureIdx("radius", 0.0);
        m_b = m_window->dataModel().add(std::move(b));
        frameViews();
    }

    /// Frames the views at their current sizes (docks opening beside them shrink them).
    void frameViews() {
        QTest::qWait(50);
        for (int i = 0; i < DisplayWidgetMulti::viewCount; ++i)
            view(i)->grabFramebuffer(); // a view learns its size when drawn
        m_window->display()->fitViews();
    }

    GlViewWidget* view(int index) const { return m_window->display()->viewWidget(index); }

    /// Largest colour distance of the four edge middles in the axial view from `colourOf(diameter)`.
    template <typename Fn>
    int edgeColourError(Fn colourOf) {
        GlViewWidget* axial = view(DisplayWidgetMulti::Axial);
        const QImage image = axial->grabFramebuffer();
        int worst = 0;
        for (const Edge& edge : m_edges) {
            const Eigen::Vector2d pixel = axial->sliceView()->viewState().project(edge.middle());
            worst =
                std::max(worst, colourDistance(image, QPoint(int(pixel.x()), int(pixel.y())), colourOf(edge.diameter)));
        }
        return worst;
    }

    std::vector<Edge> m_edges;
    Data* m_a = nullptr;
    Data* m_b = nullptr;
};

TEST_F(GraphGuiTest, DataControllerColoursTheSelectedGraphsByAFeature) {
    DataListWidget* list = m_window->dataList();
    list->item(*m_a)->setSelected(true);
    list->item(*m_b)->setSelected(true);
    auto* controller = qobject_cast<GraphDataController*>(m_window->dataController());
    ASSERT_NE(controller, nullptr);
    frameViews();
    EXPECT_EQ(controller->dataList().size(), 2u);
    EXPECT_EQ(texts(*controller->featureBox()), QStringList({"None", "diameter", "radius"}));
    EXPECT_EQ(texts(*controller->colormapBox()),
              QStringList({"Cool-warm divergent", "Grayscale", "Hot iron", "Inferno", "Jet", "Viridis"}));
    EXPECT_EQ(QMetaType::type("Tarnwick::FeatureKey"), qMetaTypeId<detail::FeatureKey>());

    // Lines start in the line colour; choosing "diameter" maps them over its range in both graphs.
    const Eigen::Vector4f blue(0.0f, 0.0f, 1.0f, 1.0f);
    EXPECT_LE(edgeColourError([&](double) { return blue; }), 6);
    controller->colormapBox()->setCurrentText("Hot iron");
    controller->featureBox()->setCurrentText("diameter");
    const std::vector<Eigen::Vector4f> hotIron = Colormap::table(Colormap::HotIron, 256);
    const auto mappedOver = [&](double min, double max) {
        return [&hotIron, min, max](double value) {
            const double t = std::clamp((value - min) / (max - min), 0.0, 1.0);
            return hotIron[std::size_t(std::lround(t * 255.0))];
        };
    };
    EXPECT_LE(edgeColourError(mappedOver(1.0, 5.0)), 6);

    // Set Range with min = max: every value, inside or outside, takes the first entry.
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<detail::RangeInputDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->setMinValue(3.0);
        dialog->setMaxValue(3.0);
        dialog->accept();
    });
    QTest::mouseClick(controller->setRangeButton(), Qt::LeftButton);
    EXPECT_LE(edgeColourError([&](double) { return hotIron.front(); }), 6);

    // Rescale spans the feature over both selected graphs again.
    QTest::mouseClick(controller->rescaleButton(), Qt::LeftButton);
    for (Data* graph : {m_a, m_b}) {
        const auto* mapper = graph->components().get<GraphDataController::FeatureColorMapper>();
        ASSERT_NE(mapper, nullptr);
        EXPECT_EQ(std::make_pair(mapper->min(), mapper->max()), std::make_pair(1.0, 5.0));
    }
    EXPECT_LE(edgeColourError(mappedOver(1.0, 5.0)), 6);

    // The legend: a colour bar over the 3-D view, hot iron from 1 at its low end to 5.
    GlViewWidget* volume = view(DisplayWidgetMulti::Volume);
    ColorBarOverlay reference;
    reference.setPlacement(volume->width() >= volume->height() ? ColorBarOverlay::Right : ColorBarOverlay::Bottom);
    const Eigen::Vector4i bar = reference.barRect(volume->width(), volume->height());
    const QPoint barMiddle(bar[0] + bar[2] / 2, bar[1] + bar[3] / 2);
    const Eigen::Vector4f middleColour = Colormap::color(Colormap::HotIron, 0.5);
    EXPECT_GT(colourDistance(volume->grabFramebuffer(), barMiddle, middleColour), 40);
    QTest::mouseClick(controller->legendButton(), Qt::LeftButton);
    const QImage withLegend = volume->grabFramebuffer();
    EXPECT_LE(colourDistance(withLegend, barMiddle, middleColour), 8);
    const auto* legend = m_b->components().get<GraphDataController::FeatureLegend>();
    ASSERT_NE(legend, nullptr);
    EXPECT_EQ(legend->labels(), (std::array<std::string, 4>{"1", "2.33", "3.67", "5"}));
    if (const char* folder = std::getenv("TARNWICK_TEST_PICTURES"))
        withLegend.save(QString(folder) + "/graph-legend.png");

    // "None" leaves the lines in their line colour.
    controller->featureBox()->setCurrentText("None");
    EXPECT_LE(edgeColourError([&](double) { return blue; }), 6);
}

TEST_F(GraphGuiTest, DisplayOptionsPanelWritesOnlyWhatTheUserEdits) {
    Graph graph(Graph::Undirected, Graph::Dim3D);
    graph.components().remove<GraphDisplayOptions>();
    {
        // Loading alone adds nothing; the first edit adds the options with that one value changed.
        GlGraphDisplayOptionsWidget panel(graph);
        EXPECT_EQ(graph.components().get<GraphDisplayOptions>(), nullptr);
        auto* width = qobject_cast<QLineEdit*>(panel.generalEditor()->editor("lineWidth"));
        ASSERT_NE(width, nullptr);
        width->setText("5");
        Q_EMIT width->editingFinished();
        const auto* options = graph.components().get<GraphDisplayOptions>();
        ASSERT_NE(options, nullptr);
        GraphDisplayOptions expected;
        expected.generalOptions->lineWidth = 5.0;
        EXPECT_EQ(*options, expected);
    }

    auto& options = graph.components().getOrAdd<GraphDisplayOptions>();
    options.featureCircleOptions->unitSuffix = "mm";
    int changes = 0;
    options.signalParameterChanged.connect([&](const ParameterBase*) { ++changes; });
    GlGraphDisplayOptionsWidget panel(graph);
    panel.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
    EXPECT_EQ(panel.tabs()->count(), 2);
    EXPECT_EQ(panel.tabs()->tabText(0), "General");
    EXPECT_EQ(panel.tabs()->tabText(1), "Feature Circles");
    EXPECT_NE(panel.featureEditor()->editor("featureName"), nullptr);
    EXPECT_EQ(panel.generalEditor()->editor("edgeFeatureName"), nullptr);

    // A change made elsewhere is shown, and showing it writes nothing back.
    options.generalOptions->pointSize = 11.0;
    EXPECT_EQ(qobject_cast<QLineEdit*>(panel.generalEditor()->editor("pointSize"))->text(), "11");
    EXPECT_EQ(changes, 1);

    // The unit field is hidden while labels are off and comes back with its text.
    panel.tabs()->setCurrentIndex(1);
    auto* unit = qobject_cast<QLineEdit*>(panel.featureEditor()->editor("unitSuffix"));
    auto* labels = qobject_cast<QCheckBox*>(panel.featureEditor()->editor("showLabels"));
    ASSERT_TRUE(unit && labels);
    EXPECT_FALSE(unit->isVisible());
    labels->click();
    EXPECT_TRUE(options.featureCircleOptions->showLabels);
    EXPECT_TRUE(unit->isVisible());
    EXPECT_EQ(unit->text(), "mm");
    EXPECT_EQ(options.featureCircleOptions->unitSuffix.value(), "mm");
    labels->click();
    EXPECT_FALSE(unit->isVisible());
    EXPECT_EQ(changes, 3);
}

TEST_F(GraphGuiTest, RightClickInAViewOpensTheOptionsOfTheGraphsShownThere) {
    GlViewWidget* axial = view(DisplayWidgetMulti::Axial);
    QTest::mouseClick(axial, Qt::RightButton, {}, axial->rect().center());
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    QStringList shown;
    QAction* options = nullptr;
    for (QAction* action : menu->actions()) {
        shown << action->text();
        if (action->text() == "B")
            options = action->menu()->actions().value(0);
    }
    EXPECT_EQ(shown, QStringList({"A", "B"}));
    ASSERT_NE(options, nullptr);
    EXPECT_EQ(options->text(), "Display Options…");
    options->trigger();
    menu->close();

    const auto dialogs = m_window->findChildren<DisplayOptionsDialog*>();
    ASSERT_EQ(dialogs.size(), 1);
    auto* panel = qobject_cast<GlGraphDisplayOptionsWidget*>(dialogs[0]->panel());
    ASSERT_NE(panel, nullptr);
    // Its edits reach graph B, and deleting B closes the dialog.
    qobject_cast<QCheckBox*>(panel->generalEditor()->editor("drawPoints"))->click();
    EXPECT_FALSE(m_b->components().get<GraphDisplayOptions>()->generalOptions->drawPoints);
    QPointer<DisplayOptionsDialog> dialog = dialogs[0];
    m_window->dataModel().remove(m_b);
    QTest::qWaitFor([&] { return dialog.isNull(); }, 2000);
    EXPECT_TRUE(dialog.isNull());
}

} // namespace
