#include "BenchmarkMasks.h"

#include "VesselMaskGenerator.h"

#include <map>
#include <mutex>

namespace Tarnwick::Bench {

const std::vector<std::uint8_t>& cachedVesselMask(int size) {
    static std::mutex mutex;
    static std::map<int, std::vector<std::uint8_t>> masks;
    std::lock_guard<std::mutex> lock(mutex);
    auto it = masks.find(size);
    if (it == masks.end()) {
        VesselMaskOptions options;
        options.dims = Eigen::Vector3i::Constant(size);
        it = masks.emplace(size, generateVesselMask(options)).first;
    }
    return it->second;
}

} // namespace Tarnwick::Bench
