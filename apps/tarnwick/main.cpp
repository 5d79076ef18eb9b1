// tarnwick: the desktop application. Reads the command line (files to open, log level, plug-in
// folders), loads the plug-ins and shows the main window; everything else lives in TarnwickGUI.
#include <TarnwickCore/Log.h>
#include <TarnwickGUI/DataListWidget.h>
#include <TarnwickGUI/DefaultAlgorithmController.h>
#include <TarnwickGUI/MainWindow.h>
#include <TarnwickGUI/SurfaceFormat.h>
#include <TarnwickLib/Data/DataModel.h>
#include <TarnwickLib/ImageAlgorithms/HostAlgorithmFactory.h>
#include <TarnwickLib/Plugin/HostVersion.h>
#include <TarnwickLib/Plugin/PluginManager.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QTimer>

#include <string>
#include <vector>

using namespace Tarnwick;

int main(int argc, char** argv) {
    // The GL version must be chosen before the application object exists.
    setDefaultSurfaceFormat();
    QApplication application(argc, argv);
    QApplication::setApplicationName("tarnwick");
    QApplication::setApplicationVersion(HostVersion::version);

    QCommandLineParser parser;
    parser.setApplicationDescription("Look at vessel images and their graphs, and run the graph algorithms on them.");
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption logLevel("log-level", "Messages shown: 0 trace ... 5 fatal (default 2).", "level", "2");
    const QCommandLineOption pluginDir("plugin-dir", "Also load the plug-ins of this folder (repeatable).", "folder");
    const QCommandLineOption noDefaultPlugins(
        "no-default-plugins", "Do not load the plug-ins of the \"plugins\" folder next to the program.");
    const QCommandLineOption run("run",
                                 "Run this catalogue algorithm on the data of the last file given, with default "
                                 "parameters.",
                                 "id");
    const QCommandLineOption screenshot("screenshot",
                                        "Save a picture of the window to this PNG file (after --run "
                                        "has finished) and quit.",
                                        "png");
    parser.addOptions({logLevel, pluginDir, noDefaultPlugins, run, screenshot});
    parser.addPositionalArgument("files", "Images, data files (.tnw), graphs or workspaces to open.", "[files...]");
    parser.process(application);

    bool levelValid = false;
    const int level = parser.value(logLevel).toInt(&levelValid);
    if (!levelValid || level < Log::Trace || level > Log::Fatal) {
        TW_LOG_ERROR("--log-level takes a number from 0 to 5, not '{}'", parser.value(logLevel).toStdString());
        return 1;
    }
    Log::setGlobalLevel(level);

    registerHostAlgorithms();
    std::vector<std::string> folders;
    const QString defaultFolder = QString::fromStdString(PluginManager::defaultPluginFolder());
    if (!parser.isSet(noDefaultPlugins) && QDir(defaultFolder).exists())
        folders.push_back(defaultFolder.toStdString());
    for (const QString& folder : parser.values(pluginDir))
        folders.push_back(folder.toStdString());
    // Declared before the window: plug-in code must stay loaded until the window and its data are gone.
    PluginManager plugins;
    plugins.loadFolders(folders);

    MainWindow window;
    window.resize(1280, 860);
    window.show();
    const QStringList files = parser.positionalArguments();
    window.openFiles(files.mid(0, files.size() - 1));
    const std::size_t dataBefore = window.dataModel().size();
    window.openFiles(files.mid(files.size() - 1));
    const auto takeScreenshot = [&] {
        if (!parser.isSet(screenshot))
            return;
        // Let the views draw the final state before the window is grabbed.
        QTimer::singleShot(500, &window, [&] {
            const bool saved = window.grab().save(parser.value(screenshot), "PNG");
            if (!saved)
                TW_LOG_ERROR("Cannot write the screenshot '{}'", parser.value(screenshot).toStdString());
            QApplication::exit(saved ? 0 : 1);
        });
    };
    if (parser.isSet(run)) {
        DataList lastFile;
        const DataList all = window.dataModel().getAll();
        for (std::size_t i = dataBefore; i < all.size(); ++i)
            lastFile.add(all[i]);
        window.dataList()->setSelectedData(lastFile);
        if (!window.openAlgorithm(parser.value(run).toStdString()) || !window.defaultController()) {
            TW_LOG_ERROR("Cannot run '{}' on the data of the last file", parser.value(run).toStdString());
            return 1;
        }
        QObject::connect(window.defaultController(), &DefaultAlgorithmController::computeFinished, &window,
                         takeScreenshot);
        window.defaultController()->compute();
    } else {
        takeScreenshot();
    }
    return application.exec();
}
