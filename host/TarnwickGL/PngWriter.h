#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tarnwick {

/// Writes an 8-bit RGBA picture (rows top to bottom, width*height*4 bytes) as a PNG file. The file is
/// written to a temporary file next to the target and renamed over it only on success, so a failed write
/// leaves an existing file untouched. Returns false with the reason in `error` (when given) on a size
/// mismatch, an encoding failure or a file-system failure.
bool writePng(const std::string& path, int width, int height, const std::vector<std::uint8_t>& rgba,
              std::string* error);

} // namespace Tarnwick
