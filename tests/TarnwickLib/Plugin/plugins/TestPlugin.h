#pragma once

#include <TarnwickLib/Algorithm/AlgorithmFactory.h>
#include <TarnwickLib/Plugin/TarnwickLibPlugin.h>

#include <memory>
#include <string>
#include <vector>

namespace Tarnwick::Test {

/// The plug-in object of the test libraries: registers an algorithm factory (named after the id)
/// with the algorithm "Greeting" and a file plug-in, then returns `initResult` from init().
class TestPlugin : public TarnwickLibPlugin {
public:
    TestPlugin(std::string id, int initResult, std::vector<std::string> dependencies);
    ~TestPlugin() override;

    int init() override;
    std::string id() const override { return m_id; }
    std::string description() const override { return "Plug-in for testing the host"; }
    std::string author() const override { return "Tarnwick tests"; }
    std::vector<std::string> dependencies() const override { return m_dependencies; }

private:
    std::string m_id;
    int m_initResult;
    std::vector<std::string> m_dependencies;
    std::unique_ptr<AlgorithmFactory> m_algorithms;
};

} // namespace Tarnwick::Test
