#pragma once

#include <TarnwickGraph/Plugin/GraphPlugin.h>
#include <TarnwickGUI/MainWindow.h>
#include <TarnwickGUI/SurfaceFormat.h>

#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace Tarnwick::Test {

/// A shown main window with the graph plug-in initialised, as the application starts it; one Qt
/// application per test program.
class GraphWindowTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char name[] = "GraphWindowTests";
        static char* argv[] = {name, nullptr};
        setDefaultSurfaceFormat();
        s_application = std::make_unique<QApplication>(argc, argv);
        s_plugin = std::make_unique<GraphPlugin>();
        ASSERT_EQ(s_plugin->init(), 0);
    }
    // Before static destruction, which Qt's clean-up does not survive.
    static void TearDownTestSuite() {
        s_plugin.reset();
        s_application.reset();
    }

    void SetUp() override {
        m_window = std::make_unique<MainWindow>();
        m_window->resize(1100, 800);
        m_window->show();
        QApplication::setActiveWindow(m_window.get()); // no window manager gives the focus under Xvfb
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void TearDown() override { m_window.reset(); }

    static inline std::unique_ptr<QApplication> s_application;
    static inline std::unique_ptr<GraphPlugin> s_plugin;
    std::unique_ptr<MainWindow> m_window;
};

} // namespace Tarnwick::Test
