// Thins a raw 0/1 mask (x fastest) and writes the skeleton as raw bytes; prints the thinning time.
// Usage: tarnwick-thin-raw INPUT.u8 NX NY NZ OUTPUT.u8

#include <TarnwickLib/ImageOps/Thinning.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s INPUT.u8 NX NY NZ OUTPUT.u8\n", argv[0]);
        return 2;
    }
    const Eigen::Vector3i dims(std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]));
    std::ifstream in(argv[1], std::ios::binary);
    const std::vector<std::uint8_t> mask((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (dims.minCoeff() < 1 || mask.size() != static_cast<std::size_t>(dims.cast<long long>().prod())) {
        std::fprintf(stderr, "%s does not hold %dx%dx%d bytes\n", argv[1], dims.x(), dims.y(), dims.z());
        return 1;
    }
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::uint8_t> skeleton(mask.size());
    const bool ok = Tarnwick::ImageOps::thin(mask.data(), dims, skeleton.data());
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!ok)
        return 1;
    std::ofstream out(argv[5], std::ios::binary);
    out.write(reinterpret_cast<const char*>(skeleton.data()), static_cast<std::streamsize>(skeleton.size()));
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", argv[5]);
        return 1;
    }
    std::printf("%.4f\n", seconds);
    return 0;
}
