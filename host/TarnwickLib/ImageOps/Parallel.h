#pragma once

#include <cstddef>

namespace Tarnwick::ImageOps {

/// Threads for an OpenMP loop over `work` cheap elements (voxels, values, list entries):
/// - 1 for small loops (fewer than 65536 elements), where starting and joining a team costs more than
///   it saves;
/// - 1 when the other runnable threads of the machine already fill every processor (read from
///   /proc/loadavg on Linux): a team then spends its time waiting at barriers for members the scheduler
///   has paused, and its spinning takes processor time from everyone else; one thread finishes sooner
///   (on a two-core machine under load: thinning 3x, the distance transforms 10-25 % sooner);
/// - otherwise the OpenMP maximum.
int threadsFor(std::size_t work);

} // namespace Tarnwick::ImageOps
