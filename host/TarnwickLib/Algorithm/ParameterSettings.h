#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

class Configurable;

/// Setting parameters of a Configurable from text by name, as `tarnwick-cli run --set name=value` and the
/// Python package do it: names as in the catalogue listing, enumerations by label or number.
namespace ParameterSettings {

using Setting = std::pair<std::string, std::string>; ///< parameter name and value text

/// Names of every parameter, members of sub-properties as "group/member", in declaration order.
std::vector<std::string> names(const Configurable& configurable);

/// Sets each parameter from its text (type-checked by ParameterBase::setFromString). Stops at the first
/// failure and returns its message, prefixed with `owner` (an algorithm identifier): for an unknown name
/// "<owner> has no parameter '<name>'; its parameters are: a, b, c". Nothing when every setting applied.
std::optional<std::string> apply(Configurable& configurable, const std::string& owner,
                                 const std::vector<Setting>& settings);

} // namespace ParameterSettings
} // namespace Tarnwick
