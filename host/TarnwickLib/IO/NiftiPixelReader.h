#pragma once

#include <TarnwickLib/Image/MemImage.h>

#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

/// Reads the pixel data of NIfTI files (.nii, .nii.gz) straight into an image, for files whose values
/// are stored as they are: one channel, the machine's byte order, no scaling, the data offset a
/// multiple of the value size, and a datatype that is the descriptor's pixel type. Compressed data is
/// inflated in one pass into memory of the size the header gives (libdeflate, member by member; zlib
/// for a stream that holds more than the header announces, and for every stream when the build has no
/// libdeflate), so there is no copy beyond a move of the pixel data over the header's bytes.
///
/// With narrowToUInt8, an integer image of 16 or 32 bits per value whose values all lie in 0..255
/// comes back as an unsigned 8-bit image with the same values, converted in place in the memory it was
/// read into (the upper half of that memory is returned to the system): a mask stored as int16 then
/// costs no more memory than one stored as uint8. Images with other values keep the file's type.
class NiftiPixelReader {
public:
    struct Result {
        /// The image (descriptor's dimensions and spacing, the file's or the narrowed pixel type).
        std::unique_ptr<MemImage> image;
        /// Why reading failed (image is null then).
        std::string error;
    };

    /// Reads the pixel data of `path` described by `descriptor` (from the header reader). Nothing when
    /// the file is not one this reader handles, so that the caller reads it another way.
    /// Cost: one pass over the file, one inflate pass for .nii.gz, one parallel pass for narrowing.
    static std::optional<Result> read(const std::string& path, const ImageDescriptor& descriptor, bool narrowToUInt8);
};

} // namespace Tarnwick
