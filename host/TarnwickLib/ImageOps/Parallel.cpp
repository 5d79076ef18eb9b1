#include <TarnwickLib/ImageOps/Parallel.h>

#include <omp.h>

#include <fstream>

namespace Tarnwick::ImageOps {

int threadsFor(std::size_t work) {
    const int maximum = omp_get_max_threads();
    if (maximum <= 1 || work < (std::size_t(1) << 16))
        return 1;
    // The fourth field of /proc/loadavg is "runnable/total" scheduling entities, the caller included.
    std::ifstream loadavg("/proc/loadavg");
    double averages[3];
    int runnable = 0;
    char slash = 0;
    if (!(loadavg >> averages[0] >> averages[1] >> averages[2] >> runnable >> slash) || slash != '/')
        return maximum;
    return runnable - 1 >= omp_get_num_procs() ? 1 : maximum;
}

} // namespace Tarnwick::ImageOps
