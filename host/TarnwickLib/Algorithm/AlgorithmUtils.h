#pragma once

#include <string>
#include <vector>

namespace Tarnwick::AlgorithmUtils {

/// Splits a menu name "Category;Title" (any number of ";"-separated levels) into its parts.
/// Returns false, leaving `parts` empty, when the name is empty or one of its parts is blank.
bool parseAlgorithmName(const std::string& name, std::vector<std::string>& parts);

} // namespace Tarnwick::AlgorithmUtils
