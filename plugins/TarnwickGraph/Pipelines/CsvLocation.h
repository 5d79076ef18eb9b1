#pragma once

#include <optional>
#include <string>

namespace Tarnwick {

/// Why the table `what` ("node table", "segment table") cannot be written to `path`: it does not end
/// in .csv, or its folder does not exist. Nothing when it can; checked before any work is done.
std::optional<std::string> csvLocationError(const std::string& path, const std::string& what);

} // namespace Tarnwick
