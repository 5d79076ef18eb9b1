#include <TarnwickLib/ImageOps/Parallel.h>

#include <omp.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace Tarnwick::ImageOps {
namespace {

// Runnable scheduling entities of the machine ("runnable/total", fourth field of /proc/loadavg); -1 if
// unknown.
int runnableOnMachine() {
    std::ifstream loadavg("/proc/loadavg");
    double averages[3];
    int runnable = -1;
    char slash = 0;
    if (!(loadavg >> averages[0] >> averages[1] >> averages[2] >> runnable >> slash) || slash != '/')
        return -1;
    return runnable;
}

// Runnable threads of this process: the caller, and OpenMP workers still spinning after a loop.
int runnableInProcess() {
    int runnable = 0;
    std::error_code error;
    // Threads may end meanwhile: errors end the count instead of throwing.
    for (std::filesystem::directory_iterator task("/proc/self/task", error), end; !error && task != end;
         task.increment(error)) {
        // The state follows the parenthesised command name: "tid (name) R ...".
        std::ifstream stat(task->path() / "stat");
        std::string line;
        std::getline(stat, line);
        const std::size_t close = line.rfind(')');
        runnable += close != std::string::npos && close + 2 < line.size() && line[close + 2] == 'R';
    }
    return std::max(runnable, 1);
}

} // namespace

int threadsFor(std::size_t work) {
    const int maximum = omp_get_max_threads();
    if (maximum <= 1 || work < (std::size_t(1) << 16))
        return 1;
    const int machine = runnableOnMachine();
    if (machine < 0)
        return maximum;
    const int others = std::max(machine - runnableInProcess(), 0);
    return std::clamp(omp_get_num_procs() - others, 1, maximum);
}

} // namespace Tarnwick::ImageOps
