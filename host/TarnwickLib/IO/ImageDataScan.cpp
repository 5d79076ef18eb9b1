#include <TarnwickLib/IO/ImageDataScan.h>

#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <vector>

namespace Tarnwick {

namespace {

constexpr std::size_t chunkBytes = 1 << 16;

bool isSpace(unsigned char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool isText(unsigned char c) {
    return isSpace(c) || (c >= 0x20 && c < 0x7f);
}

} // namespace

ImageDataScan::TextValues ImageDataScan::textValues(const std::filesystem::path& path, std::uint64_t offset,
                                                    std::uint64_t lineSkip, std::uint64_t wanted) {
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    TextValues result;
    std::uint64_t current = 0;
    std::vector<char> chunk(chunkBytes);
    while (in && result.count < wanted) {
        in.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        const std::size_t got = static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0));
        for (std::size_t i = 0; i < got && result.count < wanted; ++i) {
            const unsigned char c = static_cast<unsigned char>(chunk[i]);
            if (lineSkip > 0) {
                lineSkip -= c == '\n';
                continue;
            }
            if (!isText(c)) {
                result.binary = true;
                return result;
            }
            if (!isSpace(c)) {
                result.longestValue = std::max(result.longestValue, ++current);
                continue;
            }
            result.count += current > 0;
            current = 0;
        }
    }
    result.count += current > 0 && result.count < wanted;
    return result;
}

std::optional<std::uint64_t> ImageDataScan::inflatedSize(const std::filesystem::path& path, std::uint64_t offset,
                                                         std::uint64_t maxInputBytes, std::uint64_t enough) {
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    z_stream stream{};
    // 32 added to the window bits: accept zlib and gzip headers alike.
    if (inflateInit2(&stream, 15 + 32) != Z_OK)
        return std::nullopt;
    std::vector<unsigned char> input(chunkBytes), output(chunkBytes);
    std::uint64_t total = 0;
    int status = Z_OK;
    while (status != Z_STREAM_END && total < enough) {
        if (stream.avail_in == 0) {
            const std::uint64_t want = std::min<std::uint64_t>(input.size(), maxInputBytes);
            in.read(reinterpret_cast<char*>(input.data()), static_cast<std::streamsize>(want));
            const auto got = static_cast<std::uint64_t>(std::max<std::streamsize>(in.gcount(), 0));
            if (got == 0)
                break;
            maxInputBytes -= got;
            stream.next_in = input.data();
            stream.avail_in = static_cast<uInt>(got);
        }
        stream.next_out = output.data();
        stream.avail_out = static_cast<uInt>(output.size());
        status = inflate(&stream, Z_NO_FLUSH);
        if (status != Z_OK && status != Z_STREAM_END)
            break;
        total += output.size() - stream.avail_out;
    }
    inflateEnd(&stream);
    if (status != Z_STREAM_END && total < enough)
        return std::nullopt;
    return total;
}

} // namespace Tarnwick
