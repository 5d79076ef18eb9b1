// Thins a raw 0/1 mask (x fastest) and writes the skeleton as raw bytes; prints the best time of REPEATS
// thinning calls in seconds (file input and output excluded).
// Usage: tarnwick-thin-raw INPUT.u8 NX NY NZ OUTPUT.u8 [REPEATS]

#include <TarnwickLib/ImageOps/Thinning.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 6 && argc != 7) {
        std::fprintf(stderr, "usage: %s INPUT.u8 NX NY NZ OUTPUT.u8 [REPEATS]\n", argv[0]);
        return 2;
    }
    const Eigen::Vector3i dims(std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]));
    const int repeats = argc == 7 ? std::max(1, std::atoi(argv[6])) : 1;
    std::ifstream in(argv[1], std::ios::binary);
    const std::vector<std::uint8_t> mask((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (dims.minCoeff() < 1 || mask.size() != static_cast<std::size_t>(dims.cast<long long>().prod())) {
        std::fprintf(stderr, "%s does not hold %dx%dx%d bytes\n", argv[1], dims.x(), dims.y(), dims.z());
        return 1;
    }
    std::vector<std::uint8_t> skeleton(mask.size());
    double best = 1e300;
    for (int r = 0; r < repeats; ++r) {
        const auto start = std::chrono::steady_clock::now();
        if (!Tarnwick::ImageOps::thin(mask.data(), dims, skeleton.data()))
            return 1;
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::ofstream out(argv[5], std::ios::binary);
    out.write(reinterpret_cast<const char*>(skeleton.data()), static_cast<std::streamsize>(skeleton.size()));
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", argv[5]);
        return 1;
    }
    std::printf("%.4f\n", best);
    return 0;
}
