#include <TarnwickLib/IO/ImageFileLayout.h>

#include <TarnwickCore/String.h>
#include <TarnwickLib/IO/HeaderBytes.h>
#include <TarnwickLib/IO/ImageDataScan.h>
#include <TarnwickLib/IO/NiftiHeader.h>
#include <TarnwickLib/IO/TiffFile.h>

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

namespace fs = std::filesystem;

namespace Tarnwick {

namespace {

using namespace HeaderBytes;

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

// ---- NIfTI ----------------------------------------------------------------------------------

/// The first bytes of a NIfTI file, decompressed for .nii.gz.
std::string niftiHeaderBytes(const fs::path& path, bool gzipped) {
    if (!gzipped)
        return readPrefix(path, NiftiHeader::maxHeaderBytes);
    std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
    if (!file)
        return {};
    std::string header(NiftiHeader::maxHeaderBytes, '\0');
    const int got = gzread(file.get(), header.data(), static_cast<unsigned>(header.size()));
    header.resize(static_cast<std::size_t>(std::max(got, 0)));
    return header;
}

std::string checkNiftiHeader(const fs::path& path, bool gzipped) {
    const std::optional<NiftiHeader> header = NiftiHeader::parse(niftiHeaderBytes(path, gzipped));
    if (header && !header->plausibleGeometry)
        return fmt::format("the header is corrupt: its spacing or orientation holds a value that is not a finite "
                           "number of at most {:g}",
                           NiftiHeader::maxGeometryValue);
    return {};
}

std::string checkNifti(const fs::path& path) {
    const std::optional<NiftiHeader> header = NiftiHeader::parse(readPrefix(path, NiftiHeader::maxHeaderBytes));
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
    const std::optional<NiftiHeader> header = NiftiHeader::parse(niftiHeaderBytes(path, true));
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
    /// In file order; a key may appear more than once.
    std::vector<std::pair<std::string, std::string>> fields;
    /// Offset of the first byte after the header; 0 when ElementDataFile was not found.
    std::size_t end = 0;
    /// The most bytes the reader would take as one field name: everything from the end of a field's
    /// line to the next '=', across lines that hold none.
    std::size_t longestKey = 0;
    /// The file ends after a field name, before its value.
    bool unfinishedField = false;

    /// The value of the last field named `key`, or an empty string.
    std::string field(const std::string& key) const {
        for (auto it = fields.rbegin(); it != fields.rend(); ++it)
            if (it->first == key)
                return it->second;
        return {};
    }
};

/// Parses the fields as the reader does: a field name ends at the first '=' or ':' of its line, and a
/// name whose line holds neither takes its value from after the next separator on a later line
/// ("NDims\nfoo\nbar = 3" sets NDims to 3).
MetaHeader parseMetaHeader(const fs::path& path) {
    constexpr std::size_t maxHeaderBytes = 1 << 16;
    const std::string head = readPrefix(path, maxHeaderBytes);
    MetaHeader header;
    std::size_t keyLength = 0; // bytes since the last field's line
    std::string pendingKey;    // a name whose line ended before its separator
    for (std::size_t pos = 0; pos < head.size();) {
        std::size_t end = head.find('\n', pos);
        if (end == std::string::npos)
            end = head.size();
        const std::string line = head.substr(pos, end - pos);
        pos = end + 1;
        const std::size_t equals = line.find('=');
        header.longestKey = std::max(header.longestKey, keyLength + std::min(equals, line.size() + 1));
        keyLength = equals == std::string::npos ? keyLength + line.size() + 1 : 0;
        const std::size_t separator = line.find_first_of("=:");
        if (separator == std::string::npos) {
            if (pendingKey.empty())
                pendingKey = String::trimCopy(line);
            continue;
        }
        const std::string key = pendingKey.empty() ? String::trimCopy(line.substr(0, separator)) : pendingKey;
        pendingKey.clear();
        header.fields.emplace_back(key, String::trimCopy(line.substr(separator + 1)));
        if (key == "ElementDataFile") {
            header.end = std::min(pos, head.size());
            break;
        }
    }
    if (header.end == 0 && head.size() < maxHeaderBytes)
        header.unfinishedField = !pendingKey.empty();
    return header;
}

/// Whether a data file name with a '%' is a pattern the reader can use safely: "NAME FIRST LAST STEP"
/// with one integer conversion ("slice%03d.raw 1 10 1") and a non-zero integer step. The reader
/// formats the name with printf and divides by the step.
bool safeFilePattern(const std::string& value) {
    std::istringstream words(value);
    std::string name, extra;
    long long first = 0, last = 0, step = 0;
    if (!(words >> name >> first >> last >> step) || (words >> extra) || step == 0)
        return false;
    const std::size_t percent = name.find('%');
    if (percent == std::string::npos || name.find('%', percent + 1) != std::string::npos)
        return false;
    const std::size_t conversion = name.find_first_not_of("0123456789", percent + 1);
    return conversion != std::string::npos && name[conversion] == 'd';
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
    const std::string dataFile = header.field("ElementDataFile");
    if (dataFile.find('%') != std::string::npos && !safeFilePattern(dataFile))
        return fmt::format("the header is corrupt: ElementDataFile = {} is not a file pattern of the form "
                           "\"slice%03d.raw 1 10 1\"",
                           dataFile);
    // The reader would take the rest of the file as the value, and its size as the data's.
    if (header.unfinishedField)
        return "the header is corrupt: the file ends inside a field (a name without a value)";
    return {};
}

std::string checkMetaImage(const fs::path& path, std::uint64_t dataBytes) {
    const MetaHeader header = parseMetaHeader(path);
    const auto field = [&](const char* key) { return header.field(key); };
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
        std::string line = String::trimCopy(head.substr(pos + 1, end - pos - 1));
        pos = end;
        if (line.empty())
            break; // blank line: attached data follows
        // The reader takes each field as a C string (a NUL byte ends it) and names without case.
        line = line.substr(0, line.find('\0'));
        const std::size_t colon = line.find(':');
        if (line.empty() || line[0] == '#' || colon == std::string::npos)
            continue;
        const std::string key = String::toLowerCopy(String::trimCopy(line.substr(0, colon))),
                          value = String::trimCopy(line.substr(colon + 1));
        if (key == "encoding")
            encoding = String::toLowerCopy(value);
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
        return TiffFile::checkLayout(path, std::nullopt);
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
        return TiffFile::checkLayout(path, dataBytes);
    return {};
}

} // namespace Tarnwick
