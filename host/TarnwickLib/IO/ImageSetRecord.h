#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

namespace Tarnwick {

class SharedImageSet;

/// The binary record of an image set inside the host's data files: every image with its descriptor,
/// placement, modality and raw values, so loading reproduces the set value for value.
///
/// Layout (native byte order, little-endian on the supported platforms; no padding; i32/u32/u64
/// integers, f64 IEEE doubles, matrices as 16 f64 row by row):
///   u32 version | u32 set modality | matrix set matrixToWorld | i32 selected index | u32 image count |
///   per image: i32 pixel type code | 3 x i32 dimensions | i32 channels | 3 x f64 spacing |
///              matrix matrixToWorld | u32 modality | u64 value bytes | the values (x fastest, then y,
///              then z, channels interleaved)
/// Not stored: the set's data components, and whether images share memory (each image is stored with
/// its own copy of the values).
class ImageSetRecord {
public:
    /// The version written; files of this version can be read.
    static constexpr std::uint32_t version = 1;

    /// Writes the record of `images`. False when the stream fails.
    static bool write(const SharedImageSet& images, std::ostream& out);

    /// Reads a record into `images`, which must be empty. Returns false with the reason in `error` for
    /// an unsupported version, a modality, matrix, selected index or image descriptor out of range, a
    /// value byte count that does not match the descriptor, or a stream that ends inside the record.
    /// Counts and sizes are never trusted: values are read in chunks into a buffer that grows with the
    /// bytes actually read, so a corrupt size costs no more memory than a small multiple of the bytes
    /// the stream holds.
    static bool read(SharedImageSet& images, std::istream& in, std::string& error);
};

} // namespace Tarnwick
