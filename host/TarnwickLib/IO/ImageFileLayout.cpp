#include <TarnwickLib/IO/ImageFileLayout.h>

#include <TarnwickCore/String.h>
#include <TarnwickLib/IO/ImageDataScan.h>

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace fs = std::filesystem;

namespace Tarnwick {

namespace {

// Saturating arithmetic: absurd header values must not wrap around into plausible sizes.
std::uint64_t addSaturated(std::uint64_t a, std::uint64_t b) {
    std::uint64_t r;
    return __builtin_add_overflow(a, b, &r) ? UINT64_MAX : r;
}
std::uint64_t mulSaturated(std::uint64_t a, std::uint64_t b) {
    std::uint64_t r;
    return __builtin_mul_overflow(a, b, &r) ? UINT64_MAX : r;
}

std::uint64_t sizeOf(const fs::path& path) {
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(path, ec);
    return ec ? 0 : size;
}

std::string truncated(std::uint64_t needed, std::uint64_t present) {
    return fmt::format("the file is truncated: its pixel data needs {} bytes, {} are present", needed, present);
}

bool hasExtension(const std::string& path, const std::string& extension) {
    const std::string name = String::toLowerCopy(fs::path(path).filename().string());
    return name.size() > extension.size() && String::endsWith(name, extension);
}

std::string readPrefix(const fs::path& path, std::size_t maxBytes) {
    std::ifstream in(path, std::ios::binary);
    std::string bytes(maxBytes, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(maxBytes));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    return bytes;
}

/// A value of type T at `offset` in `bytes`, byte-swapped when `swap`. The caller checks the bounds.
template <typename T>
T valueAt(const std::string& bytes, std::size_t offset, bool swap) {
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, bytes.data() + offset, sizeof(T));
    if (swap)
        std::reverse(raw, raw + sizeof(T));
    T value;
    std::memcpy(&value, raw, sizeof(T));
    return value;
}

// ---- NIfTI ----------------------------------------------------------------------------------

/// Largest magnitude accepted in a NIfTI geometry field. Real spacings and positions are far
/// smaller; larger finite values overflow the reader's orientation computation, which then never
/// finishes.
constexpr double maxGeometryValue = 1e9;

/// What the checks need from a NIfTI-1 or NIfTI-2 header.
struct NiftiHeader {
    /// Data offset plus voxel data size; nothing when the fields are out of range (the reader then
    /// reports the problem).
    std::optional<std::uint64_t> neededBytes;
    /// Spacing, quaternion, offsets and affine rows are all finite and at most maxGeometryValue in size.
    bool plausibleGeometry = true;
};

template <typename Real>
bool allPlausible(const std::string& header, std::size_t begin, std::size_t end, bool swap) {
    for (std::size_t offset = begin; offset < end; offset += sizeof(Real)) {
        const double value = valueAt<Real>(header, offset, swap);
        if (!(std::abs(value) <= maxGeometryValue))
            return false;
    }
    return true;
}

/// The byte order of a NIfTI header: like the reader, decided by a dimension count between 1 and 7,
/// then by the header size field, else native.
template <typename Rank>
bool niftiSwapped(const std::string& header, std::size_t rankOffset, std::int32_t headerSize) {
    for (bool swap : {false, true}) {
        const Rank rank = valueAt<Rank>(header, rankOffset, swap);
        if (rank >= 1 && rank <= 7)
            return swap;
    }
    return valueAt<std::int32_t>(header, 0, true) == headerSize;
}

/// Parses the start of a NIfTI file; nothing when it is too short. The reader accepts headers whose
/// size field or magic is damaged, so anything that is not recognisably NIfTI-2 is read as NIfTI-1.
std::optional<NiftiHeader> parseNifti(const std::string& header) {
    if (header.size() < 348)
        return std::nullopt;
    const bool version2 =
        header.size() >= 540 &&
        (header.compare(4, 4, "n+2\0", 4) == 0 || header.compare(4, 4, "ni2\0", 4) == 0 ||
         valueAt<std::int32_t>(header, 0, false) == 540 || valueAt<std::int32_t>(header, 0, true) == 540);
    NiftiHeader parsed;
    std::int64_t rank, bitsPerVoxel;
    double offset;
    std::vector<std::int64_t> dims;
    if (!version2) {
        const bool swap = niftiSwapped<std::int16_t>(header, 40, 348);
        rank = valueAt<std::int16_t>(header, 40, swap);
        for (int i = 1; i <= std::clamp<std::int64_t>(rank, 0, 7); ++i)
            dims.push_back(valueAt<std::int16_t>(header, 40 + 2 * i, swap));
        bitsPerVoxel = valueAt<std::int16_t>(header, 72, swap);
        offset = valueAt<float>(header, 108, swap);
        // pixdim, then quaternion, offsets and the three affine rows.
        parsed.plausibleGeometry =
            allPlausible<float>(header, 76, 108, swap) && allPlausible<float>(header, 256, 328, swap);
    } else {
        const bool swap = niftiSwapped<std::int64_t>(header, 16, 540);
        rank = valueAt<std::int64_t>(header, 16, swap);
        for (int i = 1; i <= std::clamp<std::int64_t>(rank, 0, 7); ++i)
            dims.push_back(valueAt<std::int64_t>(header, 16 + 8 * i, swap));
        bitsPerVoxel = valueAt<std::int16_t>(header, 14, swap);
        offset = static_cast<double>(valueAt<std::int64_t>(header, 168, swap));
        parsed.plausibleGeometry =
            allPlausible<double>(header, 104, 168, swap) && allPlausible<double>(header, 352, 496, swap);
    }
    if (rank < 1 || rank > 7 || bitsPerVoxel <= 0 || !std::isfinite(offset) || offset < 0 || offset > 1e18 ||
        std::any_of(dims.begin(), dims.end(), [](std::int64_t n) { return n < 1; }))
        return parsed;
    std::uint64_t bits = static_cast<std::uint64_t>(bitsPerVoxel);
    for (std::int64_t n : dims)
        bits = mulSaturated(bits, static_cast<std::uint64_t>(n));
    parsed.neededBytes = addSaturated(static_cast<std::uint64_t>(offset), bits / 8);
    return parsed;
}

/// The first bytes of a NIfTI file, decompressed for .nii.gz.
std::string niftiHeaderBytes(const fs::path& path, bool gzipped) {
    if (!gzipped)
        return readPrefix(path, 540);
    std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
    if (!file)
        return {};
    std::string header(540, '\0');
    const int got = gzread(file.get(), header.data(), static_cast<unsigned>(header.size()));
    header.resize(static_cast<std::size_t>(std::max(got, 0)));
    return header;
}

std::string checkNiftiHeader(const fs::path& path, bool gzipped) {
    const std::optional<NiftiHeader> header = parseNifti(niftiHeaderBytes(path, gzipped));
    if (header && !header->plausibleGeometry)
        return fmt::format("the header is corrupt: its spacing or orientation holds a value that is not a finite "
                           "number of at most {:g}",
                           maxGeometryValue);
    return {};
}

std::string checkNifti(const fs::path& path) {
    const std::optional<NiftiHeader> header = parseNifti(readPrefix(path, 540));
    const std::uint64_t present = sizeOf(path);
    if (header && header->neededBytes && present < *header->neededBytes)
        return truncated(*header->neededBytes, present);
    return {};
}

/// The gzip trailer's uncompressed size (modulo 2^32) of the last member.
std::optional<std::uint32_t> gzipTrailerSize(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    in.seekg(-4, std::ios::end);
    unsigned char raw[4];
    if (!in.read(reinterpret_cast<char*>(raw), 4))
        return std::nullopt;
    return static_cast<std::uint32_t>(raw[0] | raw[1] << 8 | raw[2] << 16 | static_cast<std::uint32_t>(raw[3]) << 24);
}

/// Uncompressed bytes in a gzip file, or nothing when the stream is truncated or corrupt.
std::optional<std::uint64_t> gzipContentSize(const fs::path& path) {
    std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
    if (!file)
        return std::nullopt;
    std::uint64_t total = 0;
    std::vector<char> buffer(1 << 20);
    int got;
    while ((got = gzread(file.get(), buffer.data(), static_cast<unsigned>(buffer.size()))) > 0)
        total += static_cast<std::uint64_t>(got);
    int error = Z_OK;
    gzerror(file.get(), &error);
    if (got < 0 || (error != Z_OK && error != Z_STREAM_END))
        return std::nullopt;
    return total;
}

std::string checkGzipNifti(const fs::path& path) {
    const std::optional<NiftiHeader> header = parseNifti(niftiHeaderBytes(path, true));
    if (!header || !header->neededBytes)
        return {};
    const std::uint64_t needed = *header->neededBytes;
    if (gzipTrailerSize(path) == static_cast<std::uint32_t>(needed))
        return {};
    // The trailer disagrees: count the uncompressed bytes to tell a truncated file from a valid one
    // with several gzip members or trailing bytes.
    const std::optional<std::uint64_t> total = gzipContentSize(path);
    if (!total)
        return "the compressed data is truncated or corrupt";
    return *total < needed ? truncated(needed, *total) : std::string();
}

// ---- MetaImage --------------------------------------------------------------------------------

std::optional<std::uint64_t> parseCount(const std::string& text) {
    try {
        std::size_t used = 0;
        const unsigned long long value = std::stoull(text, &used);
        return used == text.size() ? std::optional<std::uint64_t>(value) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// Where pixel data starts: after `offset` + `skip` in the header file itself when `dataFile` is empty
/// or "LOCAL", otherwise in the detached data file (named relative to the header) after `skip`.
struct DataLocation {
    fs::path file;
    std::uint64_t offset = 0;
    /// Bytes from the offset to the end of the file.
    std::uint64_t present = 0;
};

/// The location of the pixel data; sets `error` when the detached data file does not exist.
DataLocation dataLocation(const fs::path& header, const std::string& dataFile, std::uint64_t offset, std::uint64_t skip,
                          std::string& error) {
    DataLocation location{header, addSaturated(offset, skip)};
    if (!dataFile.empty() && dataFile != "LOCAL") {
        location.file = fs::path(dataFile).is_absolute() ? fs::path(dataFile) : header.parent_path() / dataFile;
        location.offset = skip;
        std::error_code ec;
        if (!fs::is_regular_file(location.file, ec)) {
            error = fmt::format("its data file '{}' does not exist", location.file.string());
            return location;
        }
    }
    const std::uint64_t size = sizeOf(location.file);
    location.present = size - std::min(location.offset, size);
    return location;
}

constexpr std::size_t maxMetaKeyLength = 200;

/// The "Key = Value" fields of a MetaImage header up to ElementDataFile, which ends the header.
struct MetaHeader {
    std::map<std::string, std::string> fields;
    /// Offset of the first byte after the header; 0 when ElementDataFile was not found.
    std::size_t end = 0;
    /// The most bytes the reader would take as one field name: everything from the end of a field's
    /// line to the next '=', across lines that hold none.
    std::size_t longestKey = 0;
};

MetaHeader parseMetaHeader(const fs::path& path) {
    const std::string head = readPrefix(path, 1 << 16);
    MetaHeader header;
    std::size_t keyLength = 0; // bytes since the last field's line
    for (std::size_t pos = 0; pos < head.size();) {
        std::size_t end = head.find('\n', pos);
        if (end == std::string::npos)
            end = head.size();
        const std::string line = head.substr(pos, end - pos);
        pos = end + 1;
        const std::size_t equals = line.find('=');
        header.longestKey = std::max(header.longestKey, keyLength + std::min(equals, line.size() + 1));
        if (equals == std::string::npos) {
            keyLength += line.size() + 1;
            continue;
        }
        keyLength = 0;
        const std::string key = String::trimCopy(line.substr(0, equals));
        header.fields[key] = String::trimCopy(line.substr(equals + 1));
        if (key == "ElementDataFile") {
            header.end = std::min(pos, head.size());
            break;
        }
    }
    return header;
}

std::string checkMetaImageHeader(const fs::path& path) {
    // The reader reads NDims values for every array field, so a negative or huge count makes it
    // loop for billions of values. Keys are compared without case to be safe.
    const MetaHeader header = parseMetaHeader(path);
    // The reader copies each field name into a fixed buffer of 255 bytes without checking its length.
    if (header.longestKey > maxMetaKeyLength)
        return fmt::format("the header is corrupt: a field name longer than {} characters", maxMetaKeyLength);
    for (const auto& [key, value] : header.fields) {
        if (String::toLowerCopy(key) != "ndims")
            continue;
        const std::optional<std::uint64_t> rank = parseCount(value);
        if (!rank || *rank < 1 || *rank > 10)
            return fmt::format("the header is corrupt: NDims = {}", value);
    }
    return {};
}

std::string checkMetaImage(const fs::path& path, std::uint64_t dataBytes) {
    const MetaHeader header = parseMetaHeader(path);
    const auto field = [&](const char* key) {
        const auto it = header.fields.find(key);
        return it == header.fields.end() ? std::string() : it->second;
    };
    const std::string dataFile = field("ElementDataFile");
    const bool compressed = field("CompressedData") == "True" || field("CompressedData") == "true";
    const std::optional<std::uint64_t> compressedSize = parseCount(field("CompressedDataSize"));
    // Lists and file patterns ("slice%03d.raw 1 10 1") are left to the reader; any other name, blanks
    // included, is one data file.
    if (header.end == 0 || dataFile == "LIST" || dataFile.find('%') != std::string::npos)
        return {};
    std::string error;
    const DataLocation data =
        dataLocation(path, dataFile, header.end, parseCount(field("HeaderSize")).value_or(0), error);
    if (!error.empty())
        return error;
    if (!compressed)
        return data.present < dataBytes ? truncated(dataBytes, data.present) : std::string();
    if (compressedSize && data.present < *compressedSize)
        return truncated(*compressedSize, data.present);
    // The reader reports a failed decompression but keeps the image, whatever its buffer held, so the
    // stream is inflated here first.
    const std::optional<std::uint64_t> inflated =
        ImageDataScan::inflatedSize(data.file, data.offset, compressedSize.value_or(UINT64_MAX), dataBytes);
    if (!inflated)
        return "the compressed pixel data is cut short or corrupt";
    return *inflated < dataBytes ? truncated(dataBytes, *inflated) : std::string();
}

// ---- NRRD ------------------------------------------------------------------------------------

/// Deflate never compresses by more than 1032:1, so gzip data this much smaller cannot hold the image.
constexpr std::uint64_t maxDeflateRatio = 1100;

/// Longest value accepted in text-encoded data; the reader copies each value into a fixed-size buffer
/// on its stack, and no number needs more than a few dozen characters.
constexpr std::uint64_t maxTextValueLength = 256;

/// Text-encoded data must hold `valueCount` values of text, none of them absurdly long; counted
/// before the reader allocates the image, since it reads values one by one into a buffer of the
/// announced size.
std::string checkNrrdText(const DataLocation& data, std::uint64_t lineSkip, std::uint64_t valueCount) {
    const ImageDataScan::TextValues values = ImageDataScan::textValues(data.file, data.offset, lineSkip, valueCount);
    if (values.binary)
        return "the file is corrupt: its text-encoded pixel data holds bytes that are not text";
    if (values.longestValue > maxTextValueLength)
        return fmt::format("the file is corrupt: its text-encoded pixel data holds a value of {} characters (at "
                           "most {} are accepted)",
                           values.longestValue, maxTextValueLength);
    if (values.count < valueCount)
        return fmt::format("the file is truncated: its text-encoded pixel data needs {} values, {} are present",
                           valueCount, values.count);
    return {};
}

/// The reader formats its error messages, which quote the offending header line, into a fixed buffer
/// of about 1 kB on the stack, so a long malformed line would overflow it.
std::string checkNrrdHeader(const fs::path& path) {
    constexpr std::size_t maxLine = 900;
    const std::string head = readPrefix(path, 1 << 16);
    for (std::size_t pos = 0; pos < head.size();) {
        std::size_t end = head.find('\n', pos);
        if (end == std::string::npos)
            end = head.size();
        if (end == pos || (end == pos + 1 && head[pos] == '\r'))
            break; // blank line: attached data follows
        if (end - pos > maxLine)
            return fmt::format("the header is corrupt: a line of {} characters (at most {} are accepted)", end - pos,
                               maxLine);
        pos = end + 1;
    }
    return {};
}

std::string checkNrrd(const fs::path& path, std::uint64_t dataBytes, std::uint64_t valueCount) {
    const std::string head = readPrefix(path, 1 << 16);
    std::string encoding, dataFile;
    std::optional<std::uint64_t> byteSkip, lineSkip;
    std::size_t pos = head.find('\n');
    while (pos != std::string::npos && pos < head.size()) {
        std::size_t end = head.find('\n', pos + 1);
        if (end == std::string::npos) {
            if (head.size() == 1 << 16)
                return {};     // header longer than this check reads: left to the reader
            end = head.size(); // a detached header may end without a newline
        }
        const std::string line = String::trimCopy(head.substr(pos + 1, end - pos - 1));
        pos = end;
        if (line.empty())
            break; // blank line: attached data follows
        const std::size_t colon = line.find(':');
        if (line[0] == '#' || colon == std::string::npos)
            continue;
        const std::string key = String::trimCopy(line.substr(0, colon)),
                          value = String::trimCopy(line.substr(colon + 1));
        if (key == "encoding")
            encoding = value;
        else if (key == "byte skip" || key == "byteskip")
            byteSkip = parseCount(value);
        else if (key == "line skip" || key == "lineskip")
            lineSkip = parseCount(value);
        else if (key == "data file" || key == "datafile")
            dataFile = value;
    }
    if (pos == std::string::npos)
        return {};
    const bool gzip = encoding == "gzip" || encoding == "gz";
    const bool text = encoding == "ascii" || encoding == "text" || encoding == "txt";
    // Lists and file patterns, and other encodings, are left to the reader.
    if ((encoding != "raw" && !gzip && !text) || dataFile == "LIST" ||
        dataFile.find_first_of("% ") != std::string::npos)
        return {};
    std::string error;
    const DataLocation data = dataLocation(path, dataFile, pos + 1, byteSkip.value_or(0), error);
    if (!error.empty())
        return error;
    if (text)
        return checkNrrdText(data, lineSkip.value_or(0), valueCount);
    if (gzip && mulSaturated(data.present, maxDeflateRatio) < dataBytes)
        return fmt::format("the file is truncated: {} bytes of compressed data cannot hold {} bytes of pixel data",
                           data.present, dataBytes);
    return !gzip && data.present < dataBytes ? truncated(dataBytes, data.present) : std::string();
}

// ---- TIFF -----------------------------------------------------------------------------------

/// Reads a classic TIFF file's directories with every offset checked against the file size.
class TiffReader {
public:
    explicit TiffReader(const fs::path& path) : m_in(path, std::ios::binary), m_size(sizeOf(path)) {}

    /// Empty when every directory entry is well formed, every strip and tile of every page lies inside
    /// the file, all pages have the first page's size and format, and, when `dataBytes` is given, the
    /// pages hold exactly that many bytes.
    std::string check(std::optional<std::uint64_t> dataBytes) {
        std::string bytes;
        if (!read(0, 8, bytes))
            return {};
        if (bytes.compare(0, 4, "II*\0", 4) == 0)
            m_swap = !littleEndianHost();
        else if (bytes.compare(0, 4, "MM\0*", 4) == 0)
            m_swap = littleEndianHost();
        else
            return {}; // not classic TIFF (BigTIFF or not TIFF): left to the reader
        std::uint64_t directory = valueAt<std::uint32_t>(bytes, 4, m_swap);
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
            // The stack reader sizes its output from the first page and writes every page at that
            // size, so pages that differ would overrun the image.
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
        std::string countBytes, entries, next;
        if (!read(directory, 2, countBytes))
            return pastEnd(page);
        const std::uint64_t count = valueAt<std::uint16_t>(countBytes, 0, m_swap);
        if (!read(directory + 2, 12 * count, entries) || !read(directory + 2 + 12 * count, 4, next))
            return pastEnd(page);
        shape.next = valueAt<std::uint32_t>(next, 0, m_swap);
        std::vector<std::uint64_t> offsets, lengths;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::size_t entry = 12 * i;
            const std::string error = checkEntry(entries, entry, page);
            if (!error.empty())
                return error;
            const std::uint16_t tag = valueAt<std::uint16_t>(entries, entry, m_swap);
            std::vector<std::uint64_t> values;
            if (tag == 273 || tag == 324 || tag == 279 || tag == 325 || tag == 256 || tag == 257 || tag == 258 ||
                tag == 277 || tag == 254) {
                if (!array(entries, entry, values) || values.empty())
                    return fmt::format("the file is corrupt: page {} has an invalid tag {}", page, tag);
            }
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
            if (addSaturated(offsets[i], lengths[i]) > m_size)
                return pastEnd(page);
        return {};
    }

    /// A directory entry must have a known type, its values must lie inside the file, and the text
    /// tags the reader copies as strings must be text (the reader overruns its buffers otherwise).
    std::string checkEntry(const std::string& entries, std::size_t entry, int page) {
        static const std::set<std::uint16_t> textTags = {269, 270, 271, 272, 285, 305, 306, 315, 316, 33432};
        const std::uint16_t tag = valueAt<std::uint16_t>(entries, entry, m_swap);
        const std::uint16_t type = valueAt<std::uint16_t>(entries, entry + 2, m_swap);
        const std::uint64_t count = valueAt<std::uint32_t>(entries, entry + 4, m_swap);
        static const int widths[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
        if (type == 0 || type >= std::size(widths))
            return fmt::format("the file is corrupt: page {} has tag {} of unknown type {}", page, tag, type);
        if (textTags.count(tag) && type != 2)
            return fmt::format("the file is corrupt: page {} has text tag {} of type {}", page, tag, type);
        const std::uint64_t bytes = mulSaturated(count, static_cast<std::uint64_t>(widths[type]));
        if (bytes > 4 && addSaturated(valueAt<std::uint32_t>(entries, entry + 8, m_swap), bytes) > m_size)
            return pastEnd(page);
        // The reader takes the length of every text value with strlen, so each must end in a NUL.
        if (type == 2) {
            std::string last;
            if (count == 0)
                last = std::string(1, '\1');
            else if (bytes <= 4)
                last = entries.substr(entry + 8 + count - 1, 1);
            else if (!read(valueAt<std::uint32_t>(entries, entry + 8, m_swap) + count - 1, 1, last))
                return pastEnd(page);
            if (last != std::string(1, '\0'))
                return fmt::format("the file is corrupt: page {} has text tag {} without an end", page, tag);
        }
        return {};
    }

private:
    static bool littleEndianHost() {
        const std::uint16_t one = 1;
        unsigned char first;
        std::memcpy(&first, &one, 1);
        return first == 1;
    }

    static std::string pastEnd(int page) {
        return fmt::format("the file is truncated: page {} refers to data past the end of the file", page);
    }

    /// Reads `length` bytes at `offset`; false when they are not all inside the file.
    bool read(std::uint64_t offset, std::uint64_t length, std::string& out) {
        if (addSaturated(offset, length) > m_size)
            return false;
        out.resize(length);
        m_in.clear();
        m_in.seekg(static_cast<std::streamoff>(offset));
        return static_cast<bool>(m_in.read(out.data(), static_cast<std::streamsize>(length)));
    }

    /// The SHORT or LONG values of the directory entry at `entry`, inline or at their offset.
    bool array(const std::string& entries, std::size_t entry, std::vector<std::uint64_t>& values) {
        const std::uint16_t type = valueAt<std::uint16_t>(entries, entry + 2, m_swap);
        const std::uint64_t count = valueAt<std::uint32_t>(entries, entry + 4, m_swap);
        const std::uint64_t width = type == 3 ? 2 : type == 4 ? 4 : 0;
        if (width == 0)
            return false;
        std::string data;
        if (count * width <= 4)
            data = entries.substr(entry + 8, 4);
        else if (!read(valueAt<std::uint32_t>(entries, entry + 8, m_swap), count * width, data))
            return false;
        values.resize(count);
        for (std::uint64_t i = 0; i < count; ++i)
            values[i] =
                width == 2 ? valueAt<std::uint16_t>(data, 2 * i, m_swap) : valueAt<std::uint32_t>(data, 4 * i, m_swap);
        return true;
    }

    std::ifstream m_in;
    std::uint64_t m_size;
    bool m_swap = false;
};

} // namespace

std::string ImageFileLayout::checkHeader(const std::string& path) {
    if (hasExtension(path, ".nii"))
        return checkNiftiHeader(path, false);
    if (hasExtension(path, ".nii.gz"))
        return checkNiftiHeader(path, true);
    if (hasExtension(path, ".mha") || hasExtension(path, ".mhd"))
        return checkMetaImageHeader(path);
    if (hasExtension(path, ".nrrd") || hasExtension(path, ".nhdr"))
        return checkNrrdHeader(path);
    if (hasExtension(path, ".tif") || hasExtension(path, ".tiff"))
        return TiffReader(path).check(std::nullopt);
    return {};
}

std::string ImageFileLayout::checkDataSize(const std::string& path, std::uint64_t dataBytes, std::uint64_t valueCount) {
    if (hasExtension(path, ".nii"))
        return checkNifti(path);
    if (hasExtension(path, ".nii.gz"))
        return checkGzipNifti(path);
    if (hasExtension(path, ".mha") || hasExtension(path, ".mhd"))
        return checkMetaImage(path, dataBytes);
    if (hasExtension(path, ".nrrd") || hasExtension(path, ".nhdr"))
        return checkNrrd(path, dataBytes, valueCount);
    if (hasExtension(path, ".tif") || hasExtension(path, ".tiff"))
        return TiffReader(path).check(dataBytes);
    return {};
}

} // namespace Tarnwick
