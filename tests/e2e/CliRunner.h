#pragma once

#include <string>
#include <vector>

namespace Tarnwick::Test {

struct CliResult {
    int exitCode = -1;
    std::string out; ///< standard output
    std::string err; ///< standard error
};

/// Runs the built tarnwick-cli with `arguments` (passed as they are, no shell expansion) and
/// collects its exit code and both output streams.
CliResult runCli(const std::vector<std::string>& arguments);

/// True when `text` contains `part`.
bool contains(const std::string& text, const std::string& part);

/// The whole content of the file at `path`; empty when it cannot be read.
std::string readFile(const std::string& path);

} // namespace Tarnwick::Test
