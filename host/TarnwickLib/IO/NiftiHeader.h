#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarnwick {

/// The fields of a NIfTI-1 or NIfTI-2 header that the file checks and the pixel reader need, parsed
/// without trusting them: every value is as the file gives it, and neededBytes is only set when the
/// dimensions, bits per voxel and data offset are in range.
struct NiftiHeader {
    /// The header is in the other byte order than this machine's.
    bool swapped = false;
    int version = 1;
    std::int64_t rank = 0;
    /// dim[1..rank] (empty when the rank is out of range).
    std::vector<std::int64_t> dims;
    int datatype = 0;
    std::int64_t bitsPerVoxel = 0;
    /// Where the pixel data starts in the (uncompressed) file.
    double dataOffset = 0.0;
    double sclSlope = 0.0;
    double sclInter = 0.0;
    /// Data offset plus voxel data size; nothing when the fields are out of range (the reader then
    /// reports the problem).
    std::optional<std::uint64_t> neededBytes;
    /// Spacing, quaternion, offsets and affine rows are all finite and at most maxGeometryValue in size.
    bool plausibleGeometry = true;

    /// Largest magnitude accepted in a geometry field. Real spacings and positions are far smaller;
    /// larger finite values overflow the orientation computation of readers, which then never finish.
    static constexpr double maxGeometryValue = 1e9;
    /// Bytes to read from the start of a file to parse either version.
    static constexpr std::size_t maxHeaderBytes = 540;

    /// Parses the start of a NIfTI file; nothing when it is too short. Readers accept headers whose size
    /// field or magic is damaged, so anything that is not recognisably NIfTI-2 is read as NIfTI-1. The
    /// byte order is decided like the readers do: by a dimension count between 1 and 7, then by the
    /// header size field, else native.
    static std::optional<NiftiHeader> parse(const std::string& bytes);

    /// Whether the values are stored as they are: no scaling (slope 0 or 1, intercept 0).
    bool unscaled() const { return (sclSlope == 0.0 || sclSlope == 1.0) && sclInter == 0.0; }
};

} // namespace Tarnwick
