#pragma once

#include <cstddef>

namespace Tarnwick::ImageOps {

/// Whether a loop over `elements` cheap elements is worth an OpenMP team: starting and joining one
/// costs microseconds on an idle machine and far more on a loaded one, so small images run serially.
inline bool worthParallel(std::size_t elements) {
    return elements >= (std::size_t(1) << 16);
}

} // namespace Tarnwick::ImageOps
