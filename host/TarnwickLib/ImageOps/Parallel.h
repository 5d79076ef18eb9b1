#pragma once

#include <cstddef>

namespace Tarnwick::ImageOps {

/// Threads for an OpenMP loop over `work` cheap elements (voxels, values, list entries):
/// - 1 for small loops (fewer than 65536 elements), where starting and joining a team costs more than
///   it saves;
/// - otherwise the processors not taken by other processes' runnable threads (the machine's count from
///   /proc/loadavg less this process's own from /proc/self/task, on Linux), at least 1 and at most the
///   OpenMP maximum. A team member that must share a processor gets paused by the scheduler, and the
///   team then waits for it at every barrier while its spinning takes time from everyone else (on a
///   two-core machine under load: thinning 3x, the distance transforms 10-25 % slower than one thread;
///   with one other busy process, thinning 384^3 about 10 % slower and far less steady).
/// Results never depend on the thread count.
int threadsFor(std::size_t work);

} // namespace Tarnwick::ImageOps
