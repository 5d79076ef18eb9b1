#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace Tarnwick {

/// Reads and amends the page directories of classic TIFF files (not BigTIFF) without trusting them:
/// every offset and length is checked against the file size before it is used.
class TiffFile {
public:
    /// Empty when every directory entry is well formed (known type; text tags of text type and ending
    /// in a NUL, since readers copy them with strlen), every strip and tile of every page lies inside
    /// the file, the directories form no loop, and all pages have the first page's size and format
    /// (stack readers size the image from the first page and write every page at that size). When
    /// `dataBytes` is given the pages must together hold exactly that many bytes. Otherwise the reason.
    /// Files that are not classic TIFF are left to the reader (empty).
    static std::string checkLayout(const std::filesystem::path& path, std::optional<std::uint64_t> dataBytes);

    /// The text of the first page's ImageDescription tag, without its final NUL; nothing when the file
    /// is not a readable classic TIFF or the page has no such tag of text type.
    static std::optional<std::string> description(const std::filesystem::path& path);

    /// Gives the first page the ImageDescription `text` (replacing any it had): the text and a copy of
    /// the page's directory holding it are appended to the file, and the header is pointed at the copy.
    /// Empty on success, otherwise the reason. Cost: one directory read and an append.
    static std::string setDescription(const std::filesystem::path& path, const std::string& text);
};

} // namespace Tarnwick
