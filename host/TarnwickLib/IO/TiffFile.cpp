#include <TarnwickLib/IO/TiffFile.h>

#include <TarnwickLib/IO/HeaderBytes.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <vector>

namespace fs = std::filesystem;

namespace Tarnwick {

namespace {

using namespace HeaderBytes;

constexpr std::uint16_t imageDescriptionTag = 270;
constexpr std::size_t entryBytes = 12;

bool littleEndianHost() {
    const std::uint16_t one = 1;
    unsigned char first;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

/// The bytes of `value` in the file's byte order.
template <typename T>
std::string bytesOf(T value, bool swap) {
    std::string bytes(sizeof(T), '\0');
    std::memcpy(bytes.data(), &value, sizeof(T));
    if (swap)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::string pastEnd(int page) {
    return fmt::format("the file is truncated: page {} refers to data past the end of the file", page);
}

/// One open classic TIFF file: its byte order, size and bounds-checked reads of its directories.
class TiffDirectories {
public:
    explicit TiffDirectories(const fs::path& path, std::ios::openmode mode = std::ios::in)
        : m_file(path, mode | std::ios::binary) {
        std::error_code ec;
        const std::uintmax_t size = fs::file_size(path, ec);
        m_size = ec ? 0 : size;
        std::string header;
        if (!read(0, 8, header))
            return;
        if (header.compare(0, 4, "II*\0", 4) == 0)
            m_swap = !littleEndianHost();
        else if (header.compare(0, 4, "MM\0*", 4) == 0)
            m_swap = littleEndianHost();
        else
            return;
        m_classic = true;
        m_firstDirectory = valueAt<std::uint32_t>(header, 4, m_swap);
    }

    /// Whether the file starts like a classic TIFF file.
    bool classic() const { return m_classic; }
    bool swapped() const { return m_swap; }
    std::uint64_t size() const { return m_size; }
    std::uint64_t firstDirectory() const { return m_firstDirectory; }

    /// The entries (12 bytes each) and the next directory's offset of the directory at `offset`.
    bool directory(std::uint64_t offset, std::string& entries, std::uint64_t& next) {
        std::string countBytes, nextBytes;
        if (!read(offset, 2, countBytes))
            return false;
        const std::uint64_t count = valueAt<std::uint16_t>(countBytes, 0, m_swap);
        if (!read(offset + 2, entryBytes * count, entries) || !read(offset + 2 + entryBytes * count, 4, nextBytes))
            return false;
        next = valueAt<std::uint32_t>(nextBytes, 0, m_swap);
        return true;
    }

    /// Reads `length` bytes at `offset`; false when they are not all inside the file.
    bool read(std::uint64_t offset, std::uint64_t length, std::string& out) {
        if (addSaturated(offset, length) > m_size)
            return false;
        out.resize(length);
        m_file.clear();
        m_file.seekg(static_cast<std::streamoff>(offset));
        return static_cast<bool>(m_file.read(out.data(), static_cast<std::streamsize>(length)));
    }

    /// Writes `bytes` at `offset` (the end of the file for UINT64_MAX); false on a write error.
    bool write(std::uint64_t offset, const std::string& bytes) {
        m_file.clear();
        if (offset == UINT64_MAX)
            m_file.seekp(0, std::ios::end);
        else
            m_file.seekp(static_cast<std::streamoff>(offset));
        m_file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return static_cast<bool>(m_file.flush());
    }

    /// The value bytes of the entry at `entry`: inline, or at its offset. False when they lie outside the file.
    bool values(const std::string& entries, std::size_t entry, std::uint64_t byteCount, std::string& out) {
        if (byteCount <= 4) {
            out = entries.substr(entry + 8, byteCount);
            return true;
        }
        return read(valueAt<std::uint32_t>(entries, entry + 8, m_swap), byteCount, out);
    }

    /// The SHORT or LONG values of the entry at `entry`.
    bool numbers(const std::string& entries, std::size_t entry, std::vector<std::uint64_t>& out) {
        const std::uint16_t type = valueAt<std::uint16_t>(entries, entry + 2, m_swap);
        const std::uint64_t count = valueAt<std::uint32_t>(entries, entry + 4, m_swap);
        const std::uint64_t width = type == 3 ? 2 : type == 4 ? 4 : 0;
        std::string data;
        if (width == 0 || !values(entries, entry, count * width, data))
            return false;
        out.resize(count);
        for (std::uint64_t i = 0; i < count; ++i)
            out[i] =
                width == 2 ? valueAt<std::uint16_t>(data, 2 * i, m_swap) : valueAt<std::uint32_t>(data, 4 * i, m_swap);
        return true;
    }

private:
    std::fstream m_file;
    std::uint64_t m_size = 0;
    bool m_swap = false;
    bool m_classic = false;
    std::uint64_t m_firstDirectory = 0;
};

/// Checks the pages of a classic TIFF file (see TiffFile::checkLayout).
class TiffLayoutCheck {
public:
    explicit TiffLayoutCheck(TiffDirectories& file) : m_file(file) {}

    std::string check(std::optional<std::uint64_t> dataBytes) {
        std::uint64_t directory = m_file.firstDirectory();
        std::set<std::uint64_t> visited;
        Shape first{};
        std::uint64_t pages = 0;
        for (; directory != 0; ++pages) {
            if (!visited.insert(directory).second)
                return "the file is corrupt: its page directories form a loop";
            Shape shape;
            const std::string error = checkPage(directory, static_cast<int>(pages), shape);
            if (!error.empty())
                return error;
            if (pages == 0)
                first = shape;
            else if (shape != first)
                return fmt::format("the file is not a uniform stack: page {} differs from the first page in size "
                                   "or pixel format",
                                   pages);
            directory = shape.next;
        }
        const std::uint64_t pageBytes =
            mulSaturated(mulSaturated(first.width, first.height), mulSaturated(first.samples, (first.bits + 7) / 8));
        if (dataBytes && mulSaturated(pages, pageBytes) != *dataBytes)
            return fmt::format("the file's {} pages of {} bytes do not match the {} bytes of the image its first page "
                               "describes (pages of different kinds are not supported)",
                               pages, pageBytes, *dataBytes);
        return {};
    }

private:
    /// What must agree between pages, with the format's defaults; `next` is the following directory.
    struct Shape {
        std::uint64_t width = 0, height = 0, bits = 1, samples = 1, subfileType = 0, next = 0;
        bool operator!=(const Shape& o) const {
            return width != o.width || height != o.height || bits != o.bits || samples != o.samples ||
                   subfileType != o.subfileType;
        }
    };

    std::string checkPage(std::uint64_t directory, int page, Shape& shape) {
        std::string entries;
        if (!m_file.directory(directory, entries, shape.next))
            return pastEnd(page);
        std::vector<std::uint64_t> offsets, lengths;
        for (std::size_t entry = 0; entry < entries.size(); entry += entryBytes) {
            const std::string error = checkEntry(entries, entry, page);
            if (!error.empty())
                return error;
            const std::uint16_t tag = valueAt<std::uint16_t>(entries, entry, m_file.swapped());
            static const std::set<std::uint16_t> numericTags = {254, 256, 257, 258, 273, 277, 279, 324, 325};
            std::vector<std::uint64_t> values;
            if (numericTags.count(tag) && (!m_file.numbers(entries, entry, values) || values.empty()))
                return fmt::format("the file is corrupt: page {} has an invalid tag {}", page, tag);
            if (tag == 273 || tag == 324) // strip or tile offsets
                offsets = values;
            else if (tag == 279 || tag == 325) // strip or tile byte counts
                lengths = values;
            else if (tag == 256)
                shape.width = values[0];
            else if (tag == 257)
                shape.height = values[0];
            else if (tag == 258)
                shape.bits = values[0];
            else if (tag == 277)
                shape.samples = values[0];
            else if (tag == 254)
                shape.subfileType = values[0];
        }
        if (shape.width == 0 || shape.height == 0)
            return fmt::format("the file is corrupt: page {} has no width or height", page);
        if (offsets.size() != lengths.size())
            return fmt::format("the file is corrupt: page {} has {} data offsets and {} lengths", page, offsets.size(),
                               lengths.size());
        for (std::size_t i = 0; i < offsets.size(); ++i)
            if (addSaturated(offsets[i], lengths[i]) > m_file.size())
                return pastEnd(page);
        return {};
    }

    std::string checkEntry(const std::string& entries, std::size_t entry, int page) {
        static const std::set<std::uint16_t> textTags = {269, 270, 271, 272, 285, 305, 306, 315, 316, 33432};
        static const int widths[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
        const bool swap = m_file.swapped();
        const std::uint16_t tag = valueAt<std::uint16_t>(entries, entry, swap);
        const std::uint16_t type = valueAt<std::uint16_t>(entries, entry + 2, swap);
        const std::uint64_t count = valueAt<std::uint32_t>(entries, entry + 4, swap);
        if (type == 0 || type >= std::size(widths))
            return fmt::format("the file is corrupt: page {} has tag {} of unknown type {}", page, tag, type);
        if (textTags.count(tag) && type != 2)
            return fmt::format("the file is corrupt: page {} has text tag {} of type {}", page, tag, type);
        const std::uint64_t bytes = mulSaturated(count, static_cast<std::uint64_t>(widths[type]));
        if (bytes > 4 && addSaturated(valueAt<std::uint32_t>(entries, entry + 8, swap), bytes) > m_file.size())
            return pastEnd(page);
        if (type != 2)
            return {};
        // Only the last byte of a text value is read: it must be the NUL that ends it.
        std::string last;
        const bool ended =
            count > 0 &&
            (bytes <= 4 ? m_file.values(entries, entry, bytes, last)
                        : m_file.read(valueAt<std::uint32_t>(entries, entry + 8, swap) + bytes - 1, 1, last));
        if (!ended || last.back() != '\0')
            return fmt::format("the file is corrupt: page {} has text tag {} without an end", page, tag);
        return {};
    }

    TiffDirectories& m_file;
};

} // namespace

std::string TiffFile::checkLayout(const fs::path& path, std::optional<std::uint64_t> dataBytes) {
    TiffDirectories file(path);
    if (!file.classic())
        return {}; // BigTIFF or not TIFF: left to the reader
    return TiffLayoutCheck(file).check(dataBytes);
}

std::optional<std::string> TiffFile::description(const fs::path& path) {
    // Longer descriptions are not ours and are not read.
    constexpr std::uint64_t maxDescriptionBytes = 1 << 16;
    TiffDirectories file(path);
    std::string entries, text;
    std::uint64_t next;
    if (!file.classic() || !file.directory(file.firstDirectory(), entries, next))
        return std::nullopt;
    for (std::size_t entry = 0; entry < entries.size(); entry += entryBytes) {
        const std::uint64_t count = valueAt<std::uint32_t>(entries, entry + 4, file.swapped());
        if (valueAt<std::uint16_t>(entries, entry, file.swapped()) != imageDescriptionTag ||
            valueAt<std::uint16_t>(entries, entry + 2, file.swapped()) != 2 || count > maxDescriptionBytes ||
            !file.values(entries, entry, count, text))
            continue;
        return text.substr(0, text.find('\0'));
    }
    return std::nullopt;
}

std::string TiffFile::setDescription(const fs::path& path, const std::string& text) {
    TiffDirectories file(path, std::ios::in | std::ios::out);
    std::string entries;
    std::uint64_t next;
    if (!file.classic() || !file.directory(file.firstDirectory(), entries, next))
        return "not a readable classic TIFF file";
    const bool swap = file.swapped();
    // Appended data starts on a word boundary, as the format asks of every offset.
    const std::uint64_t textOffset = file.size() + file.size() % 2;
    const std::uint64_t textBytes = text.size() + 1 + (text.size() + 1) % 2;
    const std::uint64_t directoryOffset = textOffset + textBytes;
    if (directoryOffset + 2 + entries.size() + entryBytes + 4 > UINT32_MAX)
        return "the file is too large for a classic TIFF directory";

    if (entries.size() / entryBytes >= UINT16_MAX)
        return "the first page's directory is full";
    std::vector<std::string> kept;
    for (std::size_t entry = 0; entry < entries.size(); entry += entryBytes)
        if (valueAt<std::uint16_t>(entries, entry, swap) != imageDescriptionTag)
            kept.push_back(entries.substr(entry, entryBytes));
    std::string description = bytesOf<std::uint16_t>(imageDescriptionTag, swap) + bytesOf<std::uint16_t>(2, swap) +
                              bytesOf(static_cast<std::uint32_t>(text.size() + 1), swap);
    description += text.size() + 1 <= 4 ? (text + std::string(4 - text.size(), '\0'))
                                        : bytesOf(static_cast<std::uint32_t>(textOffset), swap);
    kept.push_back(description);
    // Entries are sorted by tag.
    std::stable_sort(kept.begin(), kept.end(), [swap](const std::string& a, const std::string& b) {
        return valueAt<std::uint16_t>(a, 0, swap) < valueAt<std::uint16_t>(b, 0, swap);
    });

    std::string appended(textOffset - file.size(), '\0');
    appended += text + std::string(textBytes - text.size(), '\0');
    appended += bytesOf(static_cast<std::uint16_t>(kept.size()), swap);
    for (const std::string& entry : kept)
        appended += entry;
    appended += bytesOf(static_cast<std::uint32_t>(next), swap);
    if (!file.write(UINT64_MAX, appended) || !file.write(4, bytesOf(static_cast<std::uint32_t>(directoryOffset), swap)))
        return fmt::format("cannot write the image description: {}", std::strerror(errno));
    return {};
}

} // namespace Tarnwick
