#pragma once

#include <cstdint>
#include <string>

namespace Tarnwick {

/// Checks an image file before a reader sees it: that its header is safe to parse, and, before
/// pixel data is read, that the file really holds the data its header announces. Some readers fill
/// a short read with whatever the buffer held and report success, so a truncated file would
/// otherwise load as a partly garbage image.
///
/// What is checked, by extension:
/// - .nii: data offset plus the size from the header's own dimensions and bits per voxel against the
///   file size; .nii.gz: the same against the gzip trailer, and when that disagrees (several gzip
///   members, trailing bytes) against a full decompression pass.
/// - .mha, .mhd: the bytes after the header (or in the detached data file) against the pixel data
///   size; compressed data must inflate completely (within CompressedDataSize when given) to at
///   least the pixel data size, since the reader keeps an image whose decompression failed.
/// - .nrrd, .nhdr: raw data against the bytes after the header (or in the detached data file);
///   gzip data against the largest possible deflate ratio, since a short stream is found by the
///   reader only after it has spent time proportional to the announced size; text data (ascii, text,
///   txt) must be text and hold every value, none longer than 256 characters.
/// - .tif, .tiff: every strip and tile of every page lies inside the file, and all pages have the
///   first page's size and format and together hold exactly the pixel data (the stack reader writes
///   every page at the first page's size and would overrun the image otherwise).
/// Every length read from a file is checked against the file size before it is used.
class ImageFileLayout {
public:
    /// Empty when the header can safely be handed to the reader; otherwise the reason. NIfTI headers
    /// must hold finite spacing and orientation values of at most 1e9 (the reader aborts the
    /// process or never finishes on others);
    /// MetaImage headers must give NDims between 1 and 10 wherever the reader finds it ("NDims: 3", or
    /// a name alone on its line taking the value after the next separator; the reader loops on others); TIFF
    /// directories must be well formed, with text tags of text type and every value and strip inside
    /// the file, and all pages alike (the reader overruns its buffers otherwise).
    static std::string checkHeader(const std::string& path);

    /// Empty when the file at `path` holds `dataBytes` bytes of pixel data, that is `valueCount` values
    /// (the uncompressed size in the reader's pixel type; the NIfTI check uses its header instead);
    /// otherwise the reason.
    static std::string checkDataSize(const std::string& path, std::uint64_t dataBytes, std::uint64_t valueCount);
};

} // namespace Tarnwick
