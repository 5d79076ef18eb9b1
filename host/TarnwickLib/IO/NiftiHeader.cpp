#include <TarnwickLib/IO/NiftiHeader.h>

#include <TarnwickLib/IO/HeaderBytes.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace Tarnwick {

namespace {

using namespace HeaderBytes;

template <typename Real>
bool allPlausible(const std::string& header, std::size_t begin, std::size_t end, bool swap) {
    for (std::size_t offset = begin; offset < end; offset += sizeof(Real)) {
        const double value = valueAt<Real>(header, offset, swap);
        if (!(std::abs(value) <= NiftiHeader::maxGeometryValue))
            return false;
    }
    return true;
}

template <typename Rank>
bool swappedOrder(const std::string& header, std::size_t rankOffset, std::int32_t headerSize) {
    for (bool swap : {false, true}) {
        const Rank rank = valueAt<Rank>(header, rankOffset, swap);
        if (rank >= 1 && rank <= 7)
            return swap;
    }
    return valueAt<std::int32_t>(header, 0, true) == headerSize;
}

} // namespace

std::optional<NiftiHeader> NiftiHeader::parse(const std::string& header) {
    if (header.size() < 348)
        return std::nullopt;
    NiftiHeader parsed;
    parsed.version =
        header.size() >= 540 &&
                (header.compare(4, 4, "n+2\0", 4) == 0 || header.compare(4, 4, "ni2\0", 4) == 0 ||
                 valueAt<std::int32_t>(header, 0, false) == 540 || valueAt<std::int32_t>(header, 0, true) == 540)
            ? 2
            : 1;
    if (parsed.version == 1) {
        const bool swap = parsed.swapped = swappedOrder<std::int16_t>(header, 40, 348);
        parsed.rank = valueAt<std::int16_t>(header, 40, swap);
        for (int i = 1; i <= std::clamp<std::int64_t>(parsed.rank, 0, 7); ++i)
            parsed.dims.push_back(valueAt<std::int16_t>(header, 40 + 2 * i, swap));
        parsed.datatype = valueAt<std::int16_t>(header, 70, swap);
        parsed.bitsPerVoxel = valueAt<std::int16_t>(header, 72, swap);
        parsed.dataOffset = valueAt<float>(header, 108, swap);
        parsed.sclSlope = valueAt<float>(header, 112, swap);
        parsed.sclInter = valueAt<float>(header, 116, swap);
        // pixdim, then quaternion, offsets and the three affine rows.
        parsed.plausibleGeometry =
            allPlausible<float>(header, 76, 108, swap) && allPlausible<float>(header, 256, 328, swap);
    } else {
        const bool swap = parsed.swapped = swappedOrder<std::int64_t>(header, 16, 540);
        parsed.rank = valueAt<std::int64_t>(header, 16, swap);
        for (int i = 1; i <= std::clamp<std::int64_t>(parsed.rank, 0, 7); ++i)
            parsed.dims.push_back(valueAt<std::int64_t>(header, 16 + 8 * i, swap));
        parsed.datatype = valueAt<std::int16_t>(header, 12, swap);
        parsed.bitsPerVoxel = valueAt<std::int16_t>(header, 14, swap);
        parsed.dataOffset = static_cast<double>(valueAt<std::int64_t>(header, 168, swap));
        parsed.sclSlope = valueAt<double>(header, 176, swap);
        parsed.sclInter = valueAt<double>(header, 184, swap);
        parsed.plausibleGeometry =
            allPlausible<double>(header, 104, 168, swap) && allPlausible<double>(header, 352, 496, swap);
    }
    const double offset = parsed.dataOffset;
    if (parsed.rank < 1 || parsed.rank > 7 || parsed.bitsPerVoxel <= 0 || !std::isfinite(offset) || offset < 0 ||
        offset > 1e18 || std::any_of(parsed.dims.begin(), parsed.dims.end(), [](std::int64_t n) { return n < 1; }))
        return parsed;
    std::uint64_t bits = static_cast<std::uint64_t>(parsed.bitsPerVoxel);
    for (std::int64_t n : parsed.dims)
        bits = mulSaturated(bits, static_cast<std::uint64_t>(n));
    parsed.neededBytes = addSaturated(static_cast<std::uint64_t>(offset), bits / 8);
    return parsed;
}

} // namespace Tarnwick
