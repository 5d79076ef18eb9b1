#include "support/TempDir.h"

#include <atomic>
#include <random>
#include <stdexcept>
#include <unistd.h>

namespace Tarnwick::Test {

TempDir::TempDir() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    const auto base = std::filesystem::temp_directory_path();
    for (int attempt = 0; attempt < 100; ++attempt) {
        auto candidate = base / ("tarnwick-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) +
                                 "-" + std::to_string(random() % 100000));
        if (std::filesystem::create_directory(candidate)) {
            m_path = candidate;
            return;
        }
    }
    throw std::runtime_error("TempDir: could not create a temporary folder");
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace Tarnwick::Test
