#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace Tarnwick {

/// Reads the pixel data of an image file once, in bounded chunks, to learn what it really holds
/// before a reader that trusts its header allocates memory for it or fills it.
class ImageDataScan {
public:
    /// What the whitespace-separated values of a text-encoded data block hold.
    struct TextValues {
        /// Values found, counted up to the number asked for.
        std::uint64_t count = 0;
        /// Length of the longest value seen.
        std::uint64_t longestValue = 0;
        /// A byte that is neither printable ASCII nor whitespace came before the last value counted.
        bool binary = false;
    };

    /// Scans the text after `offset` in `path`, skipping `lineSkip` lines first, and stops after
    /// `wanted` values or at the end of the file. Cost: one pass over the bytes read.
    static TextValues textValues(const std::filesystem::path& path, std::uint64_t offset, std::uint64_t lineSkip,
                                 std::uint64_t wanted);

    /// The number of bytes the zlib or gzip stream after `offset` in `path` inflates to, reading at most
    /// `maxInputBytes` compressed bytes and stopping once `enough` bytes came out. Nothing when the
    /// stream is cut short or corrupt before that. Cost: one decompression pass.
    static std::optional<std::uint64_t> inflatedSize(const std::filesystem::path& path, std::uint64_t offset,
                                                     std::uint64_t maxInputBytes, std::uint64_t enough);
};

} // namespace Tarnwick
