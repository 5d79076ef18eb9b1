#include "ParameterSettings.h"

#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Algorithm/ParameterBase.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Tarnwick::ParameterSettings {

namespace {

void collectNames(const Configurable& configurable, const std::string& prefix, std::vector<std::string>& names) {
    for (ParameterBase* parameter : configurable.parameters()) {
        if (const Configurable* group = parameter->group())
            collectNames(*group, prefix + parameter->name() + "/", names);
        else
            names.push_back(prefix + parameter->name());
    }
}

} // namespace

std::vector<std::string> names(const Configurable& configurable) {
    std::vector<std::string> result;
    collectNames(configurable, "", result);
    return result;
}

std::optional<std::string> apply(Configurable& configurable, const std::string& owner,
                                 const std::vector<Setting>& settings) {
    for (const auto& [name, value] : settings) {
        ParameterBase* parameter = configurable.parameter(name);
        if (!parameter || parameter->group()) {
            const std::vector<std::string> valid = names(configurable);
            return fmt::format("{} has no parameter '{}'; its parameters are: {}", owner, name,
                               valid.empty() ? std::string("none") : fmt::format("{}", fmt::join(valid, ", ")));
        }
        if (auto error = parameter->setFromString(value))
            return fmt::format("{}: {}", owner, *error);
    }
    return std::nullopt;
}

} // namespace Tarnwick::ParameterSettings
