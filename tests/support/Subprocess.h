#pragma once

#include <string>
#include <utility>

namespace Tarnwick::Test {

/// Runs `command` through the shell with standard error merged into standard output; returns the exit
/// status (-1 when it did not exit normally) and the output.
std::pair<int, std::string> runShell(const std::string& command);

} // namespace Tarnwick::Test
