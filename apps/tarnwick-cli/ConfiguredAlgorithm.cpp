#include "ConfiguredAlgorithm.h"

#include <TarnwickCore/Log.h>
#include <TarnwickLib/Algorithm/FactoryRegistry.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <optional>

namespace Tarnwick::Cli {

std::unique_ptr<Algorithm> createConfiguredAlgorithm(const std::string& id, const DataList& inputs,
                                                     const std::vector<std::pair<std::string, std::string>>& settings) {
    const FactoryRegistry& registry = FactoryRegistry::get();
    if (!registry.findAlgorithm(id)) {
        TW_LOG_ERROR("The algorithm '{}' is not available; is the graph plug-in loaded?", id);
        return nullptr;
    }
    // Logs why when the inputs do not fit.
    std::unique_ptr<Algorithm> algorithm = registry.createAlgorithm(id, inputs);
    if (!algorithm)
        return nullptr;
    for (const auto& [name, value] : settings) {
        ParameterBase* parameter = algorithm->parameter(name);
        const auto error =
            parameter ? parameter->setFromString(value) : std::optional<std::string>("no such parameter");
        if (error) {
            TW_LOG_ERROR("{}: {}: {}", id, name, *error);
            return nullptr;
        }
    }
    return algorithm;
}

} // namespace Tarnwick::Cli
