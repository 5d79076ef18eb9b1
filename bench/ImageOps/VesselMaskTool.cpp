// Writes a synthetic vessel mask as raw bytes (0/1, x fastest) and prints its dimensions "nx ny nz".
// Usage: tarnwick-vessel-mask SIZE SEED OUTPUT.u8

#include "VesselMaskGenerator.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s SIZE SEED OUTPUT.u8\n", argv[0]);
        return 2;
    }
    const int size = std::atoi(argv[1]);
    if (size < 8 || size > 1024) {
        std::fprintf(stderr, "SIZE must be between 8 and 1024\n");
        return 2;
    }
    Tarnwick::Bench::VesselMaskOptions options;
    options.dims = Eigen::Vector3i::Constant(size);
    options.seed = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10));
    const std::vector<std::uint8_t> mask = Tarnwick::Bench::generateVesselMask(options);
    std::ofstream out(argv[3], std::ios::binary);
    out.write(reinterpret_cast<const char*>(mask.data()), static_cast<std::streamsize>(mask.size()));
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", argv[3]);
        return 1;
    }
    std::printf("%d %d %d\n", size, size, size);
    return 0;
}
