#pragma once

#include <cstddef>

namespace Tarnwick::ImageOps {

/// Whether a loop over `elements` cheap elements is worth an OpenMP team: starting and joining one
/// costs microseconds on an idle machine and far more on a loaded one, so small images run serially.
inline bool worthParallel(std::size_t elements) {
    return elements >= (std::size_t(1) << 16);
}

/// Threads for work made of many short parallel loops, each ending at a barrier (such as the dozens of
/// thinning steps): the OpenMP maximum, or 1 when the other runnable threads of the machine already fill
/// every processor (read from /proc/loadavg on Linux; without it, the maximum). On an oversubscribed
/// machine a team spends most of such work waiting at barriers for a member the scheduler has paused, and
/// one thread finishes several times sooner. Long, coarse loops do not need this.
int threadsForShortLoops();

} // namespace Tarnwick::ImageOps
