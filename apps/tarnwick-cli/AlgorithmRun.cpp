#include "AlgorithmRun.h"

#include <TarnwickCore/ConsoleProgress.h>
#include <TarnwickCore/Log.h>
#include <TarnwickCore/Timer.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterSettings.h>

#include <fmt/format.h>

namespace Tarnwick::Cli {

bool AlgorithmRun::isKnown(const std::string& id) {
    if (FactoryRegistry::get().findAlgorithm(id))
        return true;
    TW_LOG_ERROR("Unknown algorithm '{}'; 'tarnwick-cli algorithms' lists the available ones", id);
    return false;
}

bool AlgorithmRun::create(const std::string& id, const DataList& inputs) {
    const FactoryRegistry& registry = FactoryRegistry::get();
    const auto info = registry.findAlgorithm(id);
    if (!info)
        return isKnown(id);
    if (!info->factory->isCompatible(id, inputs)) {
        std::string given;
        for (const Data* data : inputs)
            given += fmt::format("\n  {}", registry.describe(*data));
        TW_LOG_ERROR("{} ({}) does not accept {}{}", id, info->menuName,
                     inputs.empty() ? "an empty input" : "these inputs:", given);
        return false;
    }
    m_id = id;
    m_algorithm = info->factory->create(id, inputs);
    return m_algorithm != nullptr;
}

bool AlgorithmRun::configure(const std::vector<Setting>& settings) {
    if (const auto error = ParameterSettings::apply(*m_algorithm, m_id, settings)) {
        TW_LOG_ERROR("{}", *error);
        return false;
    }
    return true;
}

bool AlgorithmRun::compute() {
    ConsoleProgress progress;
    m_algorithm->setProgress(&progress);
    Timer timer;
    bool threw = false;
    try {
        m_algorithm->compute();
    } catch (const std::exception& exception) {
        TW_LOG_ERROR("{} failed: {}", m_id, exception.what());
        threw = true;
    }
    m_algorithm->setProgress(nullptr);
    const int status = threw ? Algorithm::Error : m_algorithm->status();
    fmt::print("{}: status {} ({}) in {}\n", m_id, status, Algorithm::statusText(status), timer.formatted());
    return status == Algorithm::Success;
}

OwningDataList AlgorithmRun::takeOutput() {
    return m_algorithm->takeOutput();
}

} // namespace Tarnwick::Cli
