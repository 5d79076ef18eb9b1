#include <TarnwickLib/ImageOps/Parallel.h>

#include <omp.h>

#include <fstream>
#include <string>

namespace Tarnwick::ImageOps {

int threadsForShortLoops() {
    const int maximum = omp_get_max_threads();
    // The fourth field of /proc/loadavg is "runnable/total" scheduling entities, the caller included.
    std::ifstream loadavg("/proc/loadavg");
    double averages[3];
    int runnable = 0;
    char slash = 0;
    if (maximum <= 1 || !(loadavg >> averages[0] >> averages[1] >> averages[2] >> runnable >> slash) || slash != '/')
        return maximum;
    return runnable - 1 >= omp_get_num_procs() ? 1 : maximum;
}

} // namespace Tarnwick::ImageOps
