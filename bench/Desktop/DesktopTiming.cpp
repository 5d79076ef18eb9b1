// Times what a user waits for in the desktop application, the way the application itself starts:
//   start-up  process start to the first frame of the views (plug-ins loaded, window shown);
//   open      loading the mask file given on the command line;
//   compute   Compute clicked to the algorithm's end, outputs added to the data model;
//   draw      from there to the next frame of every view, with the graph in it.
// Usage: tarnwick-desktop-timing MASK [ALGORITHM] (default VesselGraphExtraction); run under xvfb-run -a.
#include <TarnwickCore/Log.h>
#include <TarnwickGUI/DataListWidget.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>
#include <TarnwickGUI/DisplayWidgetMulti.h>
#include <TarnwickGUI/GlViewWidget.h>
#include <TarnwickGUI/MainWindow.h>
#include <TarnwickGUI/SurfaceFormat.h>
#include <TarnwickLib/Algorithm/Algorithm.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>

#include <cstdio>
#include <set>

using namespace Tarnwick;

namespace {

/// Waits until every view has swapped a frame since the call; false after a minute.
bool waitForAllViewsDrawn(DisplayWidgetMulti& display) {
    std::set<int> drawn;
    std::vector<QMetaObject::Connection> connections;
    for (int i = 0; i < DisplayWidgetMulti::viewCount; ++i) {
        connections.push_back(
            QObject::connect(display.viewWidget(i), &QOpenGLWidget::frameSwapped, [&drawn, i] { drawn.insert(i); }));
        display.viewWidget(i)->update();
    }
    const bool ok = QTest::qWaitFor([&] { return int(drawn.size()) == DisplayWidgetMulti::viewCount; }, 60000);
    for (const auto& connection : connections)
        QObject::disconnect(connection);
    return ok;
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer clock;
    clock.start();
    setDefaultSurfaceFormat();
    QApplication application(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s MASK [ALGORITHM]\n", argv[0]);
        return 2;
    }
    const std::string algorithm = argc > 2 ? argv[2] : "VesselGraphExtraction";
    Log::setGlobalLevel(Log::Warning);
    registerHostAlgorithms();
    PluginManager plugins;
    plugins.loadFolders({PluginManager::defaultPluginFolder()});
    MainWindow window;
    window.resize(1280, 860);
    window.show();
    if (!waitForAllViewsDrawn(*window.display()))
        return 1;
    const double startup = clock.nsecsElapsed() * 1e-9;

    clock.restart();
    const std::optional<DataList> mask = window.openFile(QString::fromLocal8Bit(argv[1]));
    if (!mask || !waitForAllViewsDrawn(*window.display()))
        return 1;
    const double open = clock.nsecsElapsed() * 1e-9;

    window.dataList()->setSelectedData(*mask);
    if (!window.openAlgorithm(algorithm) || !window.defaultController()) {
        std::fprintf(stderr, "cannot open %s on the mask\n", algorithm.c_str());
        return 1;
    }
    int status = -1;
    QObject::connect(&window, &MainWindow::algorithmFinished, [&status](int finished) { status = finished; });
    clock.restart();
    window.defaultController()->compute();
    if (!QTest::qWaitFor([&] { return status >= 0; }, 600000) || status != Algorithm::Success)
        return 1;
    const double compute = clock.nsecsElapsed() * 1e-9;
    clock.restart();
    if (!waitForAllViewsDrawn(*window.display()))
        return 1;
    const double draw = clock.nsecsElapsed() * 1e-9;
    std::printf("start-up %.3f s, open %.3f s, compute %.3f s, draw %.3f s\n", startup, open, compute, draw);
    return 0;
}
